// What the documents say in numbers is what the plug-in has.

#include <array>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/plugin_fixture.hpp"
#include "tests/robot.hpp"

namespace {

/// At most five decimals, none that is 0 at the end, no -0.
std::string number(float value) {
  std::array<char, 32> digits{};
  const double rounded = std::round(double{value} * 1e5) / 1e5 + 0.0;
  std::snprintf(digits.data(), digits.size(), "%.5f", rounded);
  std::string text = digits.data();
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text;
}

std::string triple(float x, float y, float z) {
  return "(" + number(x) + ", " + number(y) + ", " + number(z) + ")";
}

/// The row of a body in the table of docs/conventions.md. The poses must be those of a fresh object
/// in the world and those at q = 0 in the root.
std::string row(const tavo::RigidBodySystem& robot, unsigned long i) {
  const std::int64_t parent = robot.getParentsVector()[i];
  const KT::Math::Transform& pose = robot.getPoseInRoot(i);
  const auto axis = robot.getJacobianInRoot().col(static_cast<Eigen::Index>(i) + 5);
  const KT::Math::Position3D com_body = robot.getComPosition(i);
  return "| " + std::to_string(i) + " | " + (i == 0 ? "" : std::to_string(i - 1) + " ") + "| `" +
         robot.getBodyName(i) + "` | " + std::to_string(parent) + " | " +
         (i == 0 ? "" : triple(axis[0], axis[1], axis[2]) + " ") + "| " +
         triple(pose.m[3], pose.m[7], pose.m[11]) + " | " + number(robot.getMass(i)) + " | " +
         triple(com_body.x, com_body.y, com_body.z) + " |\n";
}

// A number typed wrong, or changed in the model and not here, would send a reader's robot astray.
TEST_F(PluginTest, TheConventionsTableOfBodiesIsThePlugins) {
  std::ifstream file(CONVENTIONS_MD);
  const std::string document{std::istreambuf_iterator<char>(file), {}};
  robot.computeFwdKinematicsExceptRoot();
  std::string table;
  for (unsigned long i = 0; i < robot.getNbBodies(); ++i) table += row(robot, i);
  EXPECT_NE(document.find(table), std::string::npos) << "The plug-in's table:\n" << table;
  const std::string total = "Together " + number(robot.getMass()) + " kg";
  EXPECT_NE(document.find(total), std::string::npos) << total;
}

// What the document says of a foot that stands flat.
TEST_F(PluginTest, AFootAtZeroHasXUpYToTheRightZAhead) {
  robot.computeFwdKinematicsExceptRoot();
  for (const char* foot : {"LAnkleRoll", "RAnkleRoll"}) {
    oracle::Matrix3 up_right_ahead;
    up_right_ahead << 0, 0, 1, 0, -1, 0, 1, 0, 0;
    const oracle::Pose pose = test::pose(robot.getPoseInRoot(robot.getBodyId(foot)));
    EXPECT_LE(test::error(pose.R, up_right_ahead), 2e-6) << foot;
  }
}

// Where 0/0 goes: only into what needs this body's own centre of mass.
TEST_F(PluginTest, AMasslessBodySpoilsTheCentresOfMassThatTheDocumentNames) {
  for (unsigned long body = 0; body < robot.getNbBodies(); ++body) {
    const float mass = robot.getMass(body);
    robot.setBodyInertia(body, 0, {}, Eigen::Matrix3f::Zero());
    robot.computeFwdKinematics();
    robot.computeGeneralizedMass();
    robot.computeInverseDynamics();
    EXPECT_FALSE(std::isfinite(robot.getComPosition(body).x)) << body;
    EXPECT_EQ(std::isfinite(robot.getComPosition().x), body == 0) << body;
    EXPECT_EQ(std::isfinite(robot.getComPositionInRoot().x), body == 0) << body;
    for (unsigned long without = 1; without < robot.getNbBodies(); ++without) {
      EXPECT_EQ(std::isfinite(robot.computePartialComPositionInRoot(without).x),
                body == 0 || body == without)
          << body << " massless, without " << without;
    }
    EXPECT_TRUE(robot.getGeneralizedMass().allFinite()) << body;
    EXPECT_TRUE(std::isfinite(robot.getJointAngleTorque(0))) << body;
    robot.setBodyInertia(body, mass, {}, Eigen::Matrix3f::Zero());
  }
}

TEST_F(PluginTest, AMassThatIsNotFiniteSpoilsTheTotalUntilTheNextCreate) {
  const float mass = robot.getMass(5), total = robot.getMass();
  robot.setBodyInertia(5, INFINITY, {}, Eigen::Matrix3f::Zero());
  robot.setBodyInertia(5, mass, {}, Eigen::Matrix3f::Zero());
  EXPECT_FALSE(std::isfinite(robot.getMass()));
  plugin.create();
  EXPECT_EQ(robot.getMass(), total);
}

}  // namespace
