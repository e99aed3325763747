#pragma once

/// @file
/// The interface between a host and the plug-in, and the plug-in's two entry points.

#include <cstdint>
#include <ktmath/ktmath.hpp>
#include <string>
#include <utility>
#include <vector>

#include <Eigen/Core>

// Strings, vectors and exceptions cross the boundary: they must be those of the plug-in.
#ifndef __GLIBCXX__
#error \
    "The plug-in exchanges strings and vectors of libstdc++: compile this host with -stdlib=libstdc++."
#elif !_GLIBCXX_USE_CXX11_ABI
#error "The plug-in exchanges C++11 strings: compile this host with -D_GLIBCXX_USE_CXX11_ABI=1."
#elif defined(_GLIBCXX_DEBUG)
#error \
    "_GLIBCXX_DEBUG gives vectors another layout than the plug-in's: compile this host without it (_GLIBCXX_ASSERTIONS is fine)."
#endif

static_assert(EIGEN_MAX_ALIGN_BYTES == 16,
              "The plug-in exchanges Eigen matrices aligned to 16 bytes: compile this host with "
              "-DEIGEN_MAX_ALIGN_BYTES=16 (the CMake target orvek23::host sets it).");

/// The host's side: the interface and what opens the plug-in.
namespace tavo {

/// The 22 joint values inside the object, in joint-angle order: valid while the object lives,
/// showing later changes.
using JointRange = std::pair<const float*, const float*>;

/// Kinematics and dynamics of one humanoid: 23 bodies, 22 revolute joints, 28 coordinates.
///
/// Frames, vector orders and units: docs/conventions.md. Short form: SI, radians, world z up; a
/// pose [R | p] takes body coordinates to world (or root) coordinates; rates and wrenches of the
/// root list the linear part first.
///
/// Body index i: 0 (the root, "Torso") to 22. Joint-angle index i: 0 to 21, the joint of body
/// i + 1. Indices are not checked except where said; an index out of range is undefined behaviour.
///
/// Setters store, compute operations compute, getters return what the last of them left; the
/// comment of a getter names the operation that fills it. References and ranges point into the
/// object, whose storage never moves: one fetched once shows every later result. Nothing allocates
/// but the three tables of integers, exceptions, and computePartialComJacobian when it must give
/// its matrix new storage. Non-finite values propagate.
///
/// One object is used by one thread at a time. `create` and setBodyInertia write data that all
/// objects of the process share: run them while no other operation runs on any object.
///
/// The order of declaration is the virtual table, hence the contract with the host: never reorder.
class RigidBodySystem {
 public:
  /// Not for the host to call: what `create` made goes back through `destroy`.
  virtual ~RigidBodySystem() = default;

  /// @name Names, counts, tables
  /// @{

  /// The name of the system: empty.
  virtual std::string getName() const = 0;
  /// Number of joint angles, 22: the coordinates without the root's six.
  virtual unsigned long getNbDofs() const = 0;
  /// Number of bodies, 23.
  virtual unsigned long getNbBodies() const = 0;
  /// Number of volatile frames, 1: poses that the host stores and nothing computes.
  virtual unsigned long getNbVolatileFrames() const = 0;
  /// Name of the root body, "Torso". Names live as long as the library is loaded.
  virtual const std::string& getRootName() const = 0;
  /// Name of joint angle i, which is that of body i + 1.
  virtual const std::string& getJointAngleName(unsigned long i) const = 0;
  /// Joint-angle index of a name (exact match; the root has none). Throws std::out_of_range: no
  /// joint angle named "...".
  virtual unsigned long getJointAngleId(const std::string& name) const = 0;
  /// Name of body i.
  virtual const std::string& getBodyName(unsigned long i) const = 0;
  /// Body index of a name (exact match). Throws std::out_of_range: no body named "...".
  virtual unsigned long getBodyId(const std::string& name) const = 0;

  /// @}

  /// @name Masses, kg
  /// @{

  /// Replaces the inertia of body i for every object of the process, from the next compute
  /// operation on: mass (kg), centre of mass (m, body frame), rotational inertia about the centre
  /// of mass (kg m2, body axes; only the lower triangle is read). Kept until the library is
  /// unloaded. Nothing is checked: getMass() changes by the difference of the masses, so a mass
  /// that is not finite spoils it until the next `create` sums anew, even if a good one follows.
  /// Parallel axes: Featherstone 2008, section 2.13.
  virtual void setBodyInertia(unsigned long i, float mass, const KT::Math::Position3D& com,
                              const Eigen::Matrix<float, 3, 3>& inertia_at_com) = 0;
  /// Mass of all bodies (kg).
  virtual float getMass() const = 0;
  /// Mass of all bodies but i (kg); of all bodies if i is 23 or more.
  virtual float getPartialMass(unsigned long i) const = 0;
  /// Mass of body i (kg).
  virtual float getMass(unsigned long i) const = 0;

