#include "quantities/derivatives.hpp"

#include <cmath>

#include <Eigen/Geometry>

#include "quantities/model.hpp"

namespace tavo::quantities {
namespace {

constexpr float rate_step = 4;  // rad/s, m/s: of the size of real rates, so that rounding is small
const float angle_step = static_cast<float>(EIGEN_PI / 4);

}  // namespace

TorqueDerivatives::TorqueDerivatives(RigidBodySystem& system)
    : system_(system), q_(nb_joints), dq_(nb_joints), moved_(nb_joints) {
  const Model model(system);
  std::array<std::size_t, nb_bodies> members{};
  for (int i = 1; i < nb_bodies; ++i) {
    int child = i;
    while (model.parent(child) != 0) child = model.parent(child);
    subtree_[i - 1] = child;
    const std::size_t group = members[child]++;
    if (group == groups_.size()) groups_.emplace_back();
    groups_[group].push_back(i - 1);
  }
}

void TorqueDerivatives::compute() {
  q_.assign(system_.getJointAnglesPos().first, system_.getJointAnglesPos().second);
  dq_.assign(system_.getJointAnglesVel().first, system_.getJointAnglesVel().second);
  by_joint_angles();
  by_joint_rates();
  by_root_rates();
  system_.computeInverseDynamics();
  system_.computeGeneralizedMass();
  by_acceleration_ = system_.getGeneralizedMass().bottomRows<nb_joints>().cast<double>();
  by_root_orientation();
}

JointVector TorqueDerivatives::torques() const {
  return Eigen::Map<const Eigen::Matrix<float, nb_joints, 1>>(system_.getJointAnglesTorque().first)
      .cast<double>();
}

void TorqueDerivatives::scatter(const Group& group, const JointVector& difference,
                                Matrix& matrix) const {
  for (const int joint : group) {
    for (int j = 0; j < nb_joints; ++j) {
      if (subtree_[j] == subtree_[joint]) matrix(j, 6 + joint) = difference[j];
    }
  }
}

JointVector TorqueDerivatives::torques_with_rates(const Group& group, float step) {
  moved_ = dq_;
  for (const int joint : group) moved_[joint] += step;
  system_.setJointAnglesVel(moved_);
  system_.computeInverseDynamics();
  return torques();
}

JointVector TorqueDerivatives::torques_with_angles(const Group& group, float step) {
  moved_ = q_;
  for (const int joint : group) moved_[joint] += step;
  system_.setJointAnglesPos(moved_);
  system_.computeInverseDynamics();
  return torques();
}

void TorqueDerivatives::by_joint_rates() {
  for (const Group& group : groups_) {
    const JointVector difference =
        torques_with_rates(group, rate_step) - torques_with_rates(group, -rate_step);
    scatter(group, difference / (2 * static_cast<double>(rate_step)), by_rate_);
  }
  system_.setJointAnglesVel(dq_);
}

void TorqueDerivatives::by_root_rates() {
  const KT::Math::Velocity6D at = system_.getRootVelocity();
  const auto torques_with = [&](int k, float step) {
    using Velocity = KT::Math::Velocity6D;
    static constexpr float Velocity::*parts[] = {&Velocity::vx, &Velocity::vy, &Velocity::vz,
                                                 &Velocity::wx, &Velocity::wy, &Velocity::wz};
    Velocity moved = at;
    moved.*parts[k] += step;
    system_.setRootVelocity(moved);
    system_.computeInverseDynamics();
    return torques();
  };
  for (int k = 0; k < 6; ++k) {
    const JointVector difference = torques_with(k, rate_step) - torques_with(k, -rate_step);
    by_rate_.col(k) = difference / (2 * static_cast<double>(rate_step));
  }
  system_.setRootVelocity(at);
}

void TorqueDerivatives::by_joint_angles() {
  for (const Group& group : groups_) {
    const JointVector near =
        torques_with_angles(group, angle_step) - torques_with_angles(group, -angle_step);
    const JointVector far =
        torques_with_angles(group, 3 * angle_step) - torques_with_angles(group, -3 * angle_step);
    scatter(group, (near + far) / (2 * std::sqrt(2.0)) + (near - far) / 2, by_position_);
  }
  system_.setJointAnglesPos(q_);
}

// A turn d of the root about its own axes changes what it sees of the upward acceleration u = R^T
// (0, 0, g) by u x d, as if the root were accelerated by that much more.
void TorqueDerivatives::by_root_orientation() {
  const Vector3 up = from_host(system_.getRootPose()).R.transpose() * Vector3(0, 0, gravity);
  for (int k = 0; k < 3; ++k) {
    by_position_.col(3 + k) = by_acceleration_.leftCols<3>() * up.cross(Vector3::Unit(k));
  }
}

}  // namespace tavo::quantities
