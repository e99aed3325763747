// Forward dynamics and derivatives.

#include <Eigen/LU>

#include "tests/quantities/fixture.hpp"

namespace {

using oracle::Matrix, oracle::Vector;

const tq::JointVector kRotors = tq::JointVector::Constant(1e-3);

class DynamicsTest : public QuantitiesTest {
 protected:
  // The plug-in's torques with what drives need for their rotors, and the support that the root
  // would need as a wrench on it: together they bring about the state's own accelerations.
  tq::JointVector torques_of_the_plugin(const test::State& s) {
    robot.computeInverseDynamics();
    return test::torques(robot) + kRotors.cwiseProduct(s.ddq.tail<22>());
  }
  tq::BodyWrenches with_support(tq::BodyWrenches wrenches) {
    const tq::Wrench root = root_wrench(state, wrenches);
    wrenches.col(0).head<3>() += root.force;
    wrenches.col(0).tail<3>() += root.moment;
    return wrenches;
  }
};

TEST_F(DynamicsTest, ForwardAfterInverseReturnsTheAccelerations) {
  Worst by_the_plugin, in_double, beside_the_oracle;
  test::for_random_states(1000, [&](const test::State& s) {
    set(s);
    const tq::BodyWrenches wrenches = with_support(QuantitiesTest::wrenches(s));
    const tq::JointVector torques = torques_of_the_plugin(s);
    by_the_plugin.see("ddq, plug-in's torques",
                      forward_dynamics(state, torques, wrenches, kRotors).ddq, s.ddq);
    const tq::JointVector exact =
        inverse_dynamics(state, wrenches).tail<22>() + kRotors.cwiseProduct(s.ddq.tail<22>());
    in_double.see("ddq, own torques", forward_dynamics(state, exact, wrenches, kRotors).ddq, s.ddq);

    // Beside dense algebra on the oracle's H and bias, which knows nothing of the state.
    const dense::Motion want(test::robot_tree(), s.q, s.dq, s.ddq);
    Matrix H = want.at.mass_matrix();
    H.diagonal().tail<22>() += kRotors;
    Vector force = -want.at.inverse_dynamics(s.dq, want.zero(), s.fext);
    force.tail<22>() += torques;
    const Vector ddq = H.fullPivLu().solve(force);
    beside_the_oracle.see(
        "ddq, beside the oracle",
        forward_dynamics(state, torques, QuantitiesTest::wrenches(s), kRotors).ddq, ddq);
  });
  by_the_plugin.expect_within(1e-3);
  in_double.expect_within(1e-9);
  beside_the_oracle.expect_within(1e-4);
}

// Held feet stay, and the motion with the wrenches on them needs just the torques that were given.
TEST_F(DynamicsTest, HeldFeetStayAndCarry) {
  const std::vector<std::vector<unsigned long>> cases = {
      {kLeftFoot}, {kLeftFoot, kRightFoot}, {kLeftFoot, kRightFoot, 6}, {6, 12, 18, 22}};
  test::for_random_states(100, [&](test::State s) {
    s.fext.assign(23, oracle::Vector6::Zero());
    set(s);
    for (const auto& held : cases) {
      const tq::JointVector torques = 0.1 * s.ddq.tail<22>();
      const tq::ForwardDynamics motion =
          forward_dynamics(state, torques, tq::BodyWrenches::Zero(), kRotors, held);
      state.update(s.dq, motion.ddq);
      for (const unsigned long body : held) {
        EXPECT_LE(spatial_acceleration(state, {body}, tq::Frame::body).norm(),
                  1e-9 * motion.ddq.norm());
      }
      tq::Coordinates forces = inverse_dynamics(state, motion.held);
      forces.tail<22>() += kRotors.cwiseProduct(motion.ddq.tail<22>());
      EXPECT_LE(forces.head<6>().norm(), 1e-9 * motion.held.norm());
      EXPECT_LE((forces.tail<22>() - torques).norm(), 1e-9 * (1 + motion.held.norm()));
    }
  });
}

TEST_F(DynamicsTest, WhatCannotBeSolvedIsNamed) {
  const tq::JointVector none = tq::JointVector::Zero();
  const auto forward = [&](const tq::JointVector& rotors, std::vector<unsigned long> held) {
    forward_dynamics(state, none, tq::BodyWrenches::Zero(), rotors, held);
  };
  EXPECT_EQ(message_of<std::domain_error>([&] {
              forward(kRotors, {11, 12});
            }),
            "the held bodies cannot all be held: their joints leave no freedom");
  // A head whose mass lies on its joint's axis can be turned by nothing at all.
  state.model().set_body_inertia(2, 0.5, {0, 0, 0.1}, oracle::Matrix3::Zero());
  state.update();
  EXPECT_EQ(message_of<std::domain_error>([&] { forward(none, {}); }),
            "mass matrix is singular: larger rotors needed");
  EXPECT_EQ(message_of<std::invalid_argument>([&] { forward(-kRotors, {}); }),
            "rotor inertia of joint angle 0 is -0.001000 kg m2");
  EXPECT_EQ(message_of<std::invalid_argument>([&] {
              forward(kRotors, {12, 12});
            }),
            "body 12 is held twice");
  EXPECT_EQ(message_of<std::invalid_argument>([&] {
              forward(kRotors, {1, 2, 3, 4, 5});
            }),
            "5 bodies are held, at most 4 can be");
  EXPECT_EQ(message_of<std::invalid_argument>([&] { forward(kRotors, {23}); }),
            "no body 23: there are 23");
}

// Central differences of the oracle's torques: steps of 1e-5 leave 1e-9 in double.
TEST_F(DynamicsTest, DerivativesOfTorquesAreThoseOfTheOracle) {
  constexpr double h = 1e-5;
  tq::TorqueDerivatives derivatives(robot);
  Worst worst;
  std::mt19937 random(test::kSeed);
  const auto inertias = dense::host_inertias(random);
  for (int k = 0; k < 200; ++k) {
    if (k == 100) set_inertias(inertias);
    const oracle::Tree tree =
        k < 100 ? test::robot_tree() : dense::with(test::robot_tree(), inertias);
    const test::State s = test::random_state(random);
    set(s);
    derivatives.compute();
    const auto torques = [&](const Vector& q, const Vector& dq) -> Vector {
      return oracle::Configuration(tree, q).inverse_dynamics(dq, s.ddq, s.fext).tail<22>();
    };
    Matrix by_q(22, 28), by_dq(22, 28);
    for (int c = 0; c < 28; ++c) {
      const Vector step = h * Vector::Unit(28, c);
      // A turn of the root about its own axes, as rates of its coordinates.
      const Vector turn = c < 6 ? oracle::coordinate_rates(s.q, step) : step;
      by_q.col(c) = (torques(s.q + turn, s.dq) - torques(s.q - turn, s.dq)) / (2 * h);
      by_dq.col(c) = (torques(s.q, s.dq + step) - torques(s.q, s.dq - step)) / (2 * h);
    }
    worst.see("by the root's place", derivatives.by_position().leftCols<3>() + Matrix::Ones(22, 3),
              by_q.leftCols<3>() + Matrix::Ones(22, 3));
    worst.see("by the root's turn", derivatives.by_position().middleCols<3>(3),
              by_q.middleCols<3>(3));
    worst.see("by joint angles", derivatives.by_position().rightCols<22>(), by_q.rightCols<22>());
    worst.see("by root rates", derivatives.by_rate().leftCols<6>(), by_dq.leftCols<6>());
    worst.see("by joint rates", derivatives.by_rate().rightCols<22>(), by_dq.rightCols<22>());
    worst.see("by accelerations", derivatives.by_acceleration(),
              oracle::Configuration(tree, s.q).mass_matrix().bottomRows<22>());
  }
  worst.expect_within(1e-4);
}

TEST_F(DynamicsTest, DerivativesLeaveTheSystemAsItWas) {
  test::for_random_states(5, [&](const test::State& s) {
    set(s);
    robot.computeInverseDynamics();
    const Vector torques = test::torques(robot);
    const oracle::Pose ankle = test::pose(robot.getPose(12));
    tq::TorqueDerivatives(robot).compute();
    EXPECT_EQ(test::torques(robot), torques);
    EXPECT_EQ(test::pose(robot.getPose(12)).p, ankle.p);
    robot.computeInverseDynamics();  // from the positions and rates that were left
    EXPECT_EQ(test::torques(robot), torques);
  });
}

}  // namespace
