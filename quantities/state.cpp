#include "quantities/state.hpp"

#include <Eigen/Geometry>

namespace tavo::quantities {

State::State(RigidBodySystem& system)
    : model_(system),
      system_(&system),
      root_pose_(&system.getRootPose()),
      jacobian_(system.getJacobianInRoot().data()),
      joint_velocities_(system.getJointAnglesVel().first),
      joint_accelerations_(system.getJointAnglesAcc().first) {
  for (int i = 0; i < nb_bodies; ++i) poses_in_root_[i] = &system.getPoseInRoot(i);
  update();
}

void State::update() {
  const KT::Math::Velocity6D v = system_->getRootVelocity(), a = system_->getRootAcceleration();
  dq_.head<6>() = Eigen::Map<const Eigen::Matrix<float, 6, 1>>(&v.vx).cast<double>();
  ddq_.head<6>() = Eigen::Map<const Eigen::Matrix<float, 6, 1>>(&a.vx).cast<double>();
  using Joints = Eigen::Map<const Eigen::Matrix<float, nb_joints, 1>>;
  dq_.tail<nb_joints>() = Joints(joint_velocities_).cast<double>();
  ddq_.tail<nb_joints>() = Joints(joint_accelerations_).cast<double>();
  read_positions();
  propagate();
}

void State::update(const Coordinates& dq, const Coordinates& ddq) {
  dq_ = dq;
  ddq_ = ddq;
  read_positions();
  propagate();
}

void State::read_positions() {
  root_ = from_host(*root_pose_);
  S_ = Eigen::Map<const Eigen::Matrix<float, 6, nb_dofs>>(jacobian_).cast<double>();
  for (int i = 1; i < nb_bodies; ++i) bodies_[i].pose = from_host(*poses_in_root_[i]);
}

// Velocities and accelerations from the root outwards, all in root coordinates, which spares every
// change of frame (Featherstone 2008, section 5.3, equations 5.14 and 5.15 in one frame):
//   v_i = v_p + S_i dq_i
//   a_i = a_p + S_i ddq_i + v_i x S_i dq_i
void State::propagate() {
  for (int i = 0; i < nb_bodies; ++i) {
    BodyState& body = bodies_[i];
    if (i == 0) {
      body.v = dq_.head<3>();
      body.w = dq_.segment<3>(3);
      body.dw_drift.setZero();
      body.a_drift.setZero();
      body.a = ddq_.head<3>();
      body.dw = ddq_.segment<3>(3);
    } else {
      const BodyState& parent = bodies_[model_.parent(i)];
      const int k = coordinate_of(i);
      const Vector3 axis = S_.col(k).head<3>(), moment = S_.col(k).tail<3>();
      const Vector3 wj = dq_[k] * axis, vj = dq_[k] * moment;
      body.w = parent.w + wj;
      body.v = parent.v + vj;
      const Vector3 dw_bias = body.w.cross(wj);
      const Vector3 a_bias = body.w.cross(vj) + body.v.cross(wj);
      body.dw_drift = parent.dw_drift + dw_bias;
      body.a_drift = parent.a_drift + a_bias;
      body.dw = parent.dw + (dw_bias + ddq_[k] * axis);
      body.a = parent.a + (a_bias + ddq_[k] * moment);
    }
    body.com = body.pose * model_.com(i);
    body.com_v = body.v + body.w.cross(body.com);
    const Vector3 turning = body.w.cross(body.com_v);
    body.com_drift = body.a_drift + body.dw_drift.cross(body.com) + turning;
    body.com_a = body.a + body.dw.cross(body.com) + turning;
  }
}

}  // namespace tavo::quantities
