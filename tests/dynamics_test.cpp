// Mass matrix, inverse dynamics and external wrenches, through the plug-in.

#include <cmath>
#include <limits>
#include <stdexcept>

#include <Eigen/Eigenvalues>

#include "tests/plugin_fixture.hpp"
#include "tests/robot.hpp"

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

// Of the largest torque of a state, as single precision allows over six bodies in a row.
constexpr double kTorqueTolerance = 2e-5;

oracle::Vector inverse_dynamics(tavo::RigidBodySystem& robot, const test::State& state) {
  test::set_state(robot, state);
  robot.computeInverseDynamics();
  return test::torques(robot);
}

void expect_torques(const oracle::Vector& got, const oracle::Vector& want) {
  EXPECT_LE(test::error(got, want), kTorqueTolerance * want.cwiseAbs().maxCoeff());
}

// The two algorithms share no recursion: a column of H is what inverse dynamics answers to a unit
// acceleration.
TEST_F(PluginTest, ColumnsOfTheMassMatrixAreTorqueDifferences) {
  test::for_random_states(5, [&](test::State state) {
    state.dq.setZero();
    state.ddq.setZero();
    for (oracle::Vector6& F : state.fext) F.setZero();
    const oracle::Vector at_rest = inverse_dynamics(robot, state);
    robot.computeGeneralizedMass();
    EXPECT_EQ(robot.getGeneralizedMass(), robot.getGeneralizedMass().transpose()) << "bit for bit";
    const oracle::Matrix H = robot.getGeneralizedMass().cast<double>();
    EXPECT_GT(H.selfadjointView<Eigen::Lower>().eigenvalues().minCoeff(), 0);
    for (int j = 0; j < 28; ++j) {
      state.ddq = oracle::Vector::Unit(28, j);
      const oracle::Vector difference = inverse_dynamics(robot, state) - at_rest;
      EXPECT_LE(test::error(difference, H.col(j).tail(22)),
                8 * test::kEps * (1 + at_rest.cwiseAbs().maxCoeff()))
          << "column " << j;
    }
  });
}

TEST_F(PluginTest, WrenchesInAnyFrameAreTheSameWrench) {
  std::mt19937 random(test::kSeed);
  test::for_random_states(20, [&](const test::State& state) {
    const KT::Math::Transform frame = test::transform(test::random_state(random).q);
    const oracle::Pose T = test::pose(frame);
    const oracle::Vector want = inverse_dynamics(robot, state);
    for (unsigned long i = 0; i < 23; ++i) {
      const oracle::Vector6& F = state.fext[i];
      const oracle::Vector3 f = T.R.transpose() * F.tail<3>();
      const oracle::Vector3 n = T.R.transpose() * (F.head<3>() - T.p.cross(F.tail<3>()));
      oracle::Vector w(7);  // more than needed: the rest is ignored
      w << f, n, kNaN;
      robot.setExternalWrench(i, test::floats(w), frame);
    }
    robot.computeInverseDynamics();
    expect_torques(test::torques(robot), want);
  });
}

TEST_F(PluginTest, AWrenchStaysUntilItIsReplaced) {
  test::State state;
  test::for_random_states(1, [&](const test::State& s) { state = s; });
  for (oracle::Vector6& F : state.fext) F.setZero();
  const oracle::Vector free = inverse_dynamics(robot, state);
  const std::vector<float> wrench{1, -2, 3, 0.5f, 0.25f, -1};
  robot.setExternalWrench(12, wrench);
  robot.computeInverseDynamics();
  const oracle::Vector loaded = test::torques(robot);
  for (int k = 0; k < 22; ++k) {  // the chain of body 12, the left leg, carries it
    EXPECT_EQ(loaded[k] != free[k], k >= 6 && k < 12) << "joint " << k;
    EXPECT_EQ(robot.getJointAngleTorque(k), loaded[k]);
  }
  const std::vector<float> five(5, 1.f);
  const char* const message = "wrench has 5 entries, 6 needed";
  using Error = std::invalid_argument;
  EXPECT_EQ(message_of<Error>([&] { robot.setExternalWrench(12, five); }), message);
  EXPECT_EQ(message_of<Error>([&] { robot.setExternalWrench(12, five, {}); }), message);
  robot.computeInverseDynamics();
  EXPECT_EQ(test::torques(robot), loaded) << "an error changes nothing";
  robot.setExternalWrench(12, wrench, {});  // in the body's own frame: the same bits
  robot.computeInverseDynamics();
  EXPECT_EQ(test::torques(robot), loaded);
  robot.setExternalWrench(12, std::vector<float>(6, 0.f));
  robot.computeInverseDynamics();
  EXPECT_EQ(test::torques(robot), free);
}

