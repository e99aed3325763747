#pragma once

#include <array>
#include <string>
#include <type_traits>

#include "model/joint.hpp"
#include "model/load_time_tables.hpp"
#include "model/tree.hpp"
#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/motion.hpp"
#include "spatial/transform.hpp"

namespace metapod {

/// One body of a robot and the joint that carries it: compile-time facts, the constants made at
/// load time, and the working state of the algorithms, on the scalar S. All vectors are in the
/// body's frame.
template <class Robot, int node_id, class S = float>
struct Node {
  static constexpr int id = node_id;
  static constexpr int parent = Robot::tree.parents[node_id];
  static constexpr int first_dof = Robot::tree.dof_indexes[node_id];
  static constexpr int nb_dofs = Robot::tree.dof_numbers[node_id];
  using children = Children<Robot::tree, node_id>;
  using JointType =
      std::conditional_t<parent == no_parent, FreeFlyerJointT<S>, RevoluteAxisZJointT<S>>;
  using Constants = NodeConstants<Robot, node_id>;
  /// Xt on the scalar S.
  using Placement = typename Constants::template PlacementOn<S>;

  static constexpr const std::string& joint_name = node_constants<Robot, node_id>().joint_name;
  static constexpr const std::string& body_name = node_constants<Robot, node_id>().body_name;
  /// Joint frame in the parent body's frame, at coordinate zero.
  static constexpr const auto& Xt = node_constants<Robot, node_id>().Xt;
  /// The same on the scalar S; on floats it is what was loaded, else the value that is loaded.
  static constexpr Placement placement() {
    if constexpr (std::is_same_v<S, float>) {
      return Xt;
    } else {
      return Placement(Constants::placement());
    }
  }

  /// Parent frame to this body's frame. Its rotation kind follows from the joint's and Xt's.
  decltype(JointType{}.Xj * Placement{}) sXp;
  std::array<Spatial::ForceT<S>, nb_dofs> joint_F;  ///< composite inertia times S, by columns
  JointType joint;
  Spatial::TransformT<Spatial::RotationMatrixT<S>> iX0;  ///< part of the layout; nothing fills it
  Spatial::MotionT<S> vi;                                ///< velocity
  Spatial::MotionT<S> ai;                                ///< acceleration, gravity included
  Spatial::InertiaT<S> Iic;                              ///< composite inertia of the subtree

  static_assert(JointType::nb_dofs == nb_dofs);
};

}  // namespace metapod
