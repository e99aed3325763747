#pragma once

#include <host/rigid_body_system.hpp>
#include <optional>
#include <string>
#include <vector>

#include "apps/replay/signals.hpp"

namespace replay {

/// What the results hold, as the command line says it: names with commas between them.
struct Selection {
  std::string signals = "com,pose,torque";
  std::optional<std::string> bodies;  // whose poses, "all" for every body; else default_bodies
};

inline constexpr char default_bodies[] = "LAnkleRoll,RAnkleRoll,LElbowRoll,RElbowRoll,HeadPitch";

/// The signals there are, for people to read.
inline constexpr char signal_names[] =
    "com, pose, torque, jacobian, mass-matrix, partial-com:BODY, com-velocity, momentum, "
    "root-wrench, zmp, cop, margin, capture-point, energy, gravity-torque";

/// The signals selected, in the order of their names. Throws std::runtime_error that names the
/// option: a name that is unknown, or there twice, or bodies without their poses.
std::vector<Signal> selected_signals(const Selection& selection,
                                     const tavo::RigidBodySystem& system);

}  // namespace replay
