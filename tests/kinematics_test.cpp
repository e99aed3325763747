// Forward kinematics and the queries on its results, through the plug-in.

#include <cmath>
#include <limits>
#include <set>
#include <string>

#include "tests/plugin_fixture.hpp"
#include "tests/robot.hpp"

namespace {

using KT::Math::Position3D;
using KT::Math::Transform;
using tavo::RigidBodySystem;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr double kTolerance = 2e-6;  // metres; entries of a rotation

using Matrix3X = Eigen::Matrix<float, 3, Eigen::Dynamic>;

template <class T>
std::string bits(const T& value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}
template <int rows>
std::string bits(const Eigen::Matrix<float, rows, Eigen::Dynamic>& m) {
  return {reinterpret_cast<const char*>(m.data()), sizeof(float) * m.size()};
}

// Tells which results have changed since it was last asked, by their bits.
class Watcher {
 public:
  explicit Watcher(RigidBodySystem& robot) : robot_(robot) { changes(); }

  std::string changes() {
    std::string in_root = bits(robot_.getJacobianInRoot()) + bits(robot_.getComPositionInRoot());
    std::string world = bits(robot_.getComPosition());
    for (unsigned long i = 0; i < 23; ++i) {
      in_root += bits(robot_.getPoseInRoot(i));
      world += bits(robot_.getPose(i));
    }
    Matrix3X J;
    robot_.computeGeneralizedMass();
    robot_.computePartialComJacobian(3, J);
    const std::string now[] = {in_root, world, bits(robot_.getGeneralizedMass()), bits(J),
                               bits(robot_.computePartialComPositionInRoot(3))};
    const char* const names[] = {"in_root ", "world ", "H ", "partial_J ", "partial_com "};
    std::string changed;
    for (int k = 0; k < 5; ++k) {
      if (now[k] != last_[k]) changed += names[k];
      last_[k] = now[k];
    }
    return changed;
  }

