// The URDF in liburdfdom, which ROS reads with, and in KDL through kdl_parser.

#include <kdl/tree.hpp>
#include <kdl/treefksolverpos_recursive.hpp>
#include <kdl_parser/kdl_parser.hpp>
#include <urdf_parser/urdf_parser.h>

#include "apps/urdf/urdf.hpp"
#include "tests/urdf_fixture.hpp"

namespace {

oracle::Vector3 vector(const KDL::Vector& v) {
  return {v.x(), v.y(), v.z()};
}

oracle::Matrix3 matrix(const KDL::Rotation& R) {
  oracle::Matrix3 result;
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) result(i, j) = R(i, j);
  }
  return result;
}

class KdlUrdf : public PluginTest, public testing::WithParamInterface<const char*> {};

// KDL drops the inertia of a root link: it must be one that has none.
TEST_P(KdlUrdf, HasThePluginsMassPosesAndCentreOfMass) {
  const std::string document = test::urdf_document(std::string("--root ") + GetParam());
  KDL::Tree tree;
  EXPECT_EQ(test::printed_by([&] {
              const urdf::ModelInterfaceSharedPtr model = urdf::parseURDF(document);
              ASSERT_NE(model, nullptr);
              ASSERT_TRUE(kdl_parser::treeFromUrdfModel(*model, tree));
            }),
            "");
  ASSERT_EQ(tree.getNrOfJoints(), robot.getNbDofs());
  ASSERT_EQ(tree.getNrOfSegments(), robot.getNbBodies());
  KDL::TreeFkSolverPos_recursive kinematics(tree);
  test::expect_agreement(robot, [&](const oracle::Vector& q) {
    KDL::JntArray angles(tree.getNrOfJoints());  // in an order of its own
    for (const auto& [name, element] : tree.getSegments()) {
      if (GetTreeElementSegment(element).getJoint().getType() == KDL::Joint::None) continue;
      angles(GetTreeElementQNr(element)) =
          q[static_cast<Eigen::Index>(robot.getJointAngleId(name))];
    }
    test::Reading reading{0, oracle::Vector3::Zero(), {}};
    for (unsigned long i = 0; i < robot.getNbBodies(); ++i) {
      const std::string& name = robot.getBodyName(i);
      KDL::Frame frame;
      EXPECT_GE(kinematics.JntToCart(angles, frame, name), 0) << name;
      reading.poses_root[i] = {matrix(frame.M), vector(frame.p)};
      const KDL::RigidBodyInertia& I =
          GetTreeElementSegment(tree.getSegment(name)->second).getInertia();
      reading.mass += I.getMass();
      reading.com_root += I.getMass() * vector(frame * I.getCOG());
    }
    reading.com_root /= reading.mass;
    return reading;
  });
}

INSTANTIATE_TEST_SUITE_P(Roots, KdlUrdf, testing::Values("world", "base_link"),
                         [](const auto& root) { return std::string(root.param); });

class UrdfTest : public PluginTest {
 protected:
  static urdf::ModelInterfaceSharedPtr parsed(const std::string& options = "") {
    urdf::ModelInterfaceSharedPtr model;
    EXPECT_EQ(test::printed_by([&] { model = urdf::parseURDF(test::urdf_document(options)); }), "");
    return model;
  }
};

// Numbers that went through a double or a rounded decimal would no longer be the plug-in's.
TEST_F(UrdfTest, NamesParentsAndMassesAreThePluginsExactly) {
  const urdf::ModelInterfaceSharedPtr model = parsed();
  ASSERT_NE(model, nullptr);
  EXPECT_EQ(model->getRoot()->name, "world");
  std::size_t seen = 0;
  for (unsigned long i = 0; i < robot.getNbBodies(); ++i) {
    const std::string& name = robot.getBodyName(i);
    const urdf::LinkConstSharedPtr link = model->getLink(name);
    ASSERT_NE(link, nullptr) << name;
    const std::int64_t parent = robot.getParentsVector()[i];
    EXPECT_EQ(link->getParent()->name,
              parent < 0 ? "world" : robot.getBodyName(static_cast<unsigned long>(parent)));
    EXPECT_EQ(link->parent_joint->type, parent < 0 ? urdf::Joint::FIXED : urdf::Joint::CONTINUOUS);
    EXPECT_EQ(link->parent_joint->name, parent < 0 ? "world-" + name : test::joint_name(name));
    const urdf::Inertial& inertial = *link->inertial;
    const KT::Math::Position3D com = robot.getComPosition(i);  // in the body: all poses are 1 yet
    EXPECT_EQ(static_cast<float>(inertial.mass), robot.getMass(i));
    EXPECT_EQ(static_cast<float>(inertial.origin.position.x), com.x);
    EXPECT_EQ(static_cast<float>(inertial.origin.position.y), com.y);
    EXPECT_EQ(static_cast<float>(inertial.origin.position.z), com.z);
    EXPECT_EQ(inertial.ixx, 1e-9);
    seen += link->visual_array.size();
  }
  EXPECT_EQ(seen, 18u) << "sticks, a ball and two soles";
}

TEST_F(UrdfTest, OptionsReachTheDocument) {
  for (const char* root : {"world", "floating", "base_link", "none"}) {
    const urdf::ModelInterfaceSharedPtr model = parsed(std::string("--root ") + root);
    ASSERT_NE(model, nullptr) << root;
    const std::string name = root;
    EXPECT_EQ(model->getRoot()->name, name == "none"       ? "Torso"
                                      : name == "floating" ? "world"
                                                           : name);
    if (name == "none") continue;
    EXPECT_EQ(model->getLink("Torso")->parent_joint->type,
              name == "floating" ? urdf::Joint::FLOATING : urdf::Joint::FIXED);
  }
  const urdf::ModelInterfaceSharedPtr model =
      parsed("--joint-suffix '<&\"' --least-inertia 0.0025");
  EXPECT_NE(model->getJoint("HeadYaw<&\""), nullptr) << "escaped";
  EXPECT_EQ(model->getLink("HeadYaw")->inertial->iyy, 0.0025);

  int status = 0;
  EXPECT_EQ(test::output_of(URDF_PROGRAM " --root x 2>&1", status),
            "orvek23-urdf: --root: \"x\" is not world, floating, base_link or none\n");
  EXPECT_NE(status, 0);
  for (const char* value : {"-1", "nan", "inf", "1e-9x", "''"}) {
    test::output_of(std::string(URDF_PROGRAM " 2> /dev/null --least-inertia=") + value, status);
    EXPECT_NE(status, 0) << value;
  }
}

// The centre of mass of a massless body is not a number, which no reader takes.
TEST_F(UrdfTest, AMasslessBodyIsALinkWithoutInertia) {
  robot.setBodyInertia(5, 0, {0, 0, 0}, Eigen::Matrix3f::Zero());
  const urdf::ModelInterfaceSharedPtr changed =
      urdf::parseURDF(urdf_export::urdf(urdf_export::read_robot(robot)));
  ASSERT_NE(changed, nullptr);
  EXPECT_EQ(changed->getLink(robot.getBodyName(5))->inertial, nullptr);
  EXPECT_NE(changed->getLink(robot.getBodyName(6))->inertial, nullptr);
}

}  // namespace
