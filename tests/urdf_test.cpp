// The URDF as its readers see it: parsed by liburdfdom, made a tree by kdl_parser, and held to the
// plug-in's poses and centre of mass. It comes from the program itself, as users get it.

#include "apps/urdf/urdf.hpp"

#include <cstdio>
#include <kdl/tree.hpp>
#include <kdl/treefksolverpos_recursive.hpp>
#include <kdl_parser/kdl_parser.hpp>
#include <urdf_parser/urdf_parser.h>

#include "tests/plugin_fixture.hpp"
#include "tests/robot.hpp"

namespace {

/// Agreement asked for: m for points, 1 for entries of rotation matrices.
constexpr double kTolerance = 2e-6;

std::string output_of(const std::string& command, int& status) {
  std::FILE* pipe = popen(command.c_str(), "r");
  std::string text;
  for (int c; (c = std::fgetc(pipe)) != EOF;) text += static_cast<char>(c);
  status = pclose(pipe);
  return text;
}

class UrdfTest : public PluginTest {
 protected:
  void SetUp() override {
    int status = -1;
    const std::string document = output_of(URDF_PROGRAM, status);
    ASSERT_EQ(status, 0);
    model = urdf::parseURDF(document);
    ASSERT_NE(model, nullptr) << document;
    ASSERT_TRUE(kdl_parser::treeFromUrdfModel(*model, tree));
  }

  urdf::ModelInterfaceSharedPtr model;
  KDL::Tree tree;
};

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

/// Joints of the tree may stand in any order: finds each by its name.
KDL::JntArray joint_angles(const KDL::Tree& tree, const tavo::RigidBodySystem& robot) {
  KDL::JntArray q(tree.getNrOfJoints());
  for (const auto& [name, element] : tree.getSegments()) {
    const KDL::Joint& joint = GetTreeElementSegment(element).getJoint();
    if (joint.getType() == KDL::Joint::None) continue;
    q(GetTreeElementQNr(element)) = robot.getJointAnglePos(robot.getJointAngleId(joint.getName()));
  }
  return q;
}

// A wrong parent, origin, order of roll, pitch and yaw, sign of an axis, mass or centre of mass
// moves some body or the centre of mass.
TEST_F(UrdfTest, PosesAndCentreOfMassAreThePlugins) {
  ASSERT_EQ(tree.getNrOfJoints(), robot.getNbDofs());
  ASSERT_EQ(tree.getNrOfSegments(), robot.getNbBodies());
  KDL::TreeFkSolverPos_recursive kinematics(tree);
  double points = 0, rotations = 0, com = 0;
  test::for_random_states(1000, [&](const test::State& state) {
    test::set_state(robot, state);
    robot.computeFwdKinematics();
    const KDL::JntArray q = joint_angles(tree, robot);
    double mass = 0;
    oracle::Vector3 moment = oracle::Vector3::Zero();
    for (unsigned long i = 0; i < robot.getNbBodies(); ++i) {
      const std::string& name = robot.getBodyName(i);
      KDL::Frame frame;
      ASSERT_GE(kinematics.JntToCart(q, frame, name), 0) << name;
      const oracle::Pose pose = test::pose(robot.getPoseInRoot(i));
      points = std::max(points, test::error(vector(frame.p), pose.p));
      rotations = std::max(rotations, test::error(matrix(frame.M), pose.R));
      const KDL::RigidBodyInertia& I =
          GetTreeElementSegment(tree.getSegment(name)->second).getInertia();
      mass += I.getMass();
      moment += I.getMass() * vector(frame * I.getCOG());
    }
    com = std::max(com, test::error(moment / mass, test::point(robot.getComPositionInRoot())));
    EXPECT_LE(points, kTolerance);
    EXPECT_LE(rotations, kTolerance);
    EXPECT_LE(com, kTolerance);
  });
  std::printf("largest deviations: points %.2g m, rotations %.2g, centre of mass %.2g m\n", points,
              rotations, com);
}

// Numbers that went through a double or a rounded decimal would no longer be the plug-in's.
TEST_F(UrdfTest, NamesParentsAndMassesAreThePluginsExactly) {
  EXPECT_EQ(model->getRoot()->name, "base_link");
  for (unsigned long i = 0; i < robot.getNbBodies(); ++i) {
    const urdf::LinkConstSharedPtr link = model->getLink(robot.getBodyName(i));
    ASSERT_NE(link, nullptr) << robot.getBodyName(i);
    const std::int64_t parent = robot.getParentsVector()[i];
    EXPECT_EQ(link->getParent()->name,
              parent < 0 ? "base_link" : robot.getBodyName(static_cast<unsigned long>(parent)));
    EXPECT_EQ(link->parent_joint->type, parent < 0 ? urdf::Joint::FIXED : urdf::Joint::CONTINUOUS);
    const urdf::Inertial& inertial = *link->inertial;
    const KT::Math::Position3D com = robot.getComPosition(i);  // in the body: all poses are 1 yet
    EXPECT_EQ(static_cast<float>(inertial.mass), robot.getMass(i));
    EXPECT_EQ(static_cast<float>(inertial.origin.position.x), com.x);
    EXPECT_EQ(static_cast<float>(inertial.origin.position.y), com.y);
    EXPECT_EQ(static_cast<float>(inertial.origin.position.z), com.z);
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