  /// @}

  /// @name Root state
  /// @{

  /// Stores the root's world pose as six coordinates, and what they rebuild as getRootPose().
  virtual void setRootPose(const KT::Math::Transform& pose_world) = 0;
  /// World pose of the root: filled by setRootPose, setPose(0) and computeFwdKinematicsOnlyRoot.
  virtual const KT::Math::Transform& getRootPose() const = 0;
  /// Velocity of the root in its own frame: linear of its origin (m/s), then angular (rad/s).
  virtual void setRootVelocity(const KT::Math::Velocity6D& velocity_root) = 0;
  /// Spatial acceleration of the root in its own frame: the time derivatives of the six components
  /// of its velocity, linear (m/s2), then angular (rad/s2).
  virtual void setRootAcceleration(const KT::Math::Velocity6D& acceleration_root) = 0;
  /// What setRootVelocity stored.
  virtual KT::Math::Velocity6D getRootVelocity() const = 0;
  /// What setRootAcceleration stored.
  virtual KT::Math::Velocity6D getRootAcceleration() const = 0;

  /// @}

  /// @name Joint state
  /// The vector setters read the first 22 entries.
  /// @{

  /// Stores the joint positions (rad). Throws std::invalid_argument, changing nothing, if q has
  /// fewer than 22 entries.
  virtual void setJointAnglesPos(const std::vector<float>& q) = 0;
  /// Stores the joint velocities (rad/s). Throws like setJointAnglesPos.
  virtual void setJointAnglesVel(const std::vector<float>& dq) = 0;
  /// Stores the joint accelerations (rad/s2). Throws like setJointAnglesPos.
  virtual void setJointAnglesAcc(const std::vector<float>& ddq) = 0;
  /// Stores the position of joint angle i (rad).
  virtual void setJointAnglePos(unsigned long i, float q) = 0;
  /// Stores the velocity of joint angle i (rad/s).
  virtual void setJointAngleVel(unsigned long i, float dq) = 0;
  /// Stores the acceleration of joint angle i (rad/s2).
  virtual void setJointAngleAcc(unsigned long i, float ddq) = 0;
  /// Position of joint angle i, as it was set (rad).
  virtual float getJointAnglePos(unsigned long i) const = 0;
  /// Velocity of joint angle i, as it was set (rad/s).
  virtual float getJointAngleVel(unsigned long i) const = 0;
  /// Acceleration of joint angle i, as it was set (rad/s2).
  virtual float getJointAngleAcc(unsigned long i) const = 0;
  /// The 22 joint positions (rad).
  virtual JointRange getJointAnglesPos() const = 0;
  /// The 22 joint velocities (rad/s).
  virtual JointRange getJointAnglesVel() const = 0;
  /// The 22 joint accelerations (rad/s2).
  virtual JointRange getJointAnglesAcc() const = 0;

  /// @}

  /// @name External wrenches
  /// What the surroundings do to a body.
  /// @{

  /// Wrench on body i: force x, y, z (N), then moment x, y, z (N m) about the body's origin, in the
  /// body's frame. Stays in effect until it is replaced. Throws std::invalid_argument, changing
  /// nothing, if there are fewer than 6 entries; more are ignored.
  virtual void setExternalWrench(unsigned long i, const std::vector<float>& wrench_body) = 0;
  /// Wrench on body i, given in a frame F about F's origin, with the pose of F in body i's frame:
  /// stored as the wrench in the body's frame, so it moves with the body. Throws likewise.
  virtual void setExternalWrench(unsigned long i, const std::vector<float>& wrench_f,
                                 KT::Math::Transform pose_f_in_body) = 0;

  /// @}

  /// @name Kinematics, then queries on its results
  /// @{

