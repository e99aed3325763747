#pragma once

#include <functional>
#include <host/rigid_body_system.hpp>
#include <string>
#include <vector>

namespace replay {

/// Columns of the results: their names, and how to read them once a sample is computed.
struct Signal {
  std::vector<std::string> columns;
  /// Appends one value a column.
  std::function<void(const tavo::RigidBodySystem&, std::vector<float>& row)> read;
};

/// com.x, com.y, com.z: centre of mass of all bodies, world frame (m).
Signal com_signal();

/// BODY.x .. BODY.z, BODY.qw .. BODY.qz: world pose of a body, origin (m) and unit quaternion. Of
/// the two quaternions of a pose it is the one nearer to the last sample's, so the components have
/// no jumps; in the first sample the largest one is positive. Throws std::out_of_range if the
/// system has no such body.
Signal pose_signal(const tavo::RigidBodySystem& system, const std::string& body);

/// torque.JOINT: the torque of each joint (N m).
Signal torque_signal(const tavo::RigidBodySystem& system);

/// H.vx .. H.wz, H.JOINT: diagonal of the joint-space mass matrix (kg, kg m2), the root's linear
/// coordinates first; H.joint_condition: condition number of its joint block in the 2-norm.
Signal mass_matrix_signal(const tavo::RigidBodySystem& system);

}  // namespace replay
