#pragma once

/// @file
/// Where the root is and how the joints stand, in double precision.

#include <host/rigid_body_system.hpp>
#include <quantities/types.hpp>

namespace tavo::quantities {

/// A pose of the root in the world and 22 joint angles (rad).
struct Configuration {
  Pose root;                                 ///< world pose of the root
  JointVector joints = JointVector::Zero();  ///< rad
};

/// Rotation by |turn| rad about the direction of `turn`. Siciliano et al. 2009, section 2.5.
Matrix3 rotation(const Vector3& turn);

/// The rotation vector of R, at most pi long: rotation(rotation_vector(R)) = R.
Vector3 rotation_vector(const Matrix3& R);

/// What the system holds: its root pose as getRootPose shows it and its joint angles.
Configuration configuration_of(const RigidBodySystem& system);

/// Where coordinate rates lead: rates times a time make the 28 entries of `displacement` (m and
/// rad; the root's in its own frame). The root moves along a screw: exact for constant rates, so
/// positions integrate without leaving the rotations. Siciliano et al. 2009, section 2.5; Murray,
/// Li, Sastry 1994, section 2.3.
Configuration moved(const Configuration& from, const Coordinates& displacement);

}  // namespace tavo::quantities
