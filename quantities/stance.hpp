#pragma once

/// @file
/// Joint torques of a robot that stands: what it needs from the ground goes through its feet.

#include <quantities/state.hpp>
#include <quantities/types.hpp>

namespace tavo::quantities {

/// How two feet share what the motion needs from the ground.
enum class Sharing {
  /// The moments about both bodies' origins (the ankles) are least in the sum of their squares:
  /// each
  /// foot's force alone gives what moment it can, what is left over, about the line through the
  /// ankles,
  /// is halved. Forces along that line are halved. If that would have a foot pull, the other stands
  /// alone.
  least_ankle_torque,
  /// The force is shared as a beam's load between its supports: each foot's share falls linearly
  /// with
  /// the horizontal distance, along the line through the ankles, between its ankle and the
  /// zero-moment
  /// point; the moment that is left is shared likewise. Kajita et al. 2014, section 4.
  by_distance,
};

/// Torques in stance, and the ground's wrenches that go with them.
struct Stance {
  JointVector torques;  ///< N m
  BodyWrenches feet;    ///< on each foot, as setExternalWrench takes it; zero for other bodies
  double share;         ///< of the force on the first foot: 1 on one foot
};

// All need State::update, with the accelerations that are wanted; for gravity compensation update
// it with rates and accelerations of zero. `others` are wrenches beside the ground's (a load in the
// hands). Throw std::invalid_argument for a body that is not there.

/// On one foot: exact, the root's generalized forces vanish.
Stance stance(const State& state, unsigned long foot,
              const BodyWrenches& others = BodyWrenches::Zero());

/// On two feet. Throws std::invalid_argument if they are one and the same, std::domain_error if
/// their ankles stand above each other or the motion does not press on the ground.
Stance stance(const State& state, unsigned long first_foot, unsigned long second_foot,
              Sharing sharing, const BodyWrenches& others = BodyWrenches::Zero());

}  // namespace tavo::quantities
