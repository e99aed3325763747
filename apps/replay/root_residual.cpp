#include "apps/replay/root_residual.hpp"

#include <cstdint>
#include <utility>

#include <Eigen/Geometry>

namespace replay {
namespace {

using Eigen::Matrix3d, Eigen::Vector3d;

struct Pose {
  Matrix3d R;
  Vector3d p;
};

Pose as_pose(const KT::Math::Transform& t) {
  const Eigen::Matrix<double, 3, 4> m =
      Eigen::Map<const Eigen::Matrix<float, 3, 4, Eigen::RowMajor>>(t.m).cast<double>();
  return {m.leftCols<3>(), m.col(3)};
}

}  // namespace

RootResidual::RootResidual(const tavo::RigidBodySystem& system,
                           std::vector<unsigned long> wrench_bodies)
    : wrench_bodies_(std::move(wrench_bodies)) {
  const std::vector<std::int64_t> parents = system.getParentsVector();
  const std::vector<std::int64_t> coordinates = system.getDofIndexesVector();
  for (unsigned long i = 0; i < system.getNbBodies(); ++i) {
    const Pose pose = as_pose(system.getPose(i));
    const KT::Math::Position3D com = system.getComPosition(i);
    Body body;
    body.parent = parents[i] < 0 ? i : static_cast<unsigned long>(parents[i]);
    body.joint = coordinates[i];
    body.mass = system.getMass(i);
    body.com = pose.R.transpose() * (Vector3d(com.x, com.y, com.z) - pose.p);
    bodies_.push_back(body);
  }
}

RootResidual::Wrench RootResidual::of(const motion::State& state,
                                      const tavo::RigidBodySystem& system) {
  Wrench left{Vector3d::Zero(), Vector3d::Zero()};
  for (unsigned long i = 0; i < bodies_.size(); ++i) {
    Body& body = bodies_[i];
    if (body.parent == i) {
      body.v = state.velocity.head<3>();
      body.w = state.velocity.segment<3>(3);
      body.dv =
          state.acceleration.head<3>() + state.sample.R_world.transpose() * Vector3d(0, 0, 9.81);
      body.dw = state.acceleration.segment<3>(3);
    } else {  // v = v_p + S dq,  a = a_p + S ddq + v x S dq
      const Body& parent = bodies_[body.parent];
      const Eigen::Matrix<double, 6, 1> S =
          system.getJacobianInRoot().col(body.joint).cast<double>();
      const double dq = state.velocity(body.joint), ddq = state.acceleration(body.joint);
      body.w = parent.w + S.head<3>() * dq;
      body.v = parent.v + S.tail<3>() * dq;
      body.dw = parent.dw + S.head<3>() * ddq + body.w.cross(S.head<3>()) * dq;
      body.dv = parent.dv + S.tail<3>() * ddq +
                (body.w.cross(S.tail<3>()) + body.v.cross(S.head<3>())) * dq;
    }
    const bool root = body.parent == i;
    const Pose pose =
        root ? Pose{Matrix3d::Identity(), Vector3d::Zero()} : as_pose(system.getPoseInRoot(i));
    const Vector3d com = pose.p + pose.R * body.com;
    const Vector3d com_velocity = body.v + body.w.cross(com);
    const Vector3d force = body.mass * (body.dv + body.dw.cross(com) + body.w.cross(com_velocity));
    left.force += force;
    left.moment += com.cross(force);
  }
  for (std::size_t i = 0; i < wrench_bodies_.size(); ++i) {
    const unsigned long id = wrench_bodies_[i];
    const Pose pose = bodies_[id].parent == id ? Pose{Matrix3d::Identity(), Vector3d::Zero()}
                                               : as_pose(system.getPoseInRoot(id));
    const auto wrench = state.sample.wrenches.segment<6>(static_cast<Eigen::Index>(6 * i));
    const Vector3d force = pose.R * wrench.head<3>();
    left.force -= force;
    left.moment -= pose.R * wrench.tail<3>() + pose.p.cross(force);
  }
  return left;
}

}  // namespace replay
