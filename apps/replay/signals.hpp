#pragma once

#include <functional>
#include <host/rigid_body_system.hpp>
#include <optional>
#include <string>
#include <vector>

#include <Eigen/Geometry>

#include "apps/replay/observation.hpp"

namespace replay {

/// Columns of the results: their names, and how to get them once a sample has gone through
/// kinematics and inverse dynamics. Frames and units: apps/replay/README.md.
struct Signal {
  std::vector<std::string> columns;
  /// Computes what kinematics and inverse dynamics leave out; empty if that is nothing.
  std::function<void(tavo::RigidBodySystem&)> compute;
  /// Appends one value a column.
  std::function<void(const Observation&, std::vector<float>& row)> read;
  /// Whether it is not there in every sample: nan then says so, and is no fault.
  bool may_be_missing = false;
};

/// One of the two unit quaternions of a pose.
Eigen::Quaterniond quaternion_of(const KT::Math::Transform& pose);

/// q and -q are the same orientation: whether -q is the one nearer to the last, or, without one,
/// the one whose largest component is positive.
bool is_turned(const Eigen::Quaterniond& q, const std::optional<Eigen::Quaterniond>& last);

/// com.x, com.y, com.z: centre of mass of all bodies, world frame (m).
Signal com_signal();

/// BODY.x .. BODY.z, BODY.qw .. BODY.qz: world pose of a body, origin (m) and unit quaternion. Of
/// the two quaternions of a pose it is the one nearer to the last sample's, so the components have
/// no jumps; in the first sample the largest one is positive. Throws std::out_of_range if the
/// system has no such body.
Signal pose_signal(const tavo::RigidBodySystem& system, const std::string& body);

/// torque.JOINT: the torque of each joint (N m).
Signal torque_signal(const tavo::RigidBodySystem& system);

/// J.ROW.COLUMN, row by row: the 6 x 28 Jacobian in the root's frame. Rows wx .. wz, vx .. vz.
Signal jacobian_signal(const tavo::RigidBodySystem& system);

/// H.ROW.COLUMN, row by row: the 28 x 28 joint-space mass matrix (kg, kg m, kg m2), all of it;
/// H.joint_condition: condition number of its joint block in the 2-norm.
Signal mass_matrix_signal(const tavo::RigidBodySystem& system);

/// partial-com:BODY.x, .y, .z: centre of mass of all bodies but this one, not the root, in the
/// root's frame (m). Throws std::out_of_range if the system has no such body.
Signal partial_com_signal(const tavo::RigidBodySystem& system, const std::string& body);

}  // namespace replay
