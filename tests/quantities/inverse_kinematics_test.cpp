// Inverse kinematics, judged by the oracle's own forward kinematics.

#include <quantities/inverse_kinematics.hpp>

#include "tests/quantities/fixture.hpp"

namespace {

using oracle::Vector, oracle::Vector3;

constexpr double kReached = 1e-6;

class InverseKinematicsTest : public QuantitiesTest {
 protected:
  // A stance with bent knees, root off the ground and turned.
  static Vector crouch() {
    Vector q = Vector::Zero(28);
    q.head<6>() << 0.1, -0.2, 0.31, 0.05, 0.1, 0.7;
    for (const int hip_pitch : {6 + 8, 6 + 14}) q.segment<3>(hip_pitch) << -0.5, 1, -0.5;
    return q;
  }
  static Vector shaken(Vector q, std::mt19937& random, double by) {
    for (int k = 0; k < 28; ++k) {
      q[k] += std::uniform_real_distribution<double>(-by, by)(random) * (k < 3 ? 0.1 : 1);
    }
    return q;
  }
  void start_from(const Vector& q) {
    robot.setRootPose(test::transform(q));
    robot.setJointAnglesPos(test::floats(q.tail<22>()));
  }
  static tq::Pose pose(const oracle::Pose& p) { return {p.R, p.p}; }
  static double turn(const oracle::Matrix3& a, const oracle::Matrix3& b) {
    return tq::rotation_vector(a * b.transpose()).norm();
  }
  // What the oracle sees of the configuration that was found. Its placements are no exact rotations
  // (3e-7), which poses in single precision follow to 2e-6.
  oracle::Configuration found() const {
    Vector q(28);
    const auto p = KT::Math::position6DFromTransform(robot.getRootPose());
    q.head<6>() << p.x, p.y, p.z, p.alpha, p.beta, p.gamma;
    for (unsigned long j = 0; j < 22; ++j) q[6 + j] = robot.getJointAnglePos(j);
    return {test::robot_tree(), q};
  }
  tq::InverseKinematics ik{robot};
};

TEST_F(InverseKinematicsTest, LegsReachPosesWithTheRootHeld) {
  std::mt19937 random(test::kSeed);
  ik.options.moving = chain_to(ik.model(), kLeftFoot) || chain_to(ik.model(), kRightFoot);
  int iterations = 0;
  for (int k = 0; k < 200; ++k) {
    Vector there = crouch();
    there.tail<22>() = shaken(there, random, 0.5).tail<22>();
    const oracle::Configuration want(test::robot_tree(), there);
    start_from(crouch());
    ik.clear();
    for (const unsigned long foot : {kLeftFoot, kRightFoot}) {
      ik.reach({foot}, pose(want.in_world[foot]));
    }
    const tq::InverseKinematics::Result result = ik.solve();
    ASSERT_TRUE(result.reached) << k << " " << result.position_error << " "
                                << result.orientation_error;
    iterations += result.iterations;
    EXPECT_LE(std::max(result.position_error, result.orientation_error), kReached);
    const oracle::Configuration got = found();
    for (const unsigned long foot : {kLeftFoot, kRightFoot}) {
      EXPECT_LE((got.in_world[foot].p - want.in_world[foot].p).norm(), kReached);
      EXPECT_LE(turn(got.in_world[foot].R, want.in_world[foot].R), 2 * kReached);
    }
    EXPECT_EQ(robot.getJointAnglePos(0), 0) << "a joint that was not to move";
    EXPECT_LE((got.in_world[0].p - want.in_world[0].p).norm(), 1e-7);
  }
  EXPECT_LE(iterations, 200 * 15) << "quadratic near the end";
}

TEST_F(InverseKinematicsTest, WholeBodyReachesFeetHandAndCentreOfMass) {
  std::mt19937 random(test::kSeed);
  const Vector3 finger(0.1, 0, 0);
  for (int k = 0; k < 100; ++k) {
    const oracle::Configuration want(test::robot_tree(), shaken(crouch(), random, 0.3));
    start_from(crouch());
    ik.clear();
    ik.reach({kLeftFoot}, pose(want.in_world[kLeftFoot]));
    ik.reach({kRightFoot}, pose(want.in_world[kRightFoot]));
    ik.reach({6, finger}, Vector3(want.in_world[6] * finger));
    ik.reach_com(want.com_world);
    const tq::InverseKinematics::Result result = ik.solve();
    ASSERT_TRUE(result.reached) << k << " " << result.position_error << " "
                                << result.orientation_error;
    const oracle::Configuration got = found();
    EXPECT_LE((got.com_world - want.com_world).norm(), kReached);
    EXPECT_LE((got.in_world[6] * finger - want.in_world[6] * finger).norm(), kReached);
    EXPECT_LE((got.in_world[12].p - want.in_world[12].p).norm(), kReached);
  }
}

// From straight legs, where the Jacobian sees no way up, and within limits that leave the knee one
// way.
TEST_F(InverseKinematicsTest, FoldsAndLimitsAreOvercome) {
  Vector straight = Vector::Zero(28);
  straight[2] = 0.35;
  ik.options.moving = chain_to(ik.model(), kLeftFoot);
  ik.options.lower[9] = 0;  // LKneePitch
  start_from(straight);
  oracle::Pose foot = oracle::Configuration(test::robot_tree(), straight).in_world[kLeftFoot];
  foot.p.z() += 0.05;
  ik.reach({kLeftFoot}, pose(foot));
  EXPECT_TRUE(ik.solve().reached);
  EXPECT_GT(robot.getJointAnglePos(9), 0.5f);
}

TEST_F(InverseKinematicsTest, OutOfReachIsReportedWithWhatIsLeft) {
  Vector q = crouch();
  start_from(q);
  ik.options.moving = chain_to(ik.model(), kLeftFoot);
  // Straight below the hip, 0.1 m farther than the ankle can be: 0.1 + 0.1029 m.
  const oracle::Configuration at(test::robot_tree(), q);
  const Vector3 hip = at.in_world[7].p;
  const Vector3 target = hip - Vector3(0, 0, 0.3029);
  ik.reach({kLeftFoot}, target);
  const tq::InverseKinematics::Result result = ik.solve();
  EXPECT_FALSE(result.reached);
  EXPECT_NEAR(result.position_error, 0.1, 1e-4);
  EXPECT_EQ(result.orientation_error, 0) << "none was asked for";
  EXPECT_NEAR((found().in_world[12].p - target).norm(), result.position_error, 1e-6);
}

TEST_F(InverseKinematicsTest, WrongTargetsAreNamed) {
  const auto fault = [](const auto& call) { return message_of<std::invalid_argument>(call); };
  const tq::Pose mirrored{-oracle::Matrix3::Identity(), {0, 0, 0}};
  EXPECT_EQ(fault([&] { ik.solve(); }), "no target to reach");
  EXPECT_EQ(fault([&] { ik.reach({23}, Vector3(0, 0, 0)); }), "no body 23: there are 23");
  EXPECT_EQ(fault([&] { ik.reach({12}, mirrored); }), "target of body 12 is not a rotation");
  EXPECT_EQ(fault([&] { ik.reach_com({0, std::nan(""), 0}); }), "target is not finite");
  EXPECT_EQ(fault([&] {
              for (int k = 0; k < 7; ++k) ik.reach({12}, Vector3(0, 0, 0));
            }),
            "more than 6 targets");
  ik.options.lower[3] = 1;
  ik.options.upper[3] = 0;
  EXPECT_EQ(fault([&] { ik.solve(); }), "lower limit of joint angle 3 is above the upper one");
}

// Positions that follow rates: the oracle's rates of coordinates, integrated in small steps, lead
// to where one step along the screw leads.
TEST_F(InverseKinematicsTest, ConstantRatesMoveAlongAScrew) {
  test::for_random_states(10, [&](test::State s) {
    s.q[4] /= 4;  // away from where roll and yaw are one
    s.dq.head<6>() /= 8;
    tq::Configuration at;
    const oracle::Pose root = oracle::Configuration(test::robot_tree(), s.q).in_world[0];
    at.root = {root.R, root.p};
    at.joints = s.q.tail<22>();
    constexpr int steps = 2000;
    Vector q = s.q;
    for (int k = 0; k < steps; ++k) {
      const Vector halfway = q + 0.5 / steps * oracle::coordinate_rates(q, s.dq);
      q += 1.0 / steps * oracle::coordinate_rates(halfway, s.dq);
    }
    const tq::Configuration to = moved(at, s.dq);
    const oracle::Pose want = oracle::Configuration(test::robot_tree(), q).in_world[0];
    EXPECT_LE(test::error(to.root.R, want.R), 1e-6);
    EXPECT_LE(test::error(to.root.p, want.p), 1e-6);
    EXPECT_LE(test::error(to.joints, q.tail<22>()), 1e-9);
  });
}

}  // namespace
