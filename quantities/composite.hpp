#pragma once

/// @file
/// Inertias of subtrees: what the mass matrix, the centroidal momentum matrix and the Jacobian of
/// the centre of mass have in common.

#include <array>
#include <quantities/state.hpp>
#include <quantities/types.hpp>

namespace tavo::quantities::internal {

/// Inertia of a set of bodies that move as one: root axes, about the root's origin.
struct CompositeInertia {
  double m;   ///< mass, kg
  Vector3 h;  ///< first moment, kg m
  Matrix3 I;  ///< kg m2

  /// Momentum of the motion (w, v): angular about the root's origin, then linear.
  Vector6 operator*(const Vector6& motion) const;
};

/// Entry i: body i and all that it carries. Featherstone 2008, section 6.2.
std::array<CompositeInertia, nb_bodies> composite_inertias(const State& state);

/// Rotational inertia of body i about its centre of mass, root axes, kg m2.
Matrix3 inertia_at_com(const State& state, int i);

/// A body's force, or a sum of such: root axes, about the root's origin.
struct RootForce {
  Vector3 n = Vector3::Zero();  ///< moment, N m
  Vector3 f = Vector3::Zero();  ///< force, N

  RootForce& operator+=(const RootForce& other);
  /// Generalized force along the motion S.
  double along(const Vector6& S) const { return S.head<3>().dot(n) + S.tail<3>().dot(f); }
};

/// 28 generalized forces of the forces on the bodies, which are summed from the leaves to the root
/// on the way: entry 0..5 the root's force and moment, entry 6 + j along joint j.
Coordinates project(const State& state, std::array<RootForce, nb_bodies>& forces);

/// A wrench on body i, given in its frame about its origin (force, moment), in the root.
RootForce in_root(const State& state, int i, const Vector6& wrench_body);

}  // namespace tavo::quantities::internal
