#pragma once

/// @file
/// The state of a system, read once a cycle: what all quantities are computed from.

#include <array>
#include <host/rigid_body_system.hpp>
#include <quantities/model.hpp>
#include <quantities/types.hpp>

namespace tavo::quantities {

/// How a body stands and moves, all in the root's axes and about the root's origin.
///
/// Velocities and accelerations are spatial: `v` is the velocity of the body's point that passes
/// the root's origin, and the acceleration (`dw`, `a`) of the point c is that of mechanics as
/// taught in school only together with the velocity: a + dw x c + w x (v + w x c). Featherstone
/// 2008, section 2.11. Gravity is not in them.
struct BodyState {
  Pose pose;          ///< of the body in the root
  Vector3 w;          ///< angular velocity, rad/s
  Vector3 v;          ///< m/s
  Vector3 dw_drift;   ///< angular acceleration at ddq = 0, rad/s2
  Vector3 a_drift;    ///< m/s2, at ddq = 0
  Vector3 dw;         ///< angular acceleration, rad/s2
  Vector3 a;          ///< m/s2
  Vector3 com;        ///< centre of mass of the body, m
  Vector3 com_v;      ///< its velocity, m/s
  Vector3 com_drift;  ///< its classical acceleration at ddq = 0, m/s2
  Vector3 com_a;      ///< its classical acceleration, m/s2
};

/// A system's state in double precision, read through the interface.
///
///   tavo::quantities::State state(*robot);   // once, before the loop
///   robot->computeFwdKinematics();           // each cycle, after the setters
///   state.update();
///   const Eigen::Vector3d v = com_velocity(state);
class State {
 public:
  /// Keeps references to the system's results: the system must outlive the state and stay where it
  /// is. Allocates. Throws like Model.
  explicit State(RigidBodySystem& system);

  /// Reads poses, Jacobian, root velocity and acceleration, joint velocities and accelerations.
  /// Needs computeFwdKinematics after the last change of positions.
  void update();
  /// The same with rates that the host has in double precision: 28 each, coordinate order,
  /// ddq[0..5] the derivatives of dq[0..5] (the root's spatial acceleration in its own frame). What
  /// the system holds as rates is not read.
  void update(const Coordinates& dq, const Coordinates& ddq);

  /// Tree and inertias; the host may hand over inertias here.
  Model& model() { return model_; }
  /// Tree and inertias.
  const Model& model() const { return model_; }

  /// World pose of the root.
  const Pose& root() const { return root_; }
  /// Rates of the coordinates.
  const Coordinates& dq() const { return dq_; }
  /// Their accelerations.
  const Coordinates& ddq() const { return ddq_; }
  /// 6 x 28, root frame: column k is the motion (angular, then linear at the root's origin) of a
  /// unit rate of coordinate k.
  const Jacobian& motions() const { return S_; }
  /// Body i, root axes.
  const BodyState& body(int i) const { return bodies_[i]; }
  /// World pose of body i, composed in double precision.
  Pose pose(int i) const { return root_ * bodies_[i].pose; }

 private:
  void read_positions();
  void propagate();

  Model model_;
  const RigidBodySystem* system_;
  std::array<const KT::Math::Transform*, nb_bodies> poses_in_root_{};
  const KT::Math::Transform* root_pose_;
  const float* jacobian_;
  const float* joint_velocities_;
  const float* joint_accelerations_;

  Pose root_;
  Coordinates dq_ = Coordinates::Zero(), ddq_ = Coordinates::Zero();
  Jacobian S_ = Jacobian::Zero();
  std::array<BodyState, nb_bodies> bodies_{};
};

}  // namespace tavo::quantities
