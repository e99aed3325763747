#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <Eigen/Core>

#include "host/apart.hpp"
#include "host/dynamics.hpp"
#include "host/rigid_body_system.hpp"
#include "ktmath/ktmath.hpp"

namespace tavo {

/// The interface on a Model: keeps the state vectors and the results, and has them computed by
/// Dynamics: LaneDynamics, or PlainDynamics. The operations are defined by theme: tables and
/// inertias in adapter_tables.hpp, state and kinematics in adapter_kinematics.hpp, mass queries in
/// adapter_mass.hpp, wrenches and torques in adapter_dynamics.hpp.
template <class Model, class Dynamics = DefaultDynamics<Model>>
class MetapodRigidBodySystem final : public RigidBodySystem {
 public:
  MetapodRigidBodySystem();

  // malloc and free, since the host is promised them; malloc aligns to 16 bytes, which the
  // vectorised members need.
  static void* operator new(std::size_t size);
  static void operator delete(void* storage);

  std::string getName() const override;
  unsigned long getNbDofs() const override;
  unsigned long getNbBodies() const override;
  unsigned long getNbVolatileFrames() const override;
  const std::string& getRootName() const override;
  const std::string& getJointAngleName(unsigned long i) const override;
  unsigned long getJointAngleId(const std::string& name) const override;
  const std::string& getBodyName(unsigned long i) const override;
  unsigned long getBodyId(const std::string& name) const override;

  void setBodyInertia(unsigned long i, float mass, const KT::Math::Position3D& com,
                      const Eigen::Matrix<float, 3, 3>& inertia_at_com) override;
  float getMass() const override;
  float getPartialMass(unsigned long i) const override;
  float getMass(unsigned long i) const override;

  void setRootPose(const KT::Math::Transform& pose_world) override;
  const KT::Math::Transform& getRootPose() const override;
  void setRootVelocity(const KT::Math::Velocity6D& velocity_root) override;
  void setRootAcceleration(const KT::Math::Velocity6D& acceleration_root) override;
  KT::Math::Velocity6D getRootVelocity() const override;
  KT::Math::Velocity6D getRootAcceleration() const override;

  void setJointAnglesPos(const std::vector<float>& q) override;
  void setJointAnglesVel(const std::vector<float>& dq) override;
  void setJointAnglesAcc(const std::vector<float>& ddq) override;
  void setJointAnglePos(unsigned long i, float q) override;
  void setJointAngleVel(unsigned long i, float dq) override;
  void setJointAngleAcc(unsigned long i, float ddq) override;
  float getJointAnglePos(unsigned long i) const override;
  float getJointAngleVel(unsigned long i) const override;
  float getJointAngleAcc(unsigned long i) const override;
  JointRange getJointAnglesPos() const override;
  JointRange getJointAnglesVel() const override;
  JointRange getJointAnglesAcc() const override;

  void setExternalWrench(unsigned long i, const std::vector<float>& wrench_body) override;
  void setExternalWrench(unsigned long i, const std::vector<float>& wrench_f,
                         KT::Math::Transform pose_f_in_body) override;

  void computeFwdKinematicsExceptRoot() override;
  void computeFwdKinematicsOnlyRoot() override;
  void computeGeneralizedMass() override;
  void computePartialComJacobian(unsigned long i,
                                 Eigen::Matrix<float, 3, Eigen::Dynamic>& J) override;
  KT::Math::Position3D computePartialComPositionInRoot(unsigned long i) override;

  const KT::Math::Transform& getPoseInRoot(unsigned long i) const override;
  const KT::Math::Transform& getPose(unsigned long i) const override;
  void setPose(unsigned long i, const KT::Math::Transform& pose_world) override;
  const KT::Math::Transform& getVolatilePose(unsigned long i) const override;
  void setVolatilePose(unsigned long i, const KT::Math::Transform& pose_world) override;
  KT::Math::Position3D getComPosition(unsigned long i) const override;
  const KT::Math::Position3D& getComPositionInRoot() const override;
  const KT::Math::Position3D& getComPosition() const override;
  const Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic>& getGeneralizedMass() const override;
  const Eigen::Matrix<float, 6, Eigen::Dynamic>& getJacobianInRoot() const override;

  std::vector<std::int64_t> getParentsVector() const override;
  std::vector<std::int64_t> getDofNumbersVector() const override;
  std::vector<std::int64_t> getDofIndexesVector() const override;

  void computeInverseDynamics() override;
  float getJointAngleTorque(unsigned long i) const override;
  JointRange getJointAnglesTorque() const override;

 private:
  static constexpr int nb_bodies = Model::nb_bodies;
  static constexpr int nb_dofs = Model::nb_dofs;
  static constexpr int nb_root_dofs = Model::dof_numbers[0];
  static constexpr int nb_joints = nb_dofs - nb_root_dofs;
  static constexpr int nb_volatile_frames = 1;

  using Coordinates = typename DynamicsTypes<Model>::Coordinates;
  using Matrix3X = typename DynamicsTypes<Model>::Matrix3X;
  using Matrix6X = typename DynamicsTypes<Model>::Matrix6X;
  using MatrixX = typename DynamicsTypes<Model>::MatrixX;

  /// Entry of joint angle i.
  static constexpr Eigen::Index at(unsigned long i) {
    return nb_root_dofs + static_cast<Eigen::Index>(i);
  }
  static void set_root(Coordinates& x, const KT::Math::Velocity6D& rate);
  static KT::Math::Velocity6D root_of(const Coordinates& x);
  static void set_joints(Coordinates& x, const std::vector<float>& values);
  static JointRange joints_of(const Coordinates& x);

  Dynamics dynamics_;  ///< with the external wrenches, and what passes leave to each other
  Coordinates q_ = Coordinates::Zero();
  Coordinates dq_ = Coordinates::Zero();
  Coordinates ddq_ = Coordinates::Zero();
  Coordinates torques_ = Coordinates::Zero();
  Matrix6X jacobianInRoot_;
  MatrixX generalizedMass_;
  std::vector<KT::Math::Transform> poses_;        ///< world; the volatile frame follows the bodies
  std::vector<KT::Math::Transform> posesInRoot_;  ///< [R | p]: Eᵀ and r of every body's iX1
  KT::Math::Position3D comPosition_;              ///< world
  KT::Math::Position3D comPositionInRoot_;
  KT::Math::Transform worldPose_;  ///< the identity
  Apart apart_;

  /// Total mass of the bodies, shared by all objects like the inertias themselves.
  static float mass_;
};

}  // namespace tavo
