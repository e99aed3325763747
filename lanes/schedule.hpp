#pragma once

#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "algorithms/traversal.hpp"
#include "lanes/lanes.hpp"
#include "spatial/rotation.hpp"

/// Which nodes of a Model are computed side by side, one a lane: nodes of equal kinds whose parents
/// are done. Derived from the model's tree at compile time.
namespace metapod::lanes {

inline constexpr int nobody = -1;

/// The node in each lane, or nobody.
using Group = std::array<int, nb_lanes>;

/// Where a node is computed.
struct Place {
  int group, lane;
};

/// Nodes are alike if the rotations of their sXp are of one kind.
template <class Node>
inline constexpr bool is_about_z =
    std::is_same_v<std::remove_cvref_t<decltype(std::declval<Node>().sXp.E())>,
                   Spatial::RotationMatrixAboutZ>;

/// Groups in an order in which parents come first. Group 0 is the root alone; then the kind with
/// the most nodes ready fills the next group, lowest ids first, each in its parent's lane if that
/// is free: what passes from parent to child then stays where it is.
template <std::size_t nb_nodes>
class Schedule {
 public:
  using Kinds = std::array<bool, nb_nodes>;

  template <class Parents>
  constexpr Schedule(const Parents& parents, const Kinds& about_z) {
    for (Group& group : groups) group.fill(nobody);
    put(0, 0);
    size = 1;
    while (true) {
      const Ready general = ready(parents, about_z, false), turning = ready(parents, about_z, true);
      const Ready& next = turning.size > general.size ? turning : general;
      if (next.size == 0) break;
      append(next, parents);
    }
  }

  std::array<Group, nb_nodes> groups{};
  std::array<Place, nb_nodes> places{};
  std::size_t size = 0;

 private:
  struct Ready {
    std::array<int, nb_lanes> ids{};
    std::size_t size = 0;
  };

  template <class Parents>
  constexpr Ready ready(const Parents& parents, const Kinds& about_z, bool kind) const {
    Ready found;
    for (std::size_t k = 1; k < nb_nodes && found.size < nb_lanes; ++k) {
      const auto parent = static_cast<std::size_t>(parents[k]);
      if (!done_[k] && done_[parent] && about_z[k] == kind) {
        found.ids[found.size++] = static_cast<int>(k);
      }
    }
    return found;
  }

  template <class Parents>
  constexpr void append(const Ready& next, const Parents& parents) {
    const Group& group = groups[size];
    for (std::size_t k = 0; k < next.size; ++k) {
      const auto parent = static_cast<std::size_t>(parents[static_cast<std::size_t>(next.ids[k])]);
      const int lane = places[parent].lane;
      if (parent != 0 && group[static_cast<std::size_t>(lane)] == nobody) put(next.ids[k], lane);
    }
    for (std::size_t k = 0; k < next.size; ++k) {
      if (done_[static_cast<std::size_t>(next.ids[k])]) continue;
      int lane = 0;
      while (group[static_cast<std::size_t>(lane)] != nobody) ++lane;
      put(next.ids[k], lane);
    }
    ++size;
  }

  constexpr void put(int id, int lane) {
    groups[size][static_cast<std::size_t>(lane)] = id;
    places[static_cast<std::size_t>(id)] = {static_cast<int>(size), lane};
    done_[static_cast<std::size_t>(id)] = true;
  }

  Kinds done_{};
};

template <class Model>
inline constexpr auto schedule = []<std::size_t... id>(std::index_sequence<id...>) {
  return Schedule<sizeof...(id)>(Model::parents, {is_about_z<NodeOf<Model, id>>...});
}
(std::make_index_sequence<Model::nb_bodies>{});

template <class Model>
inline constexpr std::size_t nb_groups = schedule<Model>.size;

template <class Model, std::size_t g>
inline constexpr const Group& group = schedule<Model>.groups[g];

/// The node in a lane of a group; a lane without one has the group's first.
template <class Model, std::size_t g>
constexpr int node_in(std::size_t lane) {
  int id = group<Model, g>[lane];
  for (std::size_t k = 0; id == nobody; ++k) id = group<Model, g>[k];
  return id;
}

/// A node type that stands for all of the group's.
template <class Model, std::size_t g>
using NodeLike = NodeOf<Model, node_in<Model, g>(0)>;

/// f(g) for every group but the root's, parents first.
template <class Model, class F>
void outward(F f) {
  unrolled<nb_groups<Model> - 1>([&](auto n) { f(std::integral_constant<std::size_t, n + 1>{}); });
}

/// f(g) for every group but the root's, children first.
template <class Model, class F>
void inward(F f) {
  unrolled<nb_groups<Model> - 1>(
      [&](auto n) { f(std::integral_constant<std::size_t, nb_groups<Model> - 1 - n>{}); });
}

}  // namespace metapod::lanes
