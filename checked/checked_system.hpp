#pragma once

#include <array>
#include <cstdint>
#include <host/rigid_body_system.hpp>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "checked/operations.hpp"
#include "checked/watch.hpp"

namespace tavo::checked {

/// Throws std::out_of_range, naming operation, index and range.
[[noreturn]] void refuse(const Operation& op, unsigned long i);

/// Another system with its results, references and errors, to develop a host with: an index out of
/// range throws std::out_of_range before anything is done. With `report`, a Watch follows the
/// calls.
class CheckedSystem final : public RigidBodySystem {
 public:
  CheckedSystem(std::unique_ptr<RigidBodySystem> system, bool report) : system_(std::move(system)) {
    if (report) watch_.emplace();
  }

  std::string getName() const override { return system_->getName(); }
  unsigned long getNbDofs() const override { return system_->getNbDofs(); }
  unsigned long getNbBodies() const override { return system_->getNbBodies(); }
  unsigned long getNbVolatileFrames() const override { return system_->getNbVolatileFrames(); }
  const std::string& getRootName() const override { return system_->getRootName(); }
  const std::string& getJointAngleName(unsigned long i) const override {
    return before(operations::getJointAngleName, i).getJointAngleName(i);
  }
  unsigned long getJointAngleId(const std::string& name) const override {
    return system_->getJointAngleId(name);
  }
  const std::string& getBodyName(unsigned long i) const override {
    return before(operations::getBodyName, i).getBodyName(i);
  }
  unsigned long getBodyId(const std::string& name) const override {
    return system_->getBodyId(name);
  }

  void setBodyInertia(unsigned long i, float mass, const KT::Math::Position3D& com,
                      const Eigen::Matrix<float, 3, 3>& inertia_at_com) override {
    before(operations::setBodyInertia, i).setBodyInertia(i, mass, com, inertia_at_com);
    after(operations::setBodyInertia);
    const auto& I = inertia_at_com;  // above the diagonal it is not read
    values(operations::setBodyInertia, inertia, i,
           std::array{mass, com.x, com.y, com.z, I(0, 0), I(1, 0), I(1, 1), I(2, 0), I(2, 1),
                      I(2, 2)});
  }
  float getMass() const override { return system_->getMass(); }
  float getPartialMass(unsigned long i) const override { return system_->getPartialMass(i); }
  float getMass(unsigned long i) const override {
    return before(operations::getMass, i).getMass(i);
  }

  void setRootPose(const KT::Math::Transform& pose_world) override {
    system_->setRootPose(pose_world);
    after(operations::setRootPose);
  }
  const KT::Math::Transform& getRootPose() const override {
    return before(operations::getRootPose).getRootPose();
  }
  void setRootVelocity(const KT::Math::Velocity6D& velocity_root) override {
    system_->setRootVelocity(velocity_root);
    after(operations::setRootVelocity);
  }
  void setRootAcceleration(const KT::Math::Velocity6D& acceleration_root) override {
    system_->setRootAcceleration(acceleration_root);
    after(operations::setRootAcceleration);
  }
  KT::Math::Velocity6D getRootVelocity() const override { return system_->getRootVelocity(); }
  KT::Math::Velocity6D getRootAcceleration() const override {
    return system_->getRootAcceleration();
  }

  void setJointAnglesPos(const std::vector<float>& q) override {
    system_->setJointAnglesPos(q);
    after(operations::setJointAnglesPos);
  }
  void setJointAnglesVel(const std::vector<float>& dq) override {
    system_->setJointAnglesVel(dq);
    after(operations::setJointAnglesVel);
  }
  void setJointAnglesAcc(const std::vector<float>& ddq) override {
    system_->setJointAnglesAcc(ddq);
    after(operations::setJointAnglesAcc);
  }
  void setJointAnglePos(unsigned long i, float q) override {
    before(operations::setJointAnglePos, i).setJointAnglePos(i, q);
    after(operations::setJointAnglePos, i);
  }
  void setJointAngleVel(unsigned long i, float dq) override {
    before(operations::setJointAngleVel, i).setJointAngleVel(i, dq);
    after(operations::setJointAngleVel, i);
  }
  void setJointAngleAcc(unsigned long i, float ddq) override {
    before(operations::setJointAngleAcc, i).setJointAngleAcc(i, ddq);
    after(operations::setJointAngleAcc, i);
  }
  float getJointAnglePos(unsigned long i) const override {
    return before(operations::getJointAnglePos, i).getJointAnglePos(i);
  }
  float getJointAngleVel(unsigned long i) const override {
    return before(operations::getJointAngleVel, i).getJointAngleVel(i);
  }
  float getJointAngleAcc(unsigned long i) const override {
    return before(operations::getJointAngleAcc, i).getJointAngleAcc(i);
  }
  JointRange getJointAnglesPos() const override { return system_->getJointAnglesPos(); }
  JointRange getJointAnglesVel() const override { return system_->getJointAnglesVel(); }
  JointRange getJointAnglesAcc() const override { return system_->getJointAnglesAcc(); }

