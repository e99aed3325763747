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
/// load time, and the working state of the algorithms. All vectors are in the body's frame.
template <class Robot, int node_id>
struct Node {
  static constexpr int id = node_id;
  static constexpr int parent = Robot::tree.parents[node_id];
  static constexpr int first_dof = Robot::tree.dof_indexes[node_id];
  static constexpr int nb_dofs = Robot::tree.dof_numbers[node_id];
  using children = Children<Robot::tree, node_id>;
  using JointType = std::conditional_t<parent == no_parent, FreeFlyerJoint, RevoluteAxisZJoint>;
  using PlacementType = typename NodeConstants<Robot, node_id>::PlacementType;

  static constexpr const std::string& joint_name = node_constants<Robot, node_id>().joint_name;
  static constexpr const std::string& body_name = node_constants<Robot, node_id>().body_name;
  /// Joint frame in the parent body's frame, at coordinate zero.
  static constexpr const PlacementType& Xt = node_constants<Robot, node_id>().Xt;
  /// The value that Xt is given.
  static constexpr PlacementType placement() { return NodeConstants<Robot, node_id>::placement(); }

  /// Parent frame to this body's frame. Its rotation kind follows from the joint's and Xt's.
  decltype(JointType{}.Xj * PlacementType{}) sXp;
  std::array<Spatial::Force, nb_dofs> joint_F;  ///< composite inertia times S, a force a column
  JointType joint;
  Spatial::TransformT<Spatial::RotationMatrix> iX0;  ///< kept for the layout; nothing fills it
  Spatial::Motion vi;                                ///< velocity
  Spatial::Motion ai;                                ///< acceleration, gravity included
  Spatial::Inertia Iic;                              ///< composite inertia of the subtree

  static_assert(JointType::nb_dofs == nb_dofs);
};

}  // namespace metapod
