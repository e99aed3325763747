// Regressor, identifiable combinations, and masses found again.

#include <quantities/identification.hpp>
#include <random>

#include "tests/quantities/walk.hpp"

namespace {

using oracle::Vector;

tq::Parameters parameters_of(const oracle::Tree& tree) {
  tq::Parameters all;
  for (int i = 0; i < test::kBodies; ++i) {
    const oracle::Body& b = tree[i];
    all.segment<10>(10 * i) << b.m, b.h, b.I(0, 0), b.I(1, 0), b.I(1, 1), b.I(2, 0), b.I(2, 1),
        b.I(2, 2);
  }
  return all;
}

// For the robot's own bodies, and for any others on the same tree: the regressor knows no inertia.
TEST_F(QuantitiesTest, RegressorTimesParametersIsInverseDynamics) {
  std::mt19937 random(test::kSeed);
  const oracle::Tree own = test::robot_tree(),
                     other = dense::with(own, dense::host_inertias(random));
  Worst worst;
  tq::Regressor Y;
  test::for_random_states(1000, [&](const test::State& s) {
    set(s);
    regressor(state, Y);
    for (const oracle::Tree* tree : {&own, &other}) {
      const Vector want = dense::Motion(*tree, s.q, s.dq, s.ddq).forces();
      const tq::Coordinates got = Y * parameters_of(*tree);
      worst.see("root force", got.head<3>(), want.head<3>());
      worst.see("root moment", got.segment<3>(3), want.segment<3>(3));
      worst.see("joint torques", got.tail<22>(), want.tail<22>());
    }
  });
  EXPECT_LE(test::error(parameters(state.model()), parameters_of(own)), 2e-7)
      << "point masses, as built in";
  worst.expect_within(1e-5);
}

// The structure tells the number: ten parameters of the torso, of each other body the seven that do
// not regroup into its parent (Khalil, Dombre 2002, section 9.4); the torso's torque no joint
// feels. Torques that follow only combinations are explained by those.
TEST_F(QuantitiesTest, IdentifiableCombinationsAreThoseOfTheTree) {
  const struct {
    tq::Measured measured;
    Eigen::Index rank;
  } cases[] = {{tq::Measured::joints, 7 * 22}, {tq::Measured::joints_and_root, 7 * 22 + 10}};
  for (const auto& c : cases) {
    tq::Identification identification(tq::all_parameters(), c.measured);
    std::mt19937 random(test::kSeed);
    const tq::Parameters change = tq::Parameters::NullaryExpr(
        [&](Eigen::Index) { return static_cast<double>(random() % 1000) * 1e-6; });
    tq::Regressor Y;
    tq::BodyWrenches support = tq::BodyWrenches::Zero();
    for (int k = 0; k < 60; ++k) {
      set(test::random_state(random));
      regressor(state, Y);
      // A robot that differs by `change` from the model, held by what it needs at the root.
      const tq::Coordinates forces = inverse_dynamics(state) + Y * change;
      support.col(0) = forces.head<6>();
      identification.add(state, forces.tail<22>(), support);
    }
    const tq::Identification::Result found = identification.solve();
    EXPECT_EQ(found.rank, c.rank);
    EXPECT_EQ(found.combinations.rows(), c.rank);
    EXPECT_LE(test::error(found.values, found.combinations * change), 2e-4 * change.norm());
    EXPECT_LE(found.residual, 1e-4);
  }
}

// A tool of 0.1 kg in the hand and a heavier shank, torques known to 0.01 N m; and a backpack on
// the torso, which no joint feels while the wrenches are given: it takes the root's balance to see
// it. Masses come back as near as the deviations say.
TEST_F(QuantitiesTest, MassesComeBackFromANoisyWalk) {
  const std::vector<WalkSample> walk = read_walk();
  const struct {
    tq::Measured measured;
    std::vector<unsigned long> bodies;
    Eigen::Vector2d change;
    double deviation;  // kg: what 801 samples are worth
  } cases[] = {{tq::Measured::joints, {22, 10}, {0.1, 0.05}, 1e-3},
               {tq::Measured::joints_and_root, {0, 22}, {0.1, 0.05}, 2.5e-4}};
  tq::Regressor Y;
  for (const auto& c : cases) {
    const tq::Unknowns masses = masses_of(state.model(), c.bodies);
    double squares = 0;
    for (unsigned seed = 0; seed < 20; ++seed) {
      std::mt19937 random(seed);
      std::normal_distribution<double> normal(0, 0.01);
      const auto noise = [&](Eigen::Index) { return normal(random); };
      tq::Identification identification(masses, c.measured);
      for (const WalkSample& sample : walk) {
        robot.setRootPose(sample.root);
        robot.setJointAnglesPos(sample.joints);
        robot.computeFwdKinematics();
        state.update(sample.dq, sample.ddq);
        regressor(state, Y);
        const tq::Coordinates more = Y * masses * c.change;
        // The measured wrenches carry the heavier robot: what it weighs more is held at the torso.
        tq::BodyWrenches wrenches = sample.feet;
        wrenches.col(0) += more.head<6>();
        const tq::Coordinates torques = inverse_dynamics(state, wrenches) + more;
        wrenches.col(0) += tq::Vector6::NullaryExpr(noise);
        identification.add(state, torques.tail<22>() + tq::JointVector::NullaryExpr(noise),
                           wrenches);
      }
      const tq::Identification::Result found = identification.solve();
      EXPECT_EQ(found.rank, 2);
      EXPECT_NEAR(found.residual, 0.01, 3e-4);
      EXPECT_LE(found.deviations.maxCoeff(), c.deviation);
      squares += (found.unknowns - c.change).cwiseQuotient(found.deviations).squaredNorm() / 40;
    }
    EXPECT_NEAR(squares, 1, 0.6) << "mean square of errors, in deviations";
  }
}

TEST_F(QuantitiesTest, WhatCannotBeIdentifiedIsNamed) {
  const auto fault = [](const auto& call) { return message_of<std::invalid_argument>(call); };
  EXPECT_EQ(fault([] { tq::Identification none(tq::Unknowns(230, 0)); }),
            "no unknowns to identify");
  EXPECT_EQ(fault([] { tq::Identification zero(tq::Unknowns::Zero(230, 2)); }),
            "unknown 0 is zero or not finite");
  EXPECT_EQ(fault([this] { masses_of(state.model(), {3, 23}); }), "no body 23: there are 23");
  tq::Identification identification(tq::all_parameters());
  const tq::JointVector bad = tq::JointVector::Constant(std::nan(""));
  EXPECT_EQ(fault([&] { identification.add(state, bad); }),
            "a measured torque or wrench is not finite");
  EXPECT_EQ(message_of<std::domain_error>([&] { identification.solve(); }),
            "0 measured forces do not determine 230 unknowns and their noise");
}

}  // namespace