  void setExternalWrench(unsigned long i, const std::vector<float>& wrench_body) override {
    before(operations::setExternalWrench, i).setExternalWrench(i, wrench_body);
    after(operations::setExternalWrench);
    values(operations::setExternalWrench, wrench, i, std::span(wrench_body).first(6));
  }
  void setExternalWrench(unsigned long i, const std::vector<float>& wrench_f,
                         KT::Math::Transform pose_f_in_body) override {
    before(operations::setExternalWrench, i).setExternalWrench(i, wrench_f, pose_f_in_body);
    after(operations::setExternalWrench);
    values(operations::setExternalWrench, wrench, i, std::span(wrench_f).first(6));
    values(operations::setExternalWrench, wrench, i, pose_f_in_body.m);
  }

  // computeFwdKinematics is the interface's own and calls these two.
  void computeFwdKinematicsExceptRoot() override {
    before(operations::computeFwdKinematicsExceptRoot).computeFwdKinematicsExceptRoot();
    after(operations::computeFwdKinematicsExceptRoot);
  }
  void computeFwdKinematicsOnlyRoot() override {
    before(operations::computeFwdKinematicsOnlyRoot).computeFwdKinematicsOnlyRoot();
    after(operations::computeFwdKinematicsOnlyRoot);
  }
  void computeGeneralizedMass() override {
    before(operations::computeGeneralizedMass).computeGeneralizedMass();
    after(operations::computeGeneralizedMass);
  }
  void computePartialComJacobian(unsigned long i,
                                 Eigen::Matrix<float, 3, Eigen::Dynamic>& J) override {
    if (i >= system_->getNbBodies()) return;
    before(operations::computePartialComJacobian).computePartialComJacobian(i, J);
    values(operations::computePartialComJacobian, jacobian, i,
           {J.data(), static_cast<std::size_t>(J.size())});
  }
  KT::Math::Position3D computePartialComPositionInRoot(unsigned long i) override {
    const bool whole = i == 0 || i >= system_->getNbBodies();
    const Operation& op =
        whole ? operations::wholeComPosition : operations::computePartialComPositionInRoot;
    return shown(op, whole ? com : com_in_root, i, before(op).computePartialComPositionInRoot(i));
  }

  const KT::Math::Transform& getPoseInRoot(unsigned long i) const override {
    return before(operations::getPoseInRoot, i).getPoseInRoot(i);
  }
  const KT::Math::Transform& getPose(unsigned long i) const override {
    return before(operations::getPose, i).getPose(i);
  }
  void setPose(unsigned long i, const KT::Math::Transform& pose_world) override {
    before(operations::setPose, i).setPose(i, pose_world);
    if (watch_) watch_->given_pose(i);
    values(operations::setPose, world_pose, i, pose_world.m);
  }
  const KT::Math::Transform& getVolatilePose(unsigned long i) const override {
    return before(operations::getVolatilePose, i).getVolatilePose(i);
  }
  void setVolatilePose(unsigned long i, const KT::Math::Transform& pose_world) override {
    before(operations::setVolatilePose, i).setVolatilePose(i, pose_world);
    values(operations::setVolatilePose, world_pose, system_->getNbBodies() + i, pose_world.m);
  }
  KT::Math::Position3D getComPosition(unsigned long i) const override {
    const auto& op = operations::getComPositionOfBody;
    return shown(op, com, i, before(op, i).getComPosition(i));
  }
  const KT::Math::Position3D& getComPositionInRoot() const override {
    return before(operations::getComPositionInRoot).getComPositionInRoot();
  }
  const KT::Math::Position3D& getComPosition() const override {
    return before(operations::getComPosition).getComPosition();
  }
  const Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic>& getGeneralizedMass() const override {
    return before(operations::getGeneralizedMass).getGeneralizedMass();
  }
  const Eigen::Matrix<float, 6, Eigen::Dynamic>& getJacobianInRoot() const override {
    return before(operations::getJacobianInRoot).getJacobianInRoot();
  }

  std::vector<std::int64_t> getParentsVector() const override {
    return system_->getParentsVector();
  }
  std::vector<std::int64_t> getDofNumbersVector() const override {
    return system_->getDofNumbersVector();
  }
  std::vector<std::int64_t> getDofIndexesVector() const override {
    return system_->getDofIndexesVector();
  }

  void computeInverseDynamics() override {
    before(operations::computeInverseDynamics).computeInverseDynamics();
    after(operations::computeInverseDynamics);
  }
  float getJointAngleTorque(unsigned long i) const override {
    return before(operations::getJointAngleTorque, i).getJointAngleTorque(i);
  }
  JointRange getJointAnglesTorque() const override {
    return before(operations::getJointAnglesTorque).getJointAnglesTorque();
  }

 private:
  /// The system, for an operation that may go on.
  RigidBodySystem& before(const Operation& op, unsigned long i = 0) const {
    if (!op.indices.allow(i)) refuse(op, i);
    if (watch_) watch_->reads(op, i);
    return *system_;
  }
  template <class... Index>
  void after(const Operation& op, Index... i) {
    if (watch_) watch_->wrote(op, *system_, i...);
  }
  void values(const Operation& op, Quantity quantity, unsigned long i,
              std::span<const float> v) const {
    if (watch_) watch_->values(op, quantity, i, v);
  }
  KT::Math::Position3D shown(const Operation& op, Quantity quantity, unsigned long i,
                             const KT::Math::Position3D& p) const {
    values(op, quantity, i, std::array{p.x, p.y, p.z});
    return p;
  }

  std::unique_ptr<RigidBodySystem> system_;
  mutable std::optional<Watch> watch_;
};

}  // namespace tavo::checked
