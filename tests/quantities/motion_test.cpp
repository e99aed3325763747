// Frames, momentum, energy and forces against the dense oracle.

#include <Eigen/Geometry>

#include "tests/quantities/fixture.hpp"

namespace {

using oracle::Vector, oracle::Vector3, oracle::Vector6;

// Parts of different units are judged apart: each by its own largest value.
void see_motion(Worst& worst, const std::string& quantity, const oracle::Matrix& got,
                const oracle::Matrix& want) {
  worst.see(quantity + ", angular", got.topRows(3), want.topRows(3));
  worst.see(quantity + ", linear", got.bottomRows(3), want.bottomRows(3));
}
void see_forces(Worst& worst, const std::string& quantity, const tq::Coordinates& got,
                const Vector& want) {
  worst.see(quantity + ", root force", got.head<3>(), want.head<3>());
  worst.see(quantity + ", root moment", got.segment<3>(3), want.segment<3>(3));
  worst.see(quantity + ", joints", got.tail<22>(), want.tail<22>());
}

void see_frames(Worst& worst, const tq::State& state, const dense::Motion& want, int i,
                const Vector3& x) {
  const oracle::Pose& pose = want.at.in_root[i];
  const oracle::Matrix3 R = want.R;
  const struct {
    tq::Frame frame;
    oracle::Matrix6 X;
  } frames[] = {
      {tq::Frame::body, want.to_frame(pose.R.transpose(), pose * x)},
      {tq::Frame::world, want.to_frame(R, -R.transpose() * want.q.head<3>())},
      {tq::Frame::world_at_point, want.to_frame(R, pose * x)},
  };
  const tq::BodyPoint point{static_cast<unsigned long>(i), x};
  worst.see("position", position(state, point), want.at.in_world[i] * x);
  for (const auto& [frame, X] : frames) {
    const Vector6 v = X * want.velocity(i);
    Vector6 turning = Vector6::Zero();
    turning.tail<3>() = Vector3(v.head<3>()).cross(Vector3(v.tail<3>()));
    see_motion(worst, "jacobian", jacobian(state, point, frame), X * want.body_jacobian(i));
    see_motion(worst, "twist", twist(state, point, frame), v);
    see_motion(worst, "spatial_acceleration", spatial_acceleration(state, point, frame),
               X * want.acceleration(i));
    see_motion(worst, "classical_acceleration", classical_acceleration(state, point, frame),
               X * want.acceleration(i) + turning);
    see_motion(worst, "spatial_drift", spatial_drift(state, point, frame), X * want.drift(i));
    see_motion(worst, "classical_drift", classical_drift(state, point, frame),
               X * want.drift(i) + turning);
  }
}

void see_momentum(Worst& worst, const tq::State& state, const dense::Motion& want) {
  const oracle::Matrix H = want.at.mass_matrix(), J = want.at.momentum_jacobian() / want.at.mass;
  const Vector forces = want.forces(), drift = want.forces(want.dq, want.zero());
  const double m = want.at.mass;
  worst.see("com_position", com_position(state), want.at.com_world);
  worst.see("com_velocity", com_velocity(state), J * want.dq);
  worst.see("com_acceleration", com_acceleration(state), want.momentum_rate(forces).tail<3>() / m);
  worst.see("com_drift", com_drift(state), want.momentum_rate(drift).tail<3>() / m);
  worst.see("com_jacobian", com_jacobian(state), J);
  // The first six rows of H are the momentum about the root's origin, linear first.
  oracle::Matrix A(6, H.cols());
  for (int k = 0; k < H.cols(); ++k) A.col(k) = want.world_wrench(H.col(k), want.at.com_world);
  // Judged whole: about the centre of mass the angular part is what is left of large moments that
  // cancel, so it has the error of those (2e-5 of its own largest).
  worst.see("centroidal_momentum", centroidal_momentum(state), A * want.dq);
  worst.see("centroidal_momentum_matrix", centroidal_momentum_matrix(state), A);
  worst.see("centroidal_momentum_rate", centroidal_momentum_rate(state),
            want.momentum_rate(forces));
  worst.see("centroidal_momentum_drift", centroidal_momentum_drift(state),
            want.momentum_rate(drift));
  worst.see("energy", energy(state).total(), want.at.energy(want.dq));
  worst.see("energy_rate", energy_rate(state), forces.dot(want.dq));
}

void see_forces(Worst& worst, const tq::State& state, const dense::Motion& want,
                const test::State& s, const tq::BodyWrenches& wrenches) {
  const Vector gravity = want.forces(want.zero(), want.zero());
  const Vector all = want.forces(), pushed = want.forces(s.fext);
  const tq::ForceParts parts = force_parts(state);
  see_forces(worst, "gravity part", parts.gravity, gravity);
  see_forces(worst, "velocity part", parts.velocity, want.forces(want.dq, want.zero()) - gravity);
  see_forces(worst, "inertia part", parts.inertia, want.at.mass_matrix() * want.ddq);
  see_forces(worst, "wrench part", wrench_part(state, wrenches), pushed - all);
  see_forces(worst, "inverse_dynamics", inverse_dynamics(state, wrenches), pushed);
  see_forces(worst, "sum of parts", parts.total(), all);
  tq::Coordinates one_by_one = tq::Coordinates::Zero();
  for (int i = 0; i < test::kBodies; ++i) {
    one_by_one += wrench_part(state, static_cast<unsigned long>(i),
                              {wrenches.col(i).head<3>(), wrenches.col(i).tail<3>()});
  }
  see_forces(worst, "each wrench", one_by_one, pushed - all);
  const tq::Wrench free = root_wrench(state), held = root_wrench(state, wrenches);
  worst.see("root force", free.force, all.head<3>());
  worst.see("root moment", free.moment, all.segment<3>(3));
  worst.see("root force, pushed", held.force, pushed.head<3>());
  worst.see("root moment, pushed", held.moment, pushed.segment<3>(3));
  worst.see("mass_matrix", mass_matrix(state), want.at.mass_matrix());
  worst.see("wrench_power", wrench_power(state, wrenches), (all - pushed).dot(want.dq));
  // Where the power comes from: joints, surroundings, and what is missing at the root.
  const tq::Coordinates needed = inverse_dynamics(state, wrenches);
  worst.see("balance of power",
            joint_power(state, needed.tail<22>()) + wrench_power(state, wrenches) +
                needed.head<6>().dot(state.dq().head<6>()),
            want.forces().dot(want.dq));
}

// The built-in point masses, then bodies as a host sets them, handed over a second time.
class MotionTest : public QuantitiesTest, public ::testing::WithParamInterface<bool> {};
INSTANTIATE_TEST_SUITE_P(Inertias, MotionTest, ::testing::Bool(), [](const auto& inertias) {
  return inertias.param ? "SetByTheHost" : "BuiltIn";
});

TEST_P(MotionTest, EveryQuantityIsThatOfDenseSums) {
  oracle::Tree tree = test::robot_tree();
  std::mt19937 random(test::kSeed);
  if (GetParam()) {
    const auto inertias = dense::host_inertias(random);
    set_inertias(inertias);
    tree = dense::with(tree, inertias);
  }
  Worst worst;
  for (int k = 0; k < 1000; ++k) {
    const test::State s = test::random_state(random);
    set(s);
    const dense::Motion want(tree, s.q, s.dq, s.ddq);
    see_frames(worst, state, want, k % test::kBodies, Vector3(0.05, -0.03, 0.1));
    see_momentum(worst, state, want);
    see_forces(worst, state, want, s, wrenches(s));
  }
  worst.expect_within(1e-5);
}

// What the words promise of derivatives, against differences of the oracle over time: a mistake in
// which acceleration is which shows here alone.
TEST_F(QuantitiesTest, AccelerationsAreTheDerivativesOfTwists) {
  constexpr double h = 1e-5;
  test::for_random_states(20, [&](const test::State& s) {
    set(s);
    const auto twist_after = [&](double t, int i, tq::Frame frame) -> Vector6 {
      const Vector rates = oracle::coordinate_rates(s.q, s.dq);
      // Second order in t: rates change with ddq, and their coordinates' rates with q and dq.
      const Vector halfway = s.q + t / 2 * rates;
      const Vector q = s.q + t * oracle::coordinate_rates(halfway, s.dq + t / 2 * s.ddq);
      const dense::Motion then(test::robot_tree(), q, s.dq + t * s.ddq, s.ddq);
      const oracle::Pose& pose = then.at.in_root[i];
      const oracle::Matrix3 E =
          frame == tq::Frame::body ? oracle::Matrix3(pose.R.transpose()) : then.R;
      const Vector3 at =
          frame == tq::Frame::world ? Vector3(-then.R.transpose() * q.head<3>()) : pose.p;
      return then.to_frame(E, at) * then.velocity(i);
    };
    for (const int i : {0, 6, 12}) {
      const tq::BodyPoint origin{static_cast<unsigned long>(i)};
      for (const tq::Frame frame : {tq::Frame::body, tq::Frame::world, tq::Frame::world_at_point}) {
        const Vector6 rate = (twist_after(h, i, frame) - twist_after(-h, i, frame)) / (2 * h);
        const Vector6 got = frame == tq::Frame::world_at_point
                                ? classical_acceleration(state, origin, frame)
                                : spatial_acceleration(state, origin, frame);
        EXPECT_LE(test::error(got, rate), 1e-4 * (1 + rate.norm())) << "body " << i;
      }
    }
  });
}

// The host has better rates than floats: those given count, not the system's.
TEST_F(QuantitiesTest, RatesCanBeGivenInDouble) {
  test::for_random_states(1, [&](const test::State& s) {
    set(s);
    const Vector3 before = com_velocity(state);
    state.update(2 * tq::Coordinates(s.dq), tq::Coordinates::Zero());
    EXPECT_LE((com_velocity(state) - 2 * before).norm(), 1e-12);
    EXPECT_EQ(force_parts(state).inertia, tq::Coordinates::Zero());
  });
}

TEST_F(QuantitiesTest, ModelIsReadExactlyAndLeavesTheSystemAlone) {
  robot.setRootPose(test::transform(oracle::Vector::Constant(6, 0.4)));
  robot.computeFwdKinematics();
  const oracle::Pose before = test::pose(robot.getPose(7));
  const tq::Model model(robot);
  EXPECT_EQ(test::pose(robot.getPose(7)).R, before.R);
  for (int i = 0; i < test::kBodies; ++i) {
    const oracle::Body& body = test::robot_tree()[i];
    EXPECT_EQ(model.mass(i), body.m);
    EXPECT_LE((model.com(i) - body.h / body.m).norm(), 1e-8);
  }
}

TEST_F(QuantitiesTest, WrongInertiasAndBodiesAreNamed) {
  const auto fault = [](const auto& call) { return message_of<std::invalid_argument>(call); };
  tq::Model& model = state.model();
  const oracle::Matrix3 I = oracle::Matrix3::Identity();
  oracle::Matrix3 skew = I;
  skew(0, 1) = 1;
  EXPECT_EQ(fault([&] {
              model.set_body_inertia(23, 1, {0, 0, 0}, I);
            }),
            "no body 23: there are 23");
  EXPECT_EQ(fault([&] {
              model.set_body_inertia(3, -1, {0, 0, 0}, I);
            }),
            "mass of body 3 is -1.000000 kg, not positive");
  EXPECT_EQ(fault([&] {
              model.set_body_inertia(3, 1, {0, 0, 0}, skew);
            }),
            "inertia of body 3 is not finite and symmetric");
  EXPECT_EQ(fault([&] { jacobian(state, {40}, tq::Frame::body); }), "no body 40: there are 23");
  EXPECT_EQ(fault([&] { wrench_part(state, 23, {}); }), "no body 23: there are 23");
}

}  // namespace
