#pragma once

/// @file
/// What does not change from one cycle to the next.

#include <array>
#include <host/rigid_body_system.hpp>
#include <quantities/types.hpp>

#include <Eigen/Core>

namespace tavo::quantities {

/// A body's ten inertial parameters: mass (kg), first moment x, y, z (kg m), rotational inertia
/// about the body's origin xx, yx, yy, zx, zy, zz (kg m2), in the body's frame. Atkeson, An,
/// Hollerbach 1986, section 2.
using InertialParameters = Eigen::Matrix<double, 10, 1>;

/// Tree and inertias of a system.
///
/// The interface tells masses and centres of mass, not rotational inertias. Built in, every body is
/// a point mass: so these are zero here until the host hands over again what it gave to
/// RigidBodySystem::setBodyInertia.
class Model {
 public:
  /// Reads parents, masses and centres of mass. Leaves the system as it was. Throws
  /// std::invalid_argument if the system is not of 23 bodies with one joint each but the root,
  /// parents first, or if a mass is not positive.
  explicit Model(RigidBodySystem& system);

  /// The inertia of body i that was given to RigidBodySystem::setBodyInertia: mass (kg), centre of
  /// mass (m, body frame), rotational inertia about it (kg m2, body axes, symmetric). Throws
  /// std::invalid_argument for a body that is not there, a mass that is not positive or an inertia
  /// that is not symmetric.
  void set_body_inertia(unsigned long i, double mass, const Vector3& com,
                        const Matrix3& inertia_at_com);

  /// Mass of all bodies, kg.
  double mass() const { return total_mass_; }
  /// Mass of body i, kg.
  double mass(int i) const { return bodies_[i].mass; }
  /// Centre of mass of body i, body frame, m.
  const Vector3& com(int i) const { return bodies_[i].com; }
  /// Rotational inertia of body i about its centre of mass, body axes, kg m2.
  const Matrix3& inertia_at_com(int i) const { return bodies_[i].inertia_at_com; }
  /// Whether body i is a point mass: its rotational inertia about its centre of mass is zero.
  bool is_point_mass(int i) const { return bodies_[i].is_point_mass; }
  /// Parent of body i, -1 for the root.
  int parent(int i) const { return parents_[i]; }
  /// The ten parameters of body i.
  InertialParameters parameters(int i) const;

  /// i as an index of a body. Throws std::invalid_argument if there is no such body.
  static int checked(unsigned long i);

 private:
  struct Body {
    double mass;
    Vector3 com;
    Matrix3 inertia_at_com;
    bool is_point_mass;
  };

  double sum_of_masses() const;

  std::array<int, nb_bodies> parents_{};
  std::array<Body, nb_bodies> bodies_;
  double total_mass_ = 0;
};

/// The coordinate that moves body i > 0 against its parent.
constexpr int coordinate_of(int i) {
  return i + 5;
}

}  // namespace tavo::quantities
