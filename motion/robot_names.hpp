#pragma once

#include <host/rigid_body_system.hpp>
#include <string>
#include <vector>

namespace tavo::motion {

/// What the robot calls its parts: joints in joint-angle order, bodies in body order.
struct RobotNames {
  std::vector<std::string> joints;  ///< In joint-angle order.
  std::vector<std::string> bodies;  ///< In body order.

  /// The coordinates of rates, forces and matrices: vx, vy, vz, wx, wy, wz of the root, in its own
  /// frame, then the joints.
  std::vector<std::string> coordinates() const;
};

/// The names that the plug-in uses.
RobotNames names_of(const tavo::RigidBodySystem& system);

}  // namespace tavo::motion
