#pragma once

#include <cstddef>
#include <utility>

#include <boost/fusion/include/at_c.hpp>
#include <boost/fusion/include/vector.hpp>

#include "model/load_time_tables.hpp"
#include "model/node.hpp"
#include "model/tree.hpp"

namespace metapod {

/// A robot whose bodies are known at compile time: one object of every node type. Robot offers
///   static constexpr std::array<BodyRow, n> bodies;   the table
///   static constexpr Tree<n> tree{bodies};
///   static LoadTimeTables<Robot> tables;              defined in one source
template <class Robot>
class Model {
 public:
  template <int id>
  using Node = metapod::Node<Robot, id>;

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
