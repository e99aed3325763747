#pragma once

#include <vector>

#include "host/adapter_kinematics.hpp"
#include "host/kt_math_conversions.hpp"
#include "host/metapod_rigid_body_system.hpp"
#include "spatial/force.hpp"

/// External wrenches and joint torques.
namespace tavo {

namespace internal {

/// The host lists the force first, a spatial force the moment.
inline metapod::Spatial::Force as_force(const std::vector<float>& wrench) {
  require_entries(wrench, 6, "wrench");
  return {{wrench[3], wrench[4], wrench[5]}, {wrench[0], wrench[1], wrench[2]}};
}

}  // namespace internal

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::setExternalWrench(
    unsigned long i, const std::vector<float>& wrench_body) {
  dynamics_.set_fext(i, internal::as_force(wrench_body));
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::setExternalWrench(
    unsigned long i, const std::vector<float>& wrench_f, KT::Math::Transform pose_f_in_body) {
  dynamics_.set_fext(i, fromKTMath(pose_f_in_body).apply(internal::as_force(wrench_f)));
}

template <class Model, class Dynamics>
void MetapodRigidBodySystem<Model, Dynamics>::computeInverseDynamics() {
  dynamics_.inverse_dynamics(q_, dq_, ddq_, torques_);
}

template <class Model, class Dynamics>
float MetapodRigidBodySystem<Model, Dynamics>::getJointAngleTorque(unsigned long i) const {
  return torques_[at(i)];
}

template <class Model, class Dynamics>
JointRange MetapodRigidBodySystem<Model, Dynamics>::getJointAnglesTorque() const {
  return joints_of(torques_);
}

}  // namespace tavo
