// The URDF in DART.

#include <dart/dynamics/BodyNode.hpp>
#include <dart/dynamics/DegreeOfFreedom.hpp>
#include <dart/dynamics/Joint.hpp>
#include <dart/dynamics/Skeleton.hpp>
#include <dart/utils/urdf/DartLoader.hpp>

#include "tests/urdf_fixture.hpp"

namespace {

struct RootCase {
  const char* name;
  std::size_t coordinates;
};
void PrintTo(const RootCase& root, std::ostream* out) {
  *out << root.name;
}
class DartUrdf : public PluginTest, public testing::WithParamInterface<RootCase> {};

// A massless link that is not called "world" gets 1 kg here.
TEST_P(DartUrdf, HasThePluginsMassPosesAndCentreOfMass) {
  const std::string document = test::urdf_document(std::string("--root ") + GetParam().name);
  dart::dynamics::SkeletonPtr skeleton;
  EXPECT_EQ(test::printed_by([&] {
              skeleton =
                  dart::utils::DartLoader().parseSkeletonString(document, dart::common::Uri());
            }),
            "");
  ASSERT_NE(skeleton, nullptr);
  EXPECT_EQ(skeleton->getNumDofs(), GetParam().coordinates);
  EXPECT_EQ(skeleton->getNumBodyNodes(), robot.getNbBodies());
  EXPECT_GT(skeleton->getNumShapeNodes(), 15u) << "something to see";
  test::expect_agreement(robot, [&](const oracle::Vector& q) {
    for (unsigned long i = 0; i < robot.getNbDofs(); ++i) {
      skeleton->getJoint(test::joint_name(robot.getJointAngleName(i)))
          ->setPosition(0, q[static_cast<Eigen::Index>(i)]);
    }
    test::Reading reading{skeleton->getMass(), skeleton->getCOM(), {}};
    for (unsigned long i = 0; i < robot.getNbBodies(); ++i) {
      const Eigen::Isometry3d& pose = skeleton->getBodyNode(robot.getBodyName(i))->getTransform();
      reading.poses_root[i] = {pose.linear(), pose.translation()};
    }
    return reading;
  });
}

INSTANTIATE_TEST_SUITE_P(Roots, DartUrdf,
                         testing::Values(RootCase{"world", 22}, RootCase{"floating", 28},
                                         RootCase{"none", 28}),
                         [](const auto& root) { return root.param.name; });

}  // namespace
