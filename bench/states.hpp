#pragma once

#include <array>
#include <cstddef>
#include <ktmath/ktmath.hpp>
#include <vector>

/// Random states of the robot, the same for every program and library.
namespace bench {

inline constexpr std::size_t nb_bodies = 23, nb_joints = 22, nb_states = 1000;

/// Everything that a host can set, in the plug-in's conventions.
struct State {
  KT::Math::Position6D root{0, 0, 0, 0, 0, 0};
  KT::Math::Transform root_pose;  ///< of `root`
  KT::Math::Velocity6D root_velocity{0, 0, 0, 0, 0, 0}, root_acceleration{0, 0, 0, 0, 0, 0};
  std::vector<float> q, dq, ddq;
  std::array<std::vector<float>, nb_bodies> wrenches;
  unsigned long body = 0;  ///< one that is not the root: left out of, or read from, the results
};

/// nb_states of them, by a fixed seed.
std::vector<State> random_states();

}  // namespace bench
