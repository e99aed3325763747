#pragma once

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/metapod_rigid_body_system.hpp"
#include "spatial/vector.hpp"

/// Root and joint state, poses, forward kinematics.
namespace tavo {

namespace internal {

inline void require_entries(const std::vector<float>& values, std::size_t needed,
                            const char* what) {
  if (values.size() < needed) {
    throw std::invalid_argument(std::string(what) + " has " + std::to_string(values.size()) +
                                " entries, " + std::to_string(needed) + " needed");
  }
}

inline KT::Math::Position3D as_position(const metapod::Spatial::Vector3& p) {
  return {p.x(), p.y(), p.z()};
}

}  // namespace internal

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::set_root(Coordinates& x,
                                                       const KT::Math::Velocity6D& rate) {
  x.template head<6>() << rate.vx, rate.vy, rate.vz, rate.wx, rate.wy, rate.wz;
}

template <class Model, class Dynamics>
KT::Math::Velocity6D MetapodRigidBodySystem<Model, Dynamics>::root_of(const Coordinates& x) {
  return {x[0], x[1], x[2], x[3], x[4], x[5]};
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::set_joints(Coordinates& x,
                                                         const std::vector<float>& values) {
  internal::require_entries(values, nb_joints, "joint vector");
  std::copy_n(values.begin(), nb_joints, x.data() + nb_root_dofs);
}

template <class Model, class Dynamics>
JointRange MetapodRigidBodySystem<Model, Dynamics>::joints_of(const Coordinates& x) {
  return {x.data() + nb_root_dofs, x.data() + nb_dofs};
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::setRootPose(const KT::Math::Transform& pose_world) {
  const KT::Math::Position6D p = KT::Math::position6DFromTransform(pose_world);
  q_.template head<6>() << p.x, p.y, p.z, p.alpha, p.beta, p.gamma;
  poses_[0] = KT::Math::transformFromPosition6D(
      KT::Math::Position6D(q_[0], q_[1], q_[2], q_[3], q_[4], q_[5]));
}

template <class Model, class Dynamics>
const KT::Math::Transform& MetapodRigidBodySystem<Model, Dynamics>::getRootPose() const {
  return poses_[0];
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::setRootVelocity(
    const KT::Math::Velocity6D& velocity_root) {
  set_root(dq_, velocity_root);
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::setRootAcceleration(
    const KT::Math::Velocity6D& acceleration_root) {
  set_root(ddq_, acceleration_root);
}

template <class Model, class Dynamics>
KT::Math::Velocity6D MetapodRigidBodySystem<Model, Dynamics>::getRootVelocity() const {
  return root_of(dq_);
}

template <class Model, class Dynamics>
KT::Math::Velocity6D MetapodRigidBodySystem<Model, Dynamics>::getRootAcceleration() const {
  return root_of(ddq_);
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::setJointAnglesPos(const std::vector<float>& q) {
  set_joints(q_, q);
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::setJointAnglesVel(const std::vector<float>& dq) {
  set_joints(dq_, dq);
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::setJointAnglesAcc(const std::vector<float>& ddq) {
  set_joints(ddq_, ddq);
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::setJointAnglePos(unsigned long i, float q) {
  q_[at(i)] = q;
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::setJointAngleVel(unsigned long i, float dq) {
  dq_[at(i)] = dq;
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::setJointAngleAcc(unsigned long i, float ddq) {
  ddq_[at(i)] = ddq;
}

template <class Model, class Dynamics>
float MetapodRigidBodySystem<Model, Dynamics>::getJointAnglePos(unsigned long i) const {
  return q_[at(i)];
}

template <class Model, class Dynamics>
float MetapodRigidBodySystem<Model, Dynamics>::getJointAngleVel(unsigned long i) const {
  return dq_[at(i)];
}

template <class Model, class Dynamics>
float MetapodRigidBodySystem<Model, Dynamics>::getJointAngleAcc(unsigned long i) const {
  return ddq_[at(i)];
}

template <class Model, class Dynamics>
JointRange MetapodRigidBodySystem<Model, Dynamics>::getJointAnglesPos() const {
  return joints_of(q_);
}

template <class Model, class Dynamics>
JointRange MetapodRigidBodySystem<Model, Dynamics>::getJointAnglesVel() const {
  return joints_of(dq_);
}

template <class Model, class Dynamics>
JointRange MetapodRigidBodySystem<Model, Dynamics>::getJointAnglesAcc() const {
  return joints_of(ddq_);
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::computeFwdKinematicsExceptRoot() {
  metapod::Spatial::Vector3 mc_sum;
  dynamics_.root_kinematics(q_, jacobianInRoot_, posesInRoot_.data(), mc_sum);
  comPositionInRoot_ = internal::as_position((1 / mass_) * mc_sum);
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::computeFwdKinematicsOnlyRoot() {
  dynamics_.world_poses(q_, poses_.data());
  comPosition_ = poses_[0] * comPositionInRoot_;
}

template <class Model, class Dynamics>
const KT::Math::Transform& MetapodRigidBodySystem<Model, Dynamics>::getPoseInRoot(
    unsigned long i) const {
  return posesInRoot_[i];
}

template <class Model, class Dynamics>
const KT::Math::Transform& MetapodRigidBodySystem<Model, Dynamics>::getPose(unsigned long i) const {
  return i == std::numeric_limits<unsigned long>::max() ? worldPose_ : poses_[i];
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::setPose(unsigned long i,
                                                      const KT::Math::Transform& pose) {
  poses_[i] = pose;
}

template <class Model, class Dynamics>
const KT::Math::Transform& MetapodRigidBodySystem<Model, Dynamics>::getVolatilePose(
    unsigned long i) const {
  return poses_[nb_bodies + i];
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::setVolatilePose(unsigned long i,
                                                              const KT::Math::Transform& pose) {
  poses_[nb_bodies + i] = pose;
}

template <class Model, class Dynamics>
const KT::Math::Position3D& MetapodRigidBodySystem<Model, Dynamics>::getComPositionInRoot() const {
  return comPositionInRoot_;
}

template <class Model, class Dynamics>
const KT::Math::Position3D& MetapodRigidBodySystem<Model, Dynamics>::getComPosition() const {
  return comPosition_;
}

template <class Model, class Dynamics>
const Eigen::Matrix<float, 6, Eigen::Dynamic>&
MetapodRigidBodySystem<Model, Dynamics>::getJacobianInRoot() const {
  return jacobianInRoot_;
}

}  // namespace tavo