// How far one non-finite number travels: a root quantity through the full 6 x 6 products to all
// joints, a joint quantity along its own limb.
TEST_F(PluginTest, NonFiniteInputsReachTheTorquesOfTheirBodies) {
  struct Case {
    const char* name;
    void (*spoil)(tavo::RigidBodySystem&);
    int first, last;  // joints whose torques are lost
  };
  const auto pose_at_nan = [](tavo::RigidBodySystem& r) {
    KT::Math::Transform t = r.getRootPose();
    t.m[3] = kNaN;
    r.setRootPose(t);
  };
  const Case cases[] = {{"root velocity",
                         [](auto& r) {
                           r.setRootVelocity({kNaN, 0, 0, 0, 0, 0});
                         },
                         0, 21},
                        {"root acceleration",
                         [](auto& r) {
                           r.setRootAcceleration({0, 0, 0, 0, 0, kInf});
                         },
                         0, 21},
                        {"root position, against gravity's zero angular part", pose_at_nan, 0, 21},
                        {"leaf position", [](auto& r) { r.setJointAnglePos(21, kNaN); }, 18, 21},
                        {"leaf velocity", [](auto& r) { r.setJointAngleVel(5, kNaN); }, 2, 5},
                        {"hip acceleration", [](auto& r) { r.setJointAngleAcc(6, kNaN); }, 6, 11},
                        {"wrench's force along one axis",
                         [](auto& r) {
                           r.setExternalWrench(2, {kInf, 0, 0, 0, 0, 0});
                         },
                         0, 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const tavo::Plugin::System fresh = plugin.create();
    test::for_random_states(1, [&](const test::State& s) { test::set_state(*fresh, s); });
    c.spoil(*fresh);
    fresh->computeInverseDynamics();
    const oracle::Vector torques = test::torques(*fresh);
    for (int k = 0; k < 22; ++k) {
      EXPECT_EQ(!std::isfinite(torques[k]), k >= c.first && k <= c.last) << "joint " << k;
    }
  }
}

// The entries of H that an infinite inertia of the right forearm may reach: what is projected from
// the composite inertias above it. Its own column is formed from finite entries, other limbs from
// theirs; the root block's first columns hold only mass and first moment.
TEST_F(PluginTest, AnInfiniteInertiaReachesItsAncestorsOnly) {
  test::for_random_states(1, [&](const test::State& s) { test::set_state(robot, s); });
  robot.computeFwdKinematics();
  Eigen::Matrix3f inertia = Eigen::Matrix3f::Identity();
  inertia(0, 0) = kInf;
  robot.setBodyInertia(22, 1, {0, 0, 0}, inertia);
  robot.computeGeneralizedMass();
  const Eigen::MatrixXf& H = robot.getGeneralizedMass();
  for (int column = 0; column < 28; ++column) {
    for (int row = 0; row < 28; ++row) {
      const int from = std::max(row, column), to = std::min(row, column);
      const bool root_block = from < 6;
      const bool arm = from >= 24 && from < 27 && (to < 6 || to >= 24);
      EXPECT_EQ(std::isfinite(H(row, column)), !(root_block ? column >= 3 : arm))
          << "H(" << row << ", " << column << ")";
    }
  }
}

}  // namespace
