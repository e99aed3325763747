// Names, tables, masses and the values that the host sets.

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>

#include "tests/plugin_fixture.hpp"
#include "tests/robot.hpp"

namespace {

using KT::Math::Velocity6D;
using tavo::RigidBodySystem;

// The drawing: each body's name and parent, its joint's axis and origin in the root at zero angles.
struct BodyFacts {
  std::string name;
  std::int64_t parent;
  oracle::Vector3 axis, origin;
};
constexpr double d = 0.707107f;
const BodyFacts kBodies[] = {{"Torso", -1, {0, 0, 0}, {0, 0, 0}},
                             {"HeadYaw", 0, {0, 0, 1}, {0, 0, 0.1265}},
                             {"HeadPitch", 1, {0, 1, 0}, {0, 0, 0.1265}},
                             {"LShoulderPitch", 0, {0, 1, 0}, {0, 0.098, 0.1}},
                             {"LShoulderRoll", 3, {0, 0, 1}, {0, 0.098, 0.1}},
                             {"LElbowYaw", 4, {1, 0, 0}, {0.105, 0.113, 0.1}},
                             {"LElbowRoll", 5, {0, 0, 1}, {0.105, 0.113, 0.1}},
                             {"LHipYawPitch", 0, {0, d, -d}, {0, 0.05, -0.085}},
                             {"LHipRoll", 7, {1, 0, 0}, {0, 0.05, -0.085}},
                             {"LHipPitch", 8, {0, 1, 0}, {0, 0.05, -0.085}},
                             {"LKneePitch", 9, {0, 1, 0}, {0, 0.05, -0.185}},
                             {"LAnklePitch", 10, {0, 1, 0}, {0, 0.05, -0.2879}},
                             {"LAnkleRoll", 11, {1, 0, 0}, {0, 0.05, -0.2879}},
                             {"RHipYawPitch", 0, {0, d, d}, {0, -0.05, -0.085}},
                             {"RHipRoll", 13, {1, 0, 0}, {0, -0.05, -0.085}},
                             {"RHipPitch", 14, {0, 1, 0}, {0, -0.05, -0.085}},
                             {"RKneePitch", 15, {0, 1, 0}, {0, -0.05, -0.185}},
                             {"RAnklePitch", 16, {0, 1, 0}, {0, -0.05, -0.2879}},
                             {"RAnkleRoll", 17, {1, 0, 0}, {0, -0.05, -0.2879}},
                             {"RShoulderPitch", 0, {0, 1, 0}, {0, -0.098, 0.1}},
                             {"RShoulderRoll", 19, {0, 0, 1}, {0, -0.098, 0.1}},
                             {"RElbowYaw", 20, {1, 0, 0}, {0.105, -0.113, 0.1}},
                             {"RElbowRoll", 21, {0, 0, 1}, {0.105, -0.113, 0.1}}};

// A name, a parent or a placement that is off: a wrong sign, row or offset moves an axis or an
// origin.
TEST_F(PluginTest, BodiesAreThoseOfTheDrawing) {
  EXPECT_EQ(robot.getName(), "");
  EXPECT_EQ(robot.getNbDofs(), 22u);
  EXPECT_EQ(robot.getNbBodies(), 23u);
  EXPECT_EQ(robot.getNbVolatileFrames(), 1u);
  EXPECT_EQ(robot.getRootName(), "Torso");
  ASSERT_EQ(std::size(kBodies), robot.getNbBodies());
  robot.computeFwdKinematics();
  for (unsigned long i = 0; i < 23; ++i) {
    const BodyFacts& want = kBodies[i];
    EXPECT_EQ(robot.getBodyName(i), want.name);
    EXPECT_EQ(robot.getBodyId(want.name), i);
    EXPECT_EQ(robot.getParentsVector()[i], want.parent);
    EXPECT_EQ(robot.getDofNumbersVector()[i], i == 0 ? 6 : 1);
    EXPECT_EQ(robot.getDofIndexesVector()[i], i == 0 ? 0 : static_cast<std::int64_t>(i) + 5);
    if (i == 0) continue;
    EXPECT_EQ(robot.getJointAngleName(i - 1), want.name);
    EXPECT_EQ(robot.getJointAngleId(want.name), i - 1);
    const oracle::Pose in_root = test::pose(robot.getPoseInRoot(i));
    const oracle::Vector3 axis = robot.getJacobianInRoot().col(i + 5).head<3>().cast<double>();
    EXPECT_LE((axis - want.axis).norm(), 8 * test::kEps) << want.name;
    EXPECT_LE((in_root.R.col(2) - want.axis).norm(), 8 * test::kEps) << want.name;
    EXPECT_LE((in_root.p - want.origin).norm(), 2 * test::kEps) << want.name;
  }
  EXPECT_EQ(robot.getParentsVector().size(), 23u);
  EXPECT_EQ(robot.getJacobianInRoot()(1, 12), 0.707107f) << "the placements are used as stored";
}

TEST_F(PluginTest, UnknownNamesAreQuotedVerbatim) {
  for (const std::string name : {"", "headyaw", "HeadYaw ", "Torso2", "a\"b\n"}) {
    EXPECT_EQ(message_of<std::out_of_range>([&] { robot.getBodyId(name); }),
              "no body named \"" + name + "\"");
    EXPECT_EQ(message_of<std::out_of_range>([&] { robot.getJointAngleId(name); }),
              "no joint angle named \"" + name + "\"");
  }
  EXPECT_EQ(message_of<std::out_of_range>([&] { robot.getJointAngleId("Torso"); }),
            "no joint angle named \"Torso\"");
}

// Every body is a point mass and the right limbs mirror the left: a wrong digit in the table breaks
// one of the two, or the total.
TEST_F(PluginTest, MassesAndInertiasAreConsistent) {
  const oracle::Tree& tree = test::robot_tree();
  float total = 0;
  for (unsigned long i = 0; i < 23; ++i) {
    const oracle::Body& b = tree[i];
    const oracle::Matrix3 I = -oracle::cross(b.h) * oracle::cross(b.h) / b.m;
    EXPECT_LE(test::error(b.I, I), 2e-7 * I.norm()) << kBodies[i].name;
    if (kBodies[i].name[0] == 'L') {
      const oracle::Body& m = tree[robot.getBodyId("R" + kBodies[i].name.substr(1))];
      EXPECT_EQ(b.h.cwiseAbs(), m.h.cwiseAbs()) << kBodies[i].name;
      EXPECT_EQ(b.I.cwiseAbs(), m.I.cwiseAbs()) << kBodies[i].name;
    }
    EXPECT_EQ(robot.getMass(i), static_cast<float>(b.m));
    EXPECT_EQ(robot.getPartialMass(i), robot.getMass() - robot.getMass(i));
    total += robot.getMass(i);
  }
  EXPECT_EQ(robot.getMass(), total);
  EXPECT_EQ(robot.getMass(), 4.8883696f);
  EXPECT_EQ(robot.getPartialMass(23), robot.getMass());
  EXPECT_EQ(robot.getPartialMass(-1ul), robot.getMass());
}

// The inertias belong to the process: every system computes with the new one, and a system made
// later sums the masses again.
TEST_F(PluginTest, BodyInertiaIsSharedByAllSystems) {
  constexpr unsigned long body = 10;
  const tavo::Plugin::System second = plugin.create();
  const float before = robot.getMass(), old = robot.getMass(body), mass = 0.8f;
  Eigen::Matrix3f inertia_at_com;
  const float unread = std::nanf("");
  inertia_at_com << 0.003f, unread, unread, 0.0002f, 0.004f, unread, -0.0003f, 0.0001f, 0.005f;
  robot.setBodyInertia(body, mass, {0.01f, -0.02f, 0.03f}, inertia_at_com);

  EXPECT_EQ(second->getMass(body), mass);
  EXPECT_EQ(second->getMass(), (mass - old) + before);
  const tavo::Plugin::System third = plugin.create();
  float total = 0;
  for (unsigned long i = 0; i < 23; ++i) total += robot.getMass(i);
  EXPECT_EQ(third->getMass(), total);
  EXPECT_EQ(robot.getMass(), total);

  oracle::Tree tree = test::robot_tree();
  const oracle::Vector3 c(0.01f, -0.02f, 0.03f);
  const Eigen::Matrix3f Ic = inertia_at_com.selfadjointView<Eigen::Lower>();
  tree[body].m = mass;
  tree[body].h = mass * c;
  tree[body].I = Ic.cast<double>() - mass * oracle::cross(c) * oracle::cross(c);
  test::for_random_states(3, [&](const test::State& state) {
    const oracle::Configuration want(tree, state.q);
    for (RigidBodySystem* each : {&robot, second.get(), third.get()}) {
      test::set_state(*each, state);
      each->computeFwdKinematics();
      each->computeGeneralizedMass();
      EXPECT_LE(test::error(test::point(each->getComPosition()), want.com_world), 2e-6);
      EXPECT_LE(test::error(each->getGeneralizedMass().cast<double>(), want.mass_matrix()),
                2e-6 * want.mass);
    }
  });
}

template <class Setter, class EntrySetter, class EntryGetter, class Getter>
void expect_kept(RigidBodySystem& robot, float first, Setter set_all, EntrySetter set,
                 EntryGetter get, Getter range) {
  std::vector<float> values(25);  // more than needed: the rest is ignored
  std::iota(values.begin(), values.end(), first);
  const auto [begin, end] = (robot.*range)();
  ASSERT_EQ(end - begin, 22);
  (robot.*set_all)(values);
  (robot.*set)(7, -first);
  values[7] = -first;
  for (unsigned long i = 0; i < 22; ++i) EXPECT_EQ((robot.*get)(i), values[i]) << i;
  EXPECT_EQ(message_of<std::invalid_argument>([&] { (robot.*set_all)(std::vector<float>(21)); }),
            "joint vector has 21 entries, 22 needed");
  EXPECT_TRUE(std::equal(begin, end, values.begin())) << "a range shows later changes, no error";
}

TEST_F(PluginTest, KeepsWhatTheHostSets) {
  using R = RigidBodySystem;
  robot.setRootVelocity({1, 2, 3, 4, 5, 6});
  robot.setRootAcceleration({-1, -2, -3, -4, -5, -6});
  expect_kept(robot, 100, &R::setJointAnglesPos, &R::setJointAnglePos, &R::getJointAnglePos,
              &R::getJointAnglesPos);
  expect_kept(robot, 200, &R::setJointAnglesVel, &R::setJointAngleVel, &R::getJointAngleVel,
              &R::getJointAnglesVel);
  expect_kept(robot, 300, &R::setJointAnglesAcc, &R::setJointAngleAcc, &R::getJointAngleAcc,
              &R::getJointAnglesAcc);
  EXPECT_EQ(robot.getJointAnglePos(0), 100) << "the vectors are apart";
  const Velocity6D v = robot.getRootVelocity(), a = robot.getRootAcceleration();
  EXPECT_TRUE(v.vx == 1 && v.vy == 2 && v.vz == 3 && v.wx == 4 && v.wy == 5 && v.wz == 6);
  EXPECT_TRUE(a.vx == -1 && a.vy == -2 && a.vz == -3 && a.wx == -4 && a.wy == -5 && a.wz == -6);
}

}  // namespace
