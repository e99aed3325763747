#pragma once

#include <utility>

#include "algorithms/crba.hpp"
#include "algorithms/partial_com.hpp"
#include "algorithms/partial_crba.hpp"
#include "algorithms/traversal.hpp"
#include "host/adapter_kinematics.hpp"
#include "host/metapod_rigid_body_system.hpp"
#include "spatial/vector.hpp"

/// Mass matrix, centres of mass and their Jacobian without one body.
namespace tavo {

namespace internal {

/// The walks over the subtrees of the root's children.
template <template <class, int> class Visitor, class Model, int... child, class... Args>
void walk_chains(std::integer_sequence<int, child...>, Model& model, Args&... args) {
  (metapod::internal::depth_first_traversal_internal<Visitor, Model, child>::run(model, args...),
   ...);
}

}  // namespace internal

template <class Model>
void MetapodRigidBodySystem<Model>::computeGeneralizedMass() {
  metapod::crba<Model, false>::run(model_, generalizedMass_);
}

template <class Model>
const Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic>&
MetapodRigidBodySystem<Model>::getGeneralizedMass() const {
  return generalizedMass_;
}

template <class Model>
void MetapodRigidBodySystem<Model>::computePartialComJacobian(unsigned long i, Matrix3X& J) {
  if (i >= nb_bodies) return;
  Eigen::Matrix<float, nb_dofs, nb_dofs> Hp = decltype(Hp)::Zero();
  const int excluded_id = static_cast<int>(i);
  metapod::partial_crba<Model>::run(model_, Hp, excluded_id);
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
  metapod::Spatial::Vector3 mc_sum = Model::inertias[0].h();
  const int excluded_id = static_cast<int>(i);
  const ModelTransform* const iX1 = iX1_.data();
  using RootChildren = typename Model::template Node<0>::children;
  internal::walk_chains<metapod::internal::PartialComVisitor>(RootChildren{}, model_, iX1,
                                                              excluded_id, mc_sum);
  return internal::as_position((1 / (mass_ - Model::inertias[i].m())) * mc_sum);
}

template <class Model>
KT::Math::Position3D MetapodRigidBodySystem<Model>::getComPosition(unsigned long i) const {
  const auto& inertia = Model::inertias[i];
  return poses_[i] * internal::as_position(inertia.h() / inertia.m());
}

}  // namespace tavo
