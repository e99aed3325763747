#pragma once

/// @file
/// Derivatives of the joint torques, from the plug-in's own inverse dynamics.

#include <array>
#include <host/rigid_body_system.hpp>
#include <quantities/types.hpp>
#include <vector>

#include <Eigen/Core>

namespace tavo::quantities {

/// Derivatives of the 22 torques that computeInverseDynamics gives, with the inertias and wrenches
/// that the system has. Nothing about the bodies needs to be known: each difference below is exact
/// but for rounding, whatever they are.
///
///   by dq: the torque is quadratic in every rate, so a central difference is exact at any step; a
///   large one keeps rounding small. by a joint angle: the torque holds its cosine and sine to the
///   second degree at most, so f' = (D(pi/4) + D(3pi/4)) / (2 sqrt 2) + (D(pi/4) - D(3pi/4)) / 2,
///   D(h) = f(q + h) - f(q - h). by the root's orientation: gravity alone turns, which acts as a
///   linear acceleration of the root. by ddq: the mass matrix.
///
/// With the root's motion given, torques of one subtree of the root do not depend on the joints of
/// another, so one call serves a joint of every subtree at once (Curtis, Powell, Reid 1974): 49
/// calls in place of 145.
class TorqueDerivatives {
 public:
  /// 22 x 28: row j is joint angle j, column k coordinate k.
  using Matrix = Eigen::Matrix<double, nb_joints, nb_dofs>;

  /// Keeps a reference: the system must outlive this. Allocates. Throws std::invalid_argument if
  /// the system is not of 23 bodies, parents first.
  explicit TorqueDerivatives(RigidBodySystem& system);

  /// At the system's present positions, rates, accelerations and wrenches. Changes positions and
  /// rates on the way and sets them back; leaves torques and mass matrix of the present state, as
  /// computeInverseDynamics and computeGeneralizedMass would. Poses stay as they were.
  void compute();

  /// d tau / dq, N m/rad. Columns 0..2 (the root's place) are zero; columns 3..5 are by a small
  /// turn of the root about its own axes, its rates in its own frame unchanged.
  const Matrix& by_position() const { return by_position_; }
  /// d tau / d dq, N m s/m for the root's linear rates, N m s/rad for the others.
  const Matrix& by_rate() const { return by_rate_; }
  /// d tau / d ddq: rows 6 to 27 of the mass matrix.
  const Matrix& by_acceleration() const { return by_acceleration_; }

 private:
  /// Joints that no torque feels two of; -1 where there is none.
  using Group = std::vector<int>;

  JointVector torques() const;
  void by_joint_rates();
  void by_root_rates();
  void by_joint_angles();
  void by_root_orientation();
  JointVector torques_with_rates(const Group& group, float step);
  JointVector torques_with_angles(const Group& group, float step);
  void scatter(const Group& group, const JointVector& difference, Matrix& matrix) const;

  RigidBodySystem& system_;
  std::array<int, nb_joints> subtree_{};  ///< which child of the root carries the joint
  std::vector<Group> groups_;
  std::vector<float> q_, dq_, moved_;
  Matrix by_position_ = Matrix::Zero(), by_rate_ = Matrix::Zero(),
         by_acceleration_ = Matrix::Zero();
};

}  // namespace tavo::quantities
