#pragma once

#include <array>
#include <cstddef>
#include <utility>

#include <boost/fusion/include/at_c.hpp>
#include <boost/fusion/include/vector.hpp>

#include "model/load_time_tables.hpp"
#include "model/node.hpp"
#include "model/tree.hpp"
#include "spatial/inertia.hpp"

namespace metapod {

/// A robot whose bodies are known at compile time: one object of every node type, on the scalar S:
/// float, or many floats side by side, a state of the robot each. Robot offers
///   static constexpr std::array<BodyRow, n> bodies;   the table
///   static constexpr Tree<n> tree{bodies};
///   static LoadTimeTables<Robot> tables;              defined in one source
template <class Robot, class S = float>
class Model {
 public:
  using Scalar = S;
  template <int id>
  using Node = metapod::Node<Robot, id, S>;

  static constexpr int nb_bodies = static_cast<int>(Robot::bodies.size());
  static constexpr int nb_dofs = Robot::tree.nb_dofs();
  static_assert(Robot::tree.is_preorder(), "parents come before children, in depth-first order");

  // Tables in node-id order.
  static constexpr const auto& parents = Robot::tree.parents;
  static constexpr const auto& dof_numbers = Robot::tree.dof_numbers;
  static constexpr const auto& dof_indexes = Robot::tree.dof_indexes;
  static constexpr const auto& joint_names = Robot::tables.joint_names;
  static constexpr const auto& body_names = Robot::tables.body_names;
  static constexpr auto& inertias = Robot::tables.inertias;

  /// The inertias of the robot's table of facts, with which those of the process begin.
  static constexpr std::array<Spatial::Inertia, nb_bodies> built_in_inertias() {
    std::array<Spatial::Inertia, nb_bodies> built_in;
    for (std::size_t i = 0; i < built_in.size(); ++i) built_in[i] = as_inertia(Robot::bodies[i]);
    return built_in;
  }

  /// The inertia of a body as the algorithms read it.
  template <int id>
  static Spatial::InertiaT<S> inertia() {
    return Spatial::InertiaT<S>(inertias[id]);
  }

  template <int id>
  Node<id>& node() {
    return boost::fusion::at_c<id>(nodes_);
  }
  template <int id>
  const Node<id>& node() const {
    return boost::fusion::at_c<id>(nodes_);
  }

 private:
  template <std::size_t... id>
  static boost::fusion::vector<Node<static_cast<int>(id)>...> all(std::index_sequence<id...>);

  decltype(all(std::make_index_sequence<Robot::bodies.size()>{})) nodes_{};
};

}  // namespace metapod
