#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>

/// What the operations of the interface read and write, as one table: all that the checks know.
/// docs/conventions.md has the same in words, "What fills what".
namespace tavo::checked {

/// What a host sets, then what is computed from it: sources first.
enum Quantity : unsigned {
  root_pose,
  joint_position,
  root_velocity,
  joint_velocity,
  root_acceleration,
  joint_acceleration,
  wrench,
  inertia,
  joint_transform,
  root_transform,
  pose_in_root,
  jacobian,
  com_in_root,
  world_pose,
  com,
  mass_matrix,
  joint_torque,
  nb_quantities
};

/// A set of quantities.
struct Quantities {
  std::uint32_t bits = 0;

  constexpr Quantities() = default;
  constexpr Quantities(std::initializer_list<Quantity> members) {
    for (const Quantity q : members) bits |= 1u << q;
  }
  constexpr bool has(Quantity q) const { return (bits >> q & 1u) != 0; }
  constexpr bool empty() const { return bits == 0; }
  constexpr void add(Quantities more) { bits |= more.bits; }
  constexpr void remove(Quantities gone) { bits &= ~gone.bits; }
};

struct QuantityFacts {
  const char* name;
  const char* item;         ///< between the name and the number of one of them; null: no number
  Quantities from;          ///< what it is computed from
  std::uint32_t parts = 0;  ///< one bit for each part that a host must set before it is used
};

inline constexpr std::uint32_t all_joints = (1u << 22) - 1;

/// In the order of Quantity. Wrenches and inertias have good values from the start.
inline constexpr std::array<QuantityFacts, nb_quantities> facts{{
    {"root pose", ", entry ", {}, 1},
    {"joint position", " ", {}, all_joints},
    {"root velocity", ", component ", {}, 1},
    {"joint velocity", " ", {}, all_joints},
    {"root acceleration", ", component ", {}, 1},
    {"joint acceleration", " ", {}, all_joints},
    {"wrench", " on body ", {}},
    {"inertia", " of body ", {}},
    {"joint transform", " ", {joint_position}},
    {"root transform", " ", {root_pose}},
    {"pose in the root", " of body ", {joint_position}},
    {"Jacobian", ", column ", {joint_position}},
    {"centre of mass in the root", nullptr, {joint_position, inertia}},
    {"world pose", " of body ", {root_pose, pose_in_root}},
    {"centre of mass", nullptr, {root_pose, com_in_root}},
    {"mass matrix", ", column ", {joint_transform, inertia}},
    {"joint torque",
     " ",
     {root_pose, joint_position, root_velocity, joint_velocity, root_acceleration,
      joint_acceleration, wrench, inertia}},
}};

/// Everything that depends on one of `sources`, through whatever lies between.
constexpr Quantities dependents(Quantities sources) {
  Quantities result, reached = sources;
  for (unsigned q = 0; q < nb_quantities; ++q) {
    if ((facts[q].from.bits & reached.bits) == 0) continue;
    result.add({static_cast<Quantity>(q)});
    reached.add(result);
  }
  return result;
}
static_assert(dependents({root_pose}).bits ==
              Quantities{root_transform, world_pose, com, joint_torque}.bits);

/// The indices that an operation takes.
struct Indices {
  const char* kind = nullptr;  ///< null: there is none, or any will do
  unsigned long last = 0;
  bool or_world = false;  ///< the index -1 stands for the world

