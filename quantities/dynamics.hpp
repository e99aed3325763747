#pragma once

/// @file
/// Mass matrix and forward dynamics, floating or with bodies held.

#include <quantities/state.hpp>
#include <quantities/types.hpp>
#include <vector>

namespace tavo::quantities {

/// Joint-space mass matrix H in double precision, 28 x 28 (kg, kg m, kg m2), without rotors. Needs
/// State::update. Composite rigid bodies, Featherstone 2008, section 6.2, in one frame.
MassMatrix mass_matrix(const State& state);

/// What the motors and the surroundings bring about.
struct ForwardDynamics {
  Coordinates ddq;  ///< accelerations, coordinate order: ddq[0..5] the root's spatial acceleration
  BodyWrenches held;  ///< on each held body, as setExternalWrench takes it; zero for the others
};

/// Most bodies that can be held at once.
inline constexpr std::size_t most_held_bodies = 4;

/// Forward dynamics: (H + rotors) ddq = torques - C dq - g + sum J^T w, with the spatial
/// acceleration of every held body zero (a foot flat on the ground, in rigid contact on all six
/// axes). Needs State::update; its accelerations are not read. Featherstone 2008, sections 6.1
/// and 8.3.
///
/// `torques`: of the joints, N m. `wrenches`: on the bodies. `rotors`: inertia of each joint's
/// rotor seen at the joint, gear ratio squared times its own, kg m2. They have no default on
/// purpose: the bodies are point masses, the last of each chain hardly resists its joint, and
/// without rotors H is so ill conditioned (up to 5e9) that accelerations mean nothing.
///
/// Throws std::invalid_argument for a rotor inertia that is negative or not finite, a body that is
/// not there, one held twice or more than most_held_bodies; std::domain_error if H + rotors is
/// singular or the held bodies cannot all be held (with fewer than six joints between two).
/// Allocates nothing but exceptions.
ForwardDynamics forward_dynamics(const State& state, const JointVector& torques,
                                 const BodyWrenches& wrenches, const JointVector& rotors,
                                 const std::vector<unsigned long>& held = {});

}  // namespace tavo::quantities
