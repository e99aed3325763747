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

template <class Model>
float MetapodRigidBodySystem<Model>::mass_ = 0;

template <class Model>
MetapodRigidBodySystem<Model>::MetapodRigidBodySystem()
    : fext_(nb_bodies),
      jacobianInRoot_(decltype(jacobianInRoot_)::Zero(6, nb_dofs)),
      generalizedMass_(MatrixX::Zero(nb_dofs, nb_dofs)),
      poses_(nb_bodies + nb_volatile_frames),
      posesInRoot_(nb_bodies) {
  static_assert(alignof(MetapodRigidBodySystem) <= alignof(std::max_align_t));
  // The root's motion subspace: coordinates linear first, motions angular first.
  for (int j = 0; j < 3; ++j) {
    jacobianInRoot_(3 + j, j) = 1;
    jacobianInRoot_(j, 3 + j) = 1;
  }
  iX1_[0] = {metapod::Spatial::RotationMatrix::identity(), {}};
  mass_ = 0;
  for (const auto& inertia : Model::inertias) mass_ += inertia.m();
}

template <class Model>
void* MetapodRigidBodySystem<Model>::operator new(std::size_t size) {
  void* storage = std::malloc(size);
  if (storage == nullptr) throw std::bad_alloc();
  return storage;
}

template <class Model>
void MetapodRigidBodySystem<Model>::operator delete(void* storage) {
  std::free(storage);
}

template <class Model>
std::string MetapodRigidBodySystem<Model>::getName() const {
  return {};
}

template <class Model>
unsigned long MetapodRigidBodySystem<Model>::getNbDofs() const {
  return nb_joints;
}

template <class Model>
unsigned long MetapodRigidBodySystem<Model>::getNbBodies() const {
  return nb_bodies;
}

template <class Model>
unsigned long MetapodRigidBodySystem<Model>::getNbVolatileFrames() const {
  return nb_volatile_frames;
}

template <class Model>
const std::string& MetapodRigidBodySystem<Model>::getRootName() const {
  return Model::joint_names[0];
}

template <class Model>
const std::string& MetapodRigidBodySystem<Model>::getJointAngleName(unsigned long i) const {
  return Model::joint_names[i + 1];
}

template <class Model>
unsigned long MetapodRigidBodySystem<Model>::getJointAngleId(const std::string& name) const {
  return internal::index_of(name, Model::joint_names, 1, "joint angle");
}

template <class Model>
const std::string& MetapodRigidBodySystem<Model>::getBodyName(unsigned long i) const {
  return Model::body_names[i];
}

template <class Model>
unsigned long MetapodRigidBodySystem<Model>::getBodyId(const std::string& name) const {
  return internal::index_of(name, Model::body_names, 0, "body");
}

template <class Model>
void MetapodRigidBodySystem<Model>::setBodyInertia(
    unsigned long i, float mass, const KT::Math::Position3D& com,
    const Eigen::Matrix<float, 3, 3>& inertia_at_com) {
  const auto& c = com;
  const auto& Ic = inertia_at_com;
  auto& inertia = Model::inertias[i];
  mass_ = (mass - inertia.m()) + mass_;
  // Parallel axes: I = Ic + m (|c|² 1 - c cᵀ).
  inertia = {mass,
             {mass * c.x, mass * c.y, mass * c.z},
             {Ic(0, 0) + mass * (c.y * c.y + c.z * c.z), Ic(1, 0) - mass * c.x * c.y,
              Ic(1, 1) + mass * (c.x * c.x + c.z * c.z), Ic(2, 0) - mass * c.x * c.z,
              Ic(2, 1) - mass * c.y * c.z, Ic(2, 2) + mass * (c.x * c.x + c.y * c.y)}};
}

template <class Model>
float MetapodRigidBodySystem<Model>::getMass() const {
  return mass_;
}

template <class Model>
float MetapodRigidBodySystem<Model>::getPartialMass(unsigned long i) const {
  return i < nb_bodies ? mass_ - Model::inertias[i].m() : mass_;
}

template <class Model>
float MetapodRigidBodySystem<Model>::getMass(unsigned long i) const {
  return Model::inertias[i].m();
}

template <class Model>
std::vector<std::int64_t> MetapodRigidBodySystem<Model>::getParentsVector() const {
  return internal::widened(Model::parents);
}

template <class Model>
std::vector<std::int64_t> MetapodRigidBodySystem<Model>::getDofNumbersVector() const {
  return internal::widened(Model::dof_numbers);
}

template <class Model>
std::vector<std::int64_t> MetapodRigidBodySystem<Model>::getDofIndexesVector() const {
  return internal::widened(Model::dof_indexes);
}

}  // namespace tavo