  constexpr bool allow(unsigned long i) const {
    return kind == nullptr || i <= last || (or_world && i == -1ul);
  }
};
inline constexpr Indices any{}, of_joint{"joint-angle", 21}, of_body{"body", 22},
    of_pose{"body", 23}, of_pose_or_world{"body", 23, true}, of_volatile{"volatile-frame", 0};

struct Operation {
  const char* name;
  Indices indices = any;
  Quantities writes;  ///< a setter's inputs, or what a computation fills
  Quantities reads;   ///< what a getter hands out, or what a computation takes
  bool computes = false;
};

/// A computation takes what its results come from, unless it makes them itself. The root's
/// transform alone asks for nothing: kinematics in the root's frame form it too, where nobody needs
/// it.
constexpr Operation computation(const char* name, Quantities fills, Quantities takes = {}) {
  for (unsigned q = 0; q < nb_quantities; ++q) {
    if (q != root_transform && fills.has(static_cast<Quantity>(q))) takes.add(facts[q].from);
  }
  takes.remove(fills);
  return {name, any, fills, takes, true};
}
constexpr Operation setter(const char* name, Quantities inputs, Indices indices = any) {
  return {name, indices, inputs, {}};
}
constexpr Operation getter(const char* name, Quantities shown, Indices indices = any) {
  return {name, indices, {}, shown};
}

/// One constant an operation that can be used wrongly; the others need no check.
namespace operations {
inline constexpr Operation getJointAngleName = getter("getJointAngleName", {}, of_joint),
                           getBodyName = getter("getBodyName", {}, of_body),
                           getMass = getter("getMass", {}, of_body),
                           setBodyInertia = setter("setBodyInertia", {inertia}, of_body);

inline constexpr Operation setRootPose = setter("setRootPose", {root_pose}),
                           setRootVelocity = setter("setRootVelocity", {root_velocity}),
                           setRootAcceleration = setter("setRootAcceleration", {root_acceleration}),
                           getRootPose = getter("getRootPose", {world_pose});

inline constexpr Operation setJointAnglesPos = setter("setJointAnglesPos", {joint_position}),
                           setJointAnglesVel = setter("setJointAnglesVel", {joint_velocity}),
                           setJointAnglesAcc = setter("setJointAnglesAcc", {joint_acceleration}),
                           setJointAnglePos =
                               setter("setJointAnglePos", {joint_position}, of_joint),
                           setJointAngleVel =
                               setter("setJointAngleVel", {joint_velocity}, of_joint),
                           setJointAngleAcc =
                               setter("setJointAngleAcc", {joint_acceleration}, of_joint),
                           getJointAnglePos = getter("getJointAnglePos", {}, of_joint),
                           getJointAngleVel = getter("getJointAngleVel", {}, of_joint),
                           getJointAngleAcc = getter("getJointAngleAcc", {}, of_joint);

inline constexpr Operation setExternalWrench = setter("setExternalWrench", {wrench}, of_body);

inline constexpr Operation
    computeFwdKinematicsExceptRoot =
        computation("computeFwdKinematicsExceptRoot",
                    {joint_transform, root_transform, pose_in_root, jacobian, com_in_root}),
    computeFwdKinematicsOnlyRoot =
        computation("computeFwdKinematicsOnlyRoot", {root_transform, world_pose, com}),
    computeGeneralizedMass = computation("computeGeneralizedMass", {mass_matrix}),
    computePartialComJacobian =
        computation("computePartialComJacobian", {}, {joint_transform, root_transform, inertia}),
    computePartialComPositionInRoot =
        computation("computePartialComPositionInRoot", {}, {pose_in_root, inertia}),
    /// The whole body's, which that operation returns for the root and beyond the bodies.
    wholeComPosition = computation("computePartialComPositionInRoot", {}, {com});

inline constexpr Operation getPoseInRoot = getter("getPoseInRoot", {pose_in_root}, of_body),
                           getPose = getter("getPose", {world_pose}, of_pose_or_world),
                           setPose = setter("setPose", {}, of_pose),
                           getVolatilePose = getter("getVolatilePose", {}, of_volatile),
                           setVolatilePose = setter("setVolatilePose", {}, of_volatile),
                           getComPositionOfBody = getter("getComPosition", {world_pose}, of_body),
                           getComPositionInRoot = getter("getComPositionInRoot", {com_in_root}),
                           getComPosition = getter("getComPosition", {com}),
                           getGeneralizedMass = getter("getGeneralizedMass", {mass_matrix}),
                           getJacobianInRoot = getter("getJacobianInRoot", {jacobian});

inline constexpr Operation computeInverseDynamics =
                               computation("computeInverseDynamics",
                                           {joint_transform, root_transform, joint_torque}),
                           getJointAngleTorque =
                               getter("getJointAngleTorque", {joint_torque}, of_joint),
                           getJointAnglesTorque = getter("getJointAnglesTorque", {joint_torque});
}  // namespace operations

}  // namespace tavo::checked