 private:
  RigidBodySystem& robot_;
  std::string last_[5];
};

bool finite(const Transform& t) {
  return std::isfinite(test::pose(t).p.sum());
}
bool finite(const Position3D& p) {
  return test::point(p).allFinite();
}

void expect_kinematics(const RigidBodySystem& robot, const oracle::Configuration& want) {
  for (unsigned long i = 0; i < 23; ++i) {
    const oracle::Pose in_root = test::pose(robot.getPoseInRoot(i));
    const oracle::Pose in_world = test::pose(robot.getPose(i));
    EXPECT_LE(test::error(in_root.R, want.in_root[i].R), kTolerance) << "body " << i;
    EXPECT_LE(test::error(in_root.p, want.in_root[i].p), kTolerance) << "body " << i;
    EXPECT_LE(test::error(in_world.R, want.in_world[i].R), kTolerance) << "body " << i;
    EXPECT_LE(test::error(in_world.p, want.in_world[i].p), kTolerance) << "body " << i;
    const oracle::Body& body = test::robot_tree()[i];
    EXPECT_LE(
        test::error(test::point(robot.getComPosition(i)), want.in_world[i] * (body.h / body.m)),
        kTolerance);
  }
  EXPECT_LE(test::error(robot.getJacobianInRoot().cast<double>(), want.J), kTolerance);
  EXPECT_LE(test::error(test::point(robot.getComPositionInRoot()), want.com_root), kTolerance);
  EXPECT_LE(test::error(test::point(robot.getComPosition()), want.com_world), kTolerance);
}

// Angles of many turns too: the float is exact, only one that is reduced with too few bits goes
// wrong.
TEST_F(PluginTest, KinematicsMatchTheOracle) {
  for (const double turns : {1., 3e4, 1e6, 1e20}) {
    test::for_random_states(turns > 1 ? 10 : 300, [&](test::State state) {
      state.q.tail(22) = (turns * state.q.tail(22)).cast<float>().cast<double>();
      test::set_state(robot, state);
      robot.computeFwdKinematics();
      expect_kinematics(robot, oracle::Configuration(test::robot_tree(), state.q));
    });
  }
}

TEST_F(PluginTest, PartialCentresAndJacobiansMatchSumsOverBodies) {
  test::for_random_states(20, [&](const test::State& state) {
    test::set_state(robot, state);
    robot.computeFwdKinematics();
    for (unsigned long i = 1; i < 23; ++i) {
      SCOPED_TRACE(testing::Message() << "without body " << i);
      const oracle::Tree rest = oracle::without(test::robot_tree(), static_cast<int>(i));
      const oracle::Configuration want(rest, state.q);
      const Position3D com = robot.computePartialComPositionInRoot(i);
      EXPECT_LE(test::error(test::point(com), want.com_root), kTolerance);
      Matrix3X J_float;
      robot.computePartialComJacobian(i, J_float);
      const oracle::Matrix J = J_float.cast<double>();
      EXPECT_LE(test::error(J, want.momentum_jacobian()), 2e-6 * want.mass);
      // Momentum is also mass times the velocity of the centre: differences of its position.
      const double h = 1e-5;
      const oracle::Vector step = h * oracle::coordinate_rates(state.q, state.dq);
      const oracle::Vector3 moved = oracle::Configuration(rest, state.q + step).com_world -
                                    oracle::Configuration(rest, state.q - step).com_world;
      EXPECT_LE(test::error(J * state.dq, want.mass * moved / (2 * h)), 2e-5);
    }
  });
}

// Left out: no body of the limbs, hence the whole centre, world frame; or no body at all, hence J
// as it was. An index cut to 32 bits would name a body.
TEST_F(PluginTest, PartialQuantitiesOfOtherIndices) {
  test::for_random_states(1, [&](const test::State& state) { test::set_state(robot, state); });
  robot.computeFwdKinematics();
  const Matrix3X before = Matrix3X::Constant(3, 5, 7);
  for (const unsigned long i : {0ul, 23ul, 1ul << 32, (1ul << 32) + 5, -1ul}) {
    const Position3D com = robot.computePartialComPositionInRoot(i);
    EXPECT_EQ(test::point(com), test::point(robot.getComPosition()));
    Matrix3X J = before;
    robot.computePartialComJacobian(i, J);
    EXPECT_EQ(bits(J) == bits(before), i != 0) << i;
  }
  for (const int columns : {0, 28, 40}) {
    Matrix3X J = Matrix3X::Constant(3, columns, kNaN);
    robot.computePartialComJacobian(0, J);
    EXPECT_EQ(J.cols(), 28);
    const double rest = robot.getPartialMass(0);
    EXPECT_NEAR(J.leftCols<3>().squaredNorm(), 3 * rest * rest, 1e-4) << "and nothing is added";
  }
}

// Bits that the arithmetic promises: the third column of a composed rotation is a cross product,
// a turn about z copies the third row, a world pose's third row is a cross product.
TEST_F(PluginTest, ComposedRotationsHaveTheirExactForm) {
  const auto expect_cross_product_in_row_2 = [](const Transform& t) {
    const float* const R = t.m;
    EXPECT_EQ(R[8], R[1] * R[6] - R[2] * R[5]);
    EXPECT_EQ(R[9], R[2] * R[4] - R[0] * R[6]);
    EXPECT_EQ(R[10], R[0] * R[5] - R[1] * R[4]);
  };
  const std::set<unsigned long> about_z{1, 10, 11, 16, 17};
  test::for_random_states(20, [&](const test::State& state) {
    test::set_state(robot, state);
    robot.computeFwdKinematics();
    for (unsigned long i = 1; i < 23; ++i) {
      SCOPED_TRACE(testing::Message() << "body " << i);
      expect_cross_product_in_row_2(robot.getPose(i));
      const Transform& in_root = robot.getPoseInRoot(i);
      if (about_z.count(i) == 0) {
        expect_cross_product_in_row_2(in_root);
      } else {  // their parents are the bodies before them
        for (const int k : {2, 6, 10}) EXPECT_EQ(in_root.m[k], robot.getPoseInRoot(i - 1).m[k]);
      }
    }
  });
}

TEST_F(PluginTest, AFreshSystemIsAtTheOrigin) {
  Eigen::MatrixXf J = Eigen::MatrixXf::Zero(6, 28);
  J.block<3, 3>(3, 0).setIdentity();
  J.block<3, 3>(0, 3).setIdentity();
  EXPECT_EQ(robot.getJacobianInRoot(), J);
  EXPECT_EQ(robot.getGeneralizedMass(), Eigen::MatrixXf::Zero(28, 28));
  for (unsigned long i = 0; i < 24; ++i) EXPECT_EQ(test::pose(robot.getPose(i)).R.trace(), 3);
  EXPECT_EQ(test::point(robot.getComPosition()).norm(), 0);
  EXPECT_EQ(test::torques(robot).norm(), 0);
  robot.computeGeneralizedMass();
  EXPECT_FLOAT_EQ(robot.getGeneralizedMass()(0, 0), robot.getMass()) << "before any kinematics";

  robot.computeFwdKinematics();
  expect_kinematics(robot, oracle::Configuration(test::robot_tree(), oracle::Vector::Zero(28)));
  EXPECT_EQ(test::pose(robot.getPose(0)).R, oracle::Matrix3::Identity());
}

// A getter that computes, or a compute operation that does more or less than it says, shows here.
TEST_F(PluginTest, ResultsAreStaleUntilTheirOperationRuns) {
  std::mt19937 random(test::kSeed);
  const test::State a = test::random_state(random), b = test::random_state(random);
  test::set_state(robot, a);
  robot.computeFwdKinematics();
  Watcher watcher(robot);

  robot.setJointAnglesPos(test::floats(b.q.tail(22)));
  EXPECT_EQ(watcher.changes(), "");
  robot.computeFwdKinematicsOnlyRoot();
  EXPECT_EQ(watcher.changes(), "") << "no joint is renewed";
  robot.computeInverseDynamics();  // renews the joint transforms
  EXPECT_EQ(watcher.changes(), "H partial_J ");
  robot.computeFwdKinematicsOnlyRoot();
  EXPECT_EQ(watcher.changes(), "") << "built on the joints of the last kinematics";
  robot.computeFwdKinematicsExceptRoot();
  EXPECT_EQ(watcher.changes(), "in_root partial_com ");
  robot.computeFwdKinematicsOnlyRoot();
  EXPECT_EQ(watcher.changes(), "world ");

  robot.setRootPose(test::transform(b.q));
  const oracle::Pose given = test::pose(test::transform(b.q)),
                     shown = test::pose(robot.getRootPose());
  EXPECT_LT((shown.R - given.R).norm() + (shown.p - given.p).norm(), kTolerance)
      << "by way of angles";
  EXPECT_EQ(bits(robot.getPose(0)), bits(robot.getRootPose()));
  EXPECT_EQ(watcher.changes(), "world ") << "the stored root pose, at once";
  robot.computeFwdKinematicsOnlyRoot();
  EXPECT_EQ(watcher.changes(), "world partial_J ");
  expect_kinematics(robot, oracle::Configuration(test::robot_tree(), b.q));
  robot.computeFwdKinematics();
  EXPECT_EQ(watcher.changes(), "") << "same input, same bits";

  const Transform frame = test::transform(a.q);
  const std::string com = bits(robot.getComPosition(5));
  robot.setPose(5, frame);
  EXPECT_NE(bits(robot.getComPosition(5)), com) << "it uses the stored pose";
  EXPECT_EQ(bits(robot.getPose(5)), bits(frame));
  EXPECT_EQ(watcher.changes(), "world ");
  robot.setVolatilePose(0, frame);
  robot.computeFwdKinematics();
  EXPECT_EQ(watcher.changes(), "world ") << "overwritten";
  EXPECT_EQ(bits(robot.getComPosition(5)), com);
  EXPECT_EQ(bits(robot.getVolatilePose(0)), bits(frame)) << "nothing computes it";
  EXPECT_EQ(&robot.getPose(23), &robot.getVolatilePose(0));
  EXPECT_EQ(bits(robot.getPose(-1ul)), bits(Transform())) << "the world";
}

// A broken joint sensor spoils its limb and the whole-body sums, nothing else.
TEST_F(PluginTest, ANaNInALeafJointStaysInItsLimb) {
  robot.setJointAnglePos(21, kNaN);
  robot.computeFwdKinematics();
  for (unsigned long i = 0; i < 23; ++i) EXPECT_EQ(finite(robot.getComPosition(i)), i != 22) << i;
  EXPECT_TRUE(robot.getJacobianInRoot().leftCols(27).allFinite());
  EXPECT_FALSE(finite(robot.getComPosition()));
  EXPECT_TRUE(finite(robot.computePartialComPositionInRoot(22)));
  EXPECT_FALSE(finite(robot.computePartialComPositionInRoot(21)));
  robot.setJointAnglePos(21, 0);
  robot.computeFwdKinematics();
  EXPECT_TRUE(finite(robot.getComPosition())) << "nothing stays behind";
}

// Centres of mass are h / m: a massless body has none, and neither has the robot with it.
TEST_F(PluginTest, MasslessBodiesHaveNoCentre) {
  const Eigen::Matrix3f none = Eigen::Matrix3f::Zero();
  robot.setBodyInertia(22, 0, {0, 0, 0}, none);
  robot.computeFwdKinematics();
  robot.computeGeneralizedMass();
  EXPECT_FALSE(finite(robot.getComPosition(22)));
  EXPECT_FALSE(finite(robot.getComPositionInRoot())) << "its moment is m (h / m)";
  EXPECT_TRUE(finite(robot.computePartialComPositionInRoot(22)));
  EXPECT_EQ(robot.getGeneralizedMass().row(27).norm(), 0);

  for (unsigned long i = 0; i < 23; ++i) robot.setBodyInertia(i, 0, {0, 0, 0}, none);
  const tavo::Plugin::System weightless = plugin.create();
  EXPECT_EQ(weightless->getMass(), 0);
  weightless->computeFwdKinematics();
  weightless->computeInverseDynamics();
  EXPECT_FALSE(finite(weightless->getComPosition()));
  EXPECT_TRUE(finite(weightless->getPose(22)));
  EXPECT_EQ(test::torques(*weightless).norm(), 0);
}

}  // namespace
