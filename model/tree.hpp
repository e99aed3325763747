#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "model/body_row.hpp"

namespace metapod {

inline constexpr int no_parent = -1;

/// Facts that follow from a robot's table of bodies, at compile time. The node id of a body is its
/// row; coordinates are numbered in row order, 6 for the root and 1 for every other body.
template <std::size_t N>
class Tree {
 public:
  using IntTable = std::array<std::int32_t, N>;

  constexpr explicit Tree(const std::array<BodyRow, N>& rows) {
    for (std::size_t k = 0; k < N; ++k) {
      parents[k] = rows[k].parent;
      dof_numbers[k] = parents[k] == no_parent ? 6 : 1;
      dof_indexes[k] = k == 0 ? 0 : dof_indexes[k - 1] + dof_numbers[k - 1];
    }
  }

  /// One root, which is row 0, and rows in depth-first pre-order: the parent of each row is the
  /// row before or one of its ancestors, so ascending ids are the order of a depth-first walk.
  constexpr bool is_preorder() const {
    if (parents[0] != no_parent) return false;
    for (std::size_t k = 1; k < N; ++k) {
      std::int32_t a = static_cast<std::int32_t>(k) - 1;
      while (a != no_parent && a != parents[k]) a = parents[static_cast<std::size_t>(a)];
      if (a == no_parent) return false;
    }
    return true;
  }

  constexpr int nb_dofs() const { return dof_indexes[N - 1] + dof_numbers[N - 1]; }

  constexpr std::size_t nb_children(int id) const {
    std::size_t n = 0;
    for (const std::int32_t parent : parents) n += parent == id;
    return n;
  }

  /// Id of the n-th child of a node, in ascending order.
  constexpr int child(int id, std::size_t n) const {
    std::size_t k = 0;
    for (;; ++k) {
      if (parents[k] == id && n-- == 0) return static_cast<int>(k);
    }
  }

  IntTable parents{}, dof_numbers{}, dof_indexes{};
};

namespace internal {
template <const auto& tree, int id, std::size_t... n>
std::integer_sequence<int, tree.child(id, n)...> children(std::index_sequence<n...>);
}  // namespace internal

/// The ids of a node's children, in the order in which a walk visits them.
template <const auto& tree, int id>
using Children =
    decltype(internal::children<tree, id>(std::make_index_sequence<tree.nb_children(id)>{}));

}  // namespace metapod
