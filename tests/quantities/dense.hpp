#pragma once

#include <random>
#include <vector>

#include "tests/oracle.hpp"
#include "tests/robot.hpp"

/// What quantities are judged by: the oracle's dense matrices, carried on to motions of bodies,
/// momenta and wrenches. Sums and differences of the oracle's own results wherever there are such.
namespace dense {

using oracle::Matrix, oracle::Matrix3, oracle::Matrix6, oracle::Pose, oracle::Tree, oracle::Vector,
    oracle::Vector3, oracle::Vector6;

/// A tree at rest or in motion. Motions angular first, root axes at the root's origin unless said.
class Motion {
 public:
  Motion(const Tree& tree, const Vector& q, const Vector& dq, const Vector& ddq);

  oracle::Configuration at;
  Tree tree;
  Vector q, dq, ddq;
  Matrix3 R;  // root axes in the world

  Matrix body_jacobian(int i) const;
  Vector6 velocity(int i) const { return body_jacobian(i) * dq; }
  Vector6 drift(int i) const;
  Vector6 acceleration(int i) const { return body_jacobian(i) * ddq + drift(i); }

  /// Motion from the root's frame to axes E (rows: new axes in the root) at r (root coordinates).
  static Matrix6 to_frame(const Matrix3& E, const Vector3& r) {
    return oracle::motion_matrix(E, r);
  }

  /// Generalized forces without wrenches.
  Vector forces() const { return forces(dq, ddq); }
  Vector forces(const Vector& rates, const Vector& accelerations) const;
  Vector forces(const std::vector<Vector6>& fext) const {
    return at.inverse_dynamics(dq, ddq, fext);
  }
  Vector zero() const { return Vector::Zero(dq.size()); }

  /// Wrench (moment, force) about a point of the world, world axes, of generalized forces.
  Vector6 world_wrench(const Vector& forces, const Vector3& point_world) const;
  /// Of the forces that accelerate the bodies: gravity is no part of it.
  Vector6 momentum_rate(const Vector& forces) const;
};

std::vector<Vector6> no_wrenches();

/// The tree with rotational inertias of all bodies, as a host may set them, floats throughout.
struct HostInertia {
  float mass;
  Eigen::Vector3f com;
  Eigen::Matrix3f at_com;
};
std::vector<HostInertia> host_inertias(std::mt19937& random);
Tree with(Tree tree, const std::vector<HostInertia>& inertias);

}  // namespace dense