  /// From the joint positions: getPoseInRoot, getJacobianInRoot, getComPositionInRoot, and the
  /// joint transforms that the mass and partial centre-of-mass operations read. Featherstone 2008,
  /// sections 4.4 (joint transforms) and 2.8 (their products).
  virtual void computeFwdKinematicsExceptRoot() = 0;
  /// From the root's coordinates and the last computeFwdKinematicsExceptRoot: getRootPose,
  /// getPose(0..22), getComPosition().
  virtual void computeFwdKinematicsOnlyRoot() = 0;
  /// computeFwdKinematicsExceptRoot, then computeFwdKinematicsOnlyRoot.
  virtual void computeFwdKinematics() {
    computeFwdKinematicsExceptRoot();
    computeFwdKinematicsOnlyRoot();
  }
  /// Joint-space mass matrix at the joint transforms of the last kinematics or inverse dynamics:
  /// fills getGeneralizedMass. Composite-rigid-body algorithm, Featherstone 2008, chapter 6.
  virtual void computeGeneralizedMass() = 0;
  /// Mass times the Jacobian of the centre of mass of all bodies but i, at the joint transforms of
  /// the last kinematics or inverse dynamics: 3 x 28, world axes, times rates in coordinate order
  /// (kg for linear rates, kg m for angular ones); J qdot is the linear momentum of those bodies
  /// (kg m/s). i = 23 or more leaves J as it is. A J of another size is resized; throws
  /// std::bad_alloc, J unchanged, if that fails. A host compiled for AVX or wider must pass a J
  /// that is 3 x 28 already (tavo::partialComJacobian in host/loader.hpp does), so that no storage
  /// changes hands between two allocators.
  virtual void computePartialComJacobian(unsigned long i,
                                         Eigen::Matrix<float, 3, Eigen::Dynamic>& J) = 0;
  /// Centre of mass of all bodies but i (1 to 22), root frame (m), at the last
  /// computeFwdKinematicsExceptRoot. For i = 0 and i >= 23: getComPosition(), world frame.
  virtual KT::Math::Position3D computePartialComPositionInRoot(unsigned long i) = 0;
  /// Pose of body i in the root's frame: filled by computeFwdKinematicsExceptRoot.
  virtual const KT::Math::Transform& getPoseInRoot(unsigned long i) const = 0;
  /// World pose of body i: filled by computeFwdKinematicsOnlyRoot. i = 23 is volatile frame 0; the
  /// largest unsigned long (the root's parent index, -1) gives the world frame, the identity.
  virtual const KT::Math::Transform& getPose(unsigned long i) const = 0;
  /// Overwrites the stored pose of body i (or 23), until the next computeFwdKinematicsOnlyRoot.
  virtual void setPose(unsigned long i, const KT::Math::Transform& pose_world) = 0;
  /// World pose in the frame slot (i = 0) that setVolatilePose fills and nothing computes.
  virtual const KT::Math::Transform& getVolatilePose(unsigned long i) const = 0;
  /// Stores the pose of volatile frame i (0); getPose(23 + i) shows it too.
  virtual void setVolatilePose(unsigned long i, const KT::Math::Transform& pose_world) = 0;
  /// World position of the centre of mass of body i (m), from the pose that getPose(i) returns.
  virtual KT::Math::Position3D getComPosition(unsigned long i) const = 0;
  /// Whole-body centre of mass, root frame (m): filled by computeFwdKinematicsExceptRoot.
  virtual const KT::Math::Position3D& getComPositionInRoot() const = 0;
  /// Whole-body centre of mass, world frame (m): filled by computeFwdKinematicsOnlyRoot.
  virtual const KT::Math::Position3D& getComPosition() const = 0;
  /// 28 x 28 mass matrix in coordinate order (kg, kg m, kg m2; the root's part in the root frame):
  /// symmetric, filled by computeGeneralizedMass, zero before.
  virtual const Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic>& getGeneralizedMass()
      const = 0;
  /// 6 x 28, root frame. Column 6 + i is the spatial motion of a unit rate of joint angle i:
  /// angular x, y, z, then linear x, y, z at the root's origin. Columns 0..5 are constant. Filled
  /// by computeFwdKinematicsExceptRoot.
  virtual const Eigen::Matrix<float, 6, Eigen::Dynamic>& getJacobianInRoot() const = 0;

  /// @}

  /// @name The model's tables, 23 entries each, in body order
  /// @{

  /// Parent of each body, -1 for the root.
  virtual std::vector<std::int64_t> getParentsVector() const = 0;
  /// Number of coordinates of each body: 6, then 1.
  virtual std::vector<std::int64_t> getDofNumbersVector() const = 0;
  /// First coordinate of each body: 0, then 6 to 27.
  virtual std::vector<std::int64_t> getDofIndexesVector() const = 0;

  /// @}

  /// @name Dynamics
  /// @{

  /// Joint torques that produce the current accelerations at the current positions and
  /// velocities, under gravity and the external wrenches; needs no earlier kinematics. Fills the
  /// torques. Recursive Newton-Euler algorithm, Featherstone 2008, chapter 5.
  virtual void computeInverseDynamics() = 0;
  /// Torque of joint angle i (N m): filled by computeInverseDynamics.
  virtual float getJointAngleTorque(unsigned long i) const = 0;
  /// The 22 joint torques (N m): filled by computeInverseDynamics.
  virtual JointRange getJointAnglesTorque() const = 0;

  /// @}
};

}  // namespace tavo

extern "C" {
/// A new system at the world origin, all coordinates, rates and wrenches zero. Release it with
/// destroy. Sums the masses that all systems share: not while any operation runs on any of them.
/// Throws std::bad_alloc, leaking nothing.
tavo::RigidBodySystem* create();
/// Releases what create returned; null is allowed.
void destroy(tavo::RigidBodySystem* system);
}
