#pragma once

#include <algorithm>

#include "algorithms/crba.hpp"
#include "host/adapter_kinematics.hpp"
#include "host/metapod_rigid_body_system.hpp"
#include "host/passes.hpp"
#include "spatial/vector.hpp"

/// Mass matrix, centres of mass and their Jacobian without one body.
namespace tavo {

template <class Model>
void MetapodRigidBodySystem<Model>::computeGeneralizedMass() {
  Compiled<Model>::JointSpaceInertia::call(model_, generalizedMass_.data(),
                                           metapod::partial_crba<Model>::nobody);
}

template <class Model>
const Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic>&
MetapodRigidBodySystem<Model>::getGeneralizedMass() const {
  return generalizedMass_;
}

template <class Model>
void MetapodRigidBodySystem<Model>::computePartialComJacobian(unsigned long i, Matrix3X& J) {
  if (i >= nb_bodies) return;
  Eigen::Matrix<float, nb_dofs, nb_dofs> Hp;
  std::fill_n(Hp.data(), Hp.size(), 0.0f);
  Compiled<Model>::JointSpaceInertia::call(model_, Hp.data(), static_cast<int>(i));
  // Take new storage before the old is given up: J is unchanged if there is none.
  if (J.cols() != nb_dofs) Matrix3X(3, nb_dofs).swap(J);
  J.setZero();
  // Rows 0..2 are linear momentum per unit rate, in the root's axes. The maps have dynamic sizes
  // so that this is Eigen's general product.
  const auto& E = model_.template node<0>().sXp.E();
  Eigen::Matrix<float, 3, 3> E0;
  for (int j = 0; j < 3; ++j) E0.col(j) << E(0, j), E(1, j), E(2, j);
  const Eigen::Map<const MatrixX> E_map(E0.data(), 3, 3);
  const Eigen::Map<const MatrixX, 0, Eigen::OuterStride<nb_dofs>> momentum(Hp.data(), 3, nb_dofs);
  J.noalias() += E_map.transpose() * momentum;
}

template <class Model>
KT::Math::Position3D MetapodRigidBodySystem<Model>::computePartialComPositionInRoot(
    unsigned long i) {
  if (i == 0 || i >= nb_bodies) return comPosition_;
  metapod::Spatial::Vector3 mc_sum;
  Compiled<Model>::PartialFirstMoment::call(model_, iX1_, static_cast<int>(i), mc_sum);
  return internal::as_position((1 / (mass_ - Model::inertias[i].m())) * mc_sum);
}

template <class Model>
KT::Math::Position3D MetapodRigidBodySystem<Model>::getComPosition(unsigned long i) const {
  const auto& inertia = Model::inertias[i];
  return poses_[i] * internal::as_position(inertia.h() / inertia.m());
}

}  // namespace tavo
