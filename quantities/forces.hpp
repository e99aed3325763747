#pragma once

/// @file
/// Generalized forces in double precision: the root's six, which the interface does not hand out,
/// and the joints' torques taken apart.

#include <quantities/state.hpp>
#include <quantities/types.hpp>

namespace tavo::quantities {

// All need State::update; signs are those of RigidBodySystem::computeInverseDynamics: what the
// joints, and a support at the root, must apply.

/// What a motion asks for, by cause. Each part has 28 entries: the root's force (N) and moment (N
/// m) about its origin, root frame, then the joints' torques (N m).
struct ForceParts {
  Coordinates gravity;   ///< to hold the robot up: g(q)
  Coordinates velocity;  ///< centrifugal and gyroscopic: C(q, dq) dq
  Coordinates inertia;   ///< H(q) ddq
  /// All three: inverse dynamics without wrenches.
  Coordinates total() const { return gravity + velocity + inertia; }
};

/// The parts of inverse dynamics without external wrenches. Siciliano et al. 2009, section 7.2;
/// Featherstone 2008, section 5.3, in one frame.
ForceParts force_parts(const State& state);

/// What a wrench on body i adds, -J^T w: 28 entries. `wrench_body` acts on the body, in its frame
/// about its origin. Throws std::invalid_argument for a body that is not there.
Coordinates wrench_part(const State& state, unsigned long i, const Wrench& wrench_body);

/// What all wrenches add together.
Coordinates wrench_part(const State& state, const BodyWrenches& wrenches);

/// Inverse dynamics: all 28 generalized forces of the state's accelerations, without external
/// wrenches or with them. Entries 6.. are the torques of computeInverseDynamics; entries 0..5 what
/// a support at the root would have to add, zero if the wrenches account for the motion.
Coordinates inverse_dynamics(const State& state);
/// The same with wrenches on the bodies.
Coordinates inverse_dynamics(const State& state, const BodyWrenches& wrenches);

/// The first six of these alone: force and moment about the root's origin, root frame.
Wrench root_wrench(const State& state);
/// The same with wrenches on the bodies.
Wrench root_wrench(const State& state, const BodyWrenches& wrenches);

}  // namespace tavo::quantities
