// The URDF in sdformat, Gazebo's reader. It describes and computes nothing: the joints are turned
// here.

#include <sdf/sdf.hh>

#include "tests/urdf_fixture.hpp"

namespace {

using ignition::math::Pose3d;

oracle::Vector3 vector(const ignition::math::Vector3d& v) {
  return {v.X(), v.Y(), v.Z()};
}

Eigen::Isometry3d isometry(const Pose3d& pose) {
  const auto& q = pose.Rot();
  Eigen::Isometry3d result(Eigen::Quaterniond(q.W(), q.X(), q.Y(), q.Z()));
  result.translation() = vector(pose.Pos());
  return result;
}

/// No errors, and what was asked for.
template <class Value, class Ask>
Value resolved(const Ask& ask) {
  Value value;
  const sdf::Errors errors = ask(value);
  EXPECT_TRUE(errors.empty()) << errors.front();
  return value;
}

class SdformatUrdf : public PluginTest, public testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    const std::string document = test::urdf_document(std::string("--root ") + GetParam());
    sdf::Errors errors;
    EXPECT_EQ(test::printed_by([&] { errors = root.LoadSdfString(document); }), "");
    for (const sdf::Error& error : errors) ADD_FAILURE() << error;
    ASSERT_NE(root.Model(), nullptr);
  }
  /// The first body takes the place of a link to which it is fixed.
  const sdf::Link* link(unsigned long body) const {
    const bool merged = body == 0 && std::string(GetParam()) == "base_link";
    return root.Model()->LinkByName(merged ? "base_link" : robot.getBodyName(body));
  }

  sdf::Root root;
};

// Siblings of one name, such as a link and its joint, are refused.
TEST_P(SdformatUrdf, HasThePluginsMassPosesAndCentreOfMass) {
  ASSERT_EQ(root.Model()->LinkCount(), robot.getNbBodies());
  const std::vector<std::int64_t> parents = robot.getParentsVector();
  std::array<Eigen::Isometry3d, test::kBodies> placements;
  std::array<oracle::Vector3, test::kBodies> axes;
  std::size_t seen = 0;
  for (unsigned long i = 0; i < robot.getNbBodies(); ++i) {
    ASSERT_NE(link(i), nullptr) << robot.getBodyName(i);
    seen += link(i)->VisualCount();
    if (i == 0) continue;
    const sdf::Joint* joint =
        root.Model()->JointByName(test::joint_name(robot.getJointAngleName(i - 1)));
    ASSERT_NE(joint, nullptr) << robot.getBodyName(i);
    const std::string child = joint->ChildLinkName();
    EXPECT_EQ(child, link(i)->Name());
    placements[i] = isometry(resolved<Pose3d>([&](Pose3d& pose) {
      const sdf::Link* parent = link(static_cast<unsigned long>(parents[i]));
      return link(i)->SemanticPose().Resolve(pose, parent->Name());
    }));
    axes[i] = vector(resolved<ignition::math::Vector3d>(
        [&](ignition::math::Vector3d& axis) { return joint->Axis()->ResolveXyz(axis, child); }));
  }
  EXPECT_GT(seen, 15u) << "something to see";

  test::expect_agreement(robot, [&](const oracle::Vector& q) {
    std::array<Eigen::Isometry3d, test::kBodies> poses;
    test::Reading reading{0, oracle::Vector3::Zero(), {}};
    for (unsigned long i = 0; i < robot.getNbBodies(); ++i) {
      poses[i].setIdentity();
      if (i > 0) {
        poses[i] = poses[static_cast<std::size_t>(parents[i])] * placements[i] *
                   Eigen::AngleAxisd(q[static_cast<Eigen::Index>(i) - 1], axes[i]);
      }
      reading.poses_root[i] = {poses[i].linear(), poses[i].translation()};
      const ignition::math::Inertiald& inertia = link(i)->Inertial();
      reading.mass += inertia.MassMatrix().Mass();
      reading.com_root += inertia.MassMatrix().Mass() * (poses[i] * vector(inertia.Pose().Pos()));
    }
    reading.com_root /= reading.mass;
    return reading;
  });
}

INSTANTIATE_TEST_SUITE_P(Roots, SdformatUrdf, testing::Values("world", "base_link", "none"),
                         [](const auto& root) { return std::string(root.param); });

}  // namespace
