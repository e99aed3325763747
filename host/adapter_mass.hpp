#pragma once

#include "host/adapter_kinematics.hpp"
#include "host/metapod_rigid_body_system.hpp"
#include "spatial/vector.hpp"

/// Mass matrix, centres of mass and their Jacobian without one body.
namespace tavo {

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::computeGeneralizedMass() {
  dynamics_.mass_matrix(generalizedMass_);
}

template <class Model, class Dynamics>
const Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic>&
MetapodRigidBodySystem<Model, Dynamics>::getGeneralizedMass() const {
  return generalizedMass_;
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::computePartialComJacobian(
    unsigned long i, Eigen::Matrix<float, 3, Eigen::Dynamic>& J) {
  if (i >= nb_bodies) return;
  // Take new storage before the old is given up: J is unchanged if there is none.
  if (J.cols() != nb_dofs) Matrix3X(3, nb_dofs).swap(J);
  dynamics_.partial_jacobian(static_cast<int>(i), J);
}

template <class Model, class Dynamics>
KT::Math::Position3D MetapodRigidBodySystem<Model, Dynamics>::computePartialComPositionInRoot(
    unsigned long i) {
  if (i == 0 || i >= nb_bodies) return comPosition_;
  metapod::Spatial::Vector3 mc_sum;
  dynamics_.partial_first_moment(static_cast<int>(i), mc_sum);
  return internal::as_position((1 / (mass_ - Model::inertias[i].m())) * mc_sum);
}

template <class Model, class Dynamics>
KT::Math::Position3D MetapodRigidBodySystem<Model, Dynamics>::getComPosition(
    unsigned long i) const {
  const auto& inertia = Model::inertias[i];
  return poses_[i] * internal::as_position(inertia.h() / inertia.m());
}

}  // namespace tavo
