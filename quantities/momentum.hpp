#pragma once

/// @file
/// The whole body's centre of mass, momentum and energy.

#include <quantities/state.hpp>
#include <quantities/types.hpp>

namespace tavo::quantities {

// All need State::update. World frame throughout. Nothing throws.

/// Centre of mass, m.
Vector3 com_position(const State& state);
/// Its velocity, m/s.
Vector3 com_velocity(const State& state);
/// Its acceleration, m/s2, without gravity.
Vector3 com_acceleration(const State& state);
/// What velocities alone add to it, J' dq, m/s2: acceleration = J ddq + drift.
Vector3 com_drift(const State& state);
/// 3 x 28: velocity of the centre of mass per unit rate of each coordinate (1 for linear rates, m
/// for angular ones). Kajita et al. 2014, section 3.
LinearJacobian com_jacobian(const State& state);

/// Momentum of the whole body about its centre of mass: angular (N m s), then linear (N s), world
/// axes. Orin, Goswami, Lee 2013, section 2.
Vector6 centroidal_momentum(const State& state);
/// 6 x 28: A_G with A_G dq the centroidal momentum. Orin, Goswami, Lee 2013, equation 16.
Jacobian centroidal_momentum_matrix(const State& state);
/// Derivative of the centroidal momentum: moment about the centre of mass (N m), then force (N), of
/// all that acts on the robot, gravity included.
Vector6 centroidal_momentum_rate(const State& state);
/// What velocities alone add to it, A_G' dq: rate = A_G ddq + drift.
Vector6 centroidal_momentum_drift(const State& state);

/// Energy of the bodies, J. Rotors of drives are not in it.
struct Energy {
  double kinetic;    ///< of all bodies' motion
  double potential;  ///< of gravity; zero with the centre of mass at the world's z = 0
  /// Both.
  double total() const { return kinetic + potential; }
};
/// The energy of the present state.
Energy energy(const State& state);

/// Derivative of the total energy, W: the power of the joint torques and of what the surroundings
/// do, but for gravity.
double energy_rate(const State& state);

/// Power of joint torques (N m) at the joints' rates, W.
double joint_power(const State& state, const JointVector& torques);

/// Power of external wrenches on the bodies that they act on, W.
double wrench_power(const State& state, const BodyWrenches& wrenches);

}  // namespace tavo::quantities
