#pragma once

/// @file
/// Sizes, vectors and small values that all quantities share.

#include <host/rigid_body_system.hpp>

#include <Eigen/Core>

/// What controllers derive from tavo::RigidBodySystem: everything in double precision, over the
/// operations of the interface alone.
///
/// Frames, units and orders are those of docs/conventions.md: SI, radians, world z up. Motions (and
/// the rows of a Jacobian) list the angular part before the linear one; coordinates, generalized
/// forces and wrenches list the linear part (the force) before the angular one (the moment).
///
/// Nothing here allocates after construction unless its comment says so. One object is used by one
/// thread at a time.
namespace tavo::quantities {

inline constexpr int nb_bodies = 23;     ///< the root and one body a joint
inline constexpr int nb_joints = 22;     ///< revolute joints
inline constexpr int nb_dofs = 28;       ///< coordinates: six of the root, then the joints
inline constexpr double gravity = 9.81;  ///< m/s2, along the world's -z

using Vector3 = Eigen::Vector3d;              ///< x, y, z
using Matrix3 = Eigen::Matrix3d;              ///< 3 x 3
using Vector6 = Eigen::Matrix<double, 6, 1>;  ///< a motion: angular, then linear

/// One number a coordinate: root linear, root angular (both in the root's frame), then the joints.
using Coordinates = Eigen::Matrix<double, nb_dofs, 1>;
/// One number a joint angle.
using JointVector = Eigen::Matrix<double, nb_joints, 1>;
/// 6 x 28: motion (angular, then linear) per unit rate of each coordinate.
using Jacobian = Eigen::Matrix<double, 6, nb_dofs>;
/// 3 x 28: linear velocity per unit rate of each coordinate.
using LinearJacobian = Eigen::Matrix<double, 3, nb_dofs>;
/// 28 x 28, coordinate order.
using MassMatrix = Eigen::Matrix<double, nb_dofs, nb_dofs>;

/// Column i is what the surroundings do to body i: force (N), then moment (N m) about the body's
/// origin, in the body's frame, as RigidBodySystem::setExternalWrench takes it.
using BodyWrenches = Eigen::Matrix<double, 6, nb_bodies>;

/// x -> R x + p. As the pose of frame F in frame G it takes F-coordinates to G-coordinates.
struct Pose {
  Matrix3 R = Matrix3::Identity();  ///< F's axes in G
  Vector3 p = Vector3::Zero();      ///< F's origin in G, m

  /// The point R x + p.
  Vector3 operator*(const Vector3& x) const { return R * x + p; }
  /// Composition: the pose in G of a frame whose pose in F is b.
  Pose operator*(const Pose& b) const { return {R * b.R, R * b.p + p}; }
  /// The pose of G in F.
  Pose inverse() const { return {R.transpose(), -(R.transpose() * p)}; }
};

/// A force and the moment about a point that its owner names, in a frame that it names.
struct Wrench {
  Vector3 force = Vector3::Zero();   ///< N
  Vector3 moment = Vector3::Zero();  ///< N m
};

/// A place fixed to a body.
struct BodyPoint {
  unsigned long body;                  ///< 0 to 22
  Vector3 position = Vector3::Zero();  ///< in the body's frame, m
};

/// The pose that a host's transform stands for.
inline Pose from_host(const KT::Math::Transform& t) {
  Pose pose;
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) pose.R(r, c) = static_cast<double>(t.m[4 * r + c]);
    pose.p[r] = static_cast<double>(t.m[4 * r + 3]);
  }
  return pose;
}

/// The pose in the host's single precision.
inline KT::Math::Transform to_host(const Pose& pose) {
  KT::Math::Transform t;
  for (int r = 0; r < 3; ++r) {
    for (int c = 0; c < 3; ++c) t.m[4 * r + c] = static_cast<float>(pose.R(r, c));
    t.m[4 * r + 3] = static_cast<float>(pose.p[r]);
  }
  return t;
}

}  // namespace tavo::quantities
