#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/metapod_rigid_body_system.hpp"

/// Construction, storage, names, tables, inertias.
namespace tavo {

namespace internal {

/// Position of `name` in `names` from entry `first` on, counted from there.
template <class Names>
unsigned long index_of(const std::string& name, const Names& names, std::size_t first,
                       const char* kind) {
  for (std::size_t k = first; k < names.size(); ++k) {
    if (names[k] == name) return k - first;
  }
  throw std::out_of_range(std::string("no ") + kind + " named \"" + name + '"');
}

template <class Table>
std::vector<std::int64_t> widened(const Table& table) {
  return {table.begin(), table.end()};
}

}  // namespace internal

template <class Model, class Dynamics>
float MetapodRigidBodySystem<Model, Dynamics>::mass_ = 0;

template <class Model, class Dynamics>
MetapodRigidBodySystem<Model, Dynamics>::MetapodRigidBodySystem()
    : jacobianInRoot_(Matrix6X::Zero(6, nb_dofs)),
      generalizedMass_(MatrixX::Zero(nb_dofs, nb_dofs)),
      poses_(apart<KT::Math::Transform>(nb_bodies + nb_volatile_frames)),
      posesInRoot_(apart<KT::Math::Transform>(nb_bodies)) {
  static_assert(alignof(MetapodRigidBodySystem) <= alignof(std::max_align_t));
  // The root's motion subspace: coordinates linear first, motions angular first.
  for (int j = 0; j < 3; ++j) {
    jacobianInRoot_(3 + j, j) = 1;
    jacobianInRoot_(j, 3 + j) = 1;
  }
  mass_ = 0;
  for (const auto& inertia : Model::inertias) mass_ += inertia.m();
}

template <class Model, class Dynamics>
void* MetapodRigidBodySystem<Model, Dynamics>::operator new(std::size_t size) {
  void* const storage = std::malloc(size);
  if (storage == nullptr) throw std::bad_alloc();
  return storage;
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::operator delete(void* storage) {
  std::free(storage);
}

template <class Model, class Dynamics>
std::string MetapodRigidBodySystem<Model, Dynamics>::getName() const {
  return {};
}

template <class Model, class Dynamics>
unsigned long MetapodRigidBodySystem<Model, Dynamics>::getNbDofs() const {
  return nb_joints;
}

template <class Model, class Dynamics>
unsigned long MetapodRigidBodySystem<Model, Dynamics>::getNbBodies() const {
  return nb_bodies;
}

template <class Model, class Dynamics>
unsigned long MetapodRigidBodySystem<Model, Dynamics>::getNbVolatileFrames() const {
  return nb_volatile_frames;
}

template <class Model, class Dynamics>
const std::string& MetapodRigidBodySystem<Model, Dynamics>::getRootName() const {
  return Model::joint_names[0];
}

template <class Model, class Dynamics>
const std::string& MetapodRigidBodySystem<Model, Dynamics>::getJointAngleName(
    unsigned long i) const {
  return Model::joint_names[i + 1];
}

template <class Model, class Dynamics>
unsigned long MetapodRigidBodySystem<Model, Dynamics>::getJointAngleId(
    const std::string& name) const {
  return internal::index_of(name, Model::joint_names, 1, "joint angle");
}

template <class Model, class Dynamics>
const std::string& MetapodRigidBodySystem<Model, Dynamics>::getBodyName(unsigned long i) const {
  return Model::body_names[i];
}

template <class Model, class Dynamics>
unsigned long MetapodRigidBodySystem<Model, Dynamics>::getBodyId(const std::string& name) const {
  return internal::index_of(name, Model::body_names, 0, "body");
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::setBodyInertia(
    unsigned long i, float mass, const KT::Math::Position3D& com,
    const Eigen::Matrix<float, 3, 3>& inertia_at_com) {
  const auto& Ic = inertia_at_com;
  metapod::Spatial::Inertia& inertia = Model::inertias[i];
  mass_ = (mass - inertia.m()) + mass_;
  inertia = metapod::Spatial::Inertia::at_com(
      mass, {com.x, com.y, com.z}, {Ic(0, 0), Ic(1, 0), Ic(1, 1), Ic(2, 0), Ic(2, 1), Ic(2, 2)});
  Dynamics::set_inertia(i, inertia);
}

template <class Model, class Dynamics>
float MetapodRigidBodySystem<Model, Dynamics>::getMass() const {
  return mass_;
}

template <class Model, class Dynamics>
float MetapodRigidBodySystem<Model, Dynamics>::getPartialMass(unsigned long i) const {
  return i < nb_bodies ? mass_ - Model::inertias[i].m() : mass_;
}

template <class Model, class Dynamics>
float MetapodRigidBodySystem<Model, Dynamics>::getMass(unsigned long i) const {
  return Model::inertias[i].m();
}

template <class Model, class Dynamics>
std::vector<std::int64_t> MetapodRigidBodySystem<Model, Dynamics>::getParentsVector() const {
  return internal::widened(Model::parents);
}

template <class Model, class Dynamics>
std::vector<std::int64_t> MetapodRigidBodySystem<Model, Dynamics>::getDofNumbersVector() const {
  return internal::widened(Model::dof_numbers);
}

template <class Model, class Dynamics>
std::vector<std::int64_t> MetapodRigidBodySystem<Model, Dynamics>::getDofIndexesVector() const {
  return internal::widened(Model::dof_indexes);
}

}  // namespace tavo
