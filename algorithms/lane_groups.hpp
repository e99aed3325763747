#pragma once

#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "algorithms/traversal.hpp"
#include "spatial/lanes.hpp"
#include "spatial/rotation.hpp"

/// Which nodes of a Model are computed side by side, one a lane: nodes of equal kinds whose parents
/// are done. Derived from the model's tree at compile time.
namespace metapod::internal {

struct LaneGroup {
  std::array<std::size_t, Spatial::nb_lanes> ids{};
  std::size_t size = 0;
};

/// Where a node is computed.
struct Place {
  std::size_t group, lane;
};

/// Nodes are alike if the rotations of their sXp are of one kind.
template <class Node>
inline constexpr bool is_about_z =
    std::is_same_v<std::remove_cvref_t<decltype(std::declval<Node>().sXp.E())>,
                   Spatial::RotationMatrixAboutZ>;

/// Groups in an order in which parents come first. Group 0 is the root alone; then the kind with
/// the most nodes ready fills the next group, lowest ids first.
template <std::size_t nb_nodes>
class LaneSchedule {
 public:
  using Kinds = std::array<bool, nb_nodes>;

  template <class Parents>
  constexpr LaneSchedule(const Parents& parents, const Kinds& about_z) {
    Kinds done{};
    append({{0}, 1}, done);
    while (true) {
      const LaneGroup general = ready(parents, about_z, false, done);
      const LaneGroup turning = ready(parents, about_z, true, done);
      const LaneGroup& next = turning.size > general.size ? turning : general;
      if (next.size == 0) break;
      append(next, done);
    }
  }

  std::array<LaneGroup, nb_nodes> groups{};
  std::array<Place, nb_nodes> places{};
  std::size_t size = 0;

 private:
  template <class Parents>
  static constexpr LaneGroup ready(const Parents& parents, const Kinds& about_z, bool kind,
                                   const Kinds& done) {
    LaneGroup group;
    for (std::size_t k = 1; k < nb_nodes && group.size < Spatial::nb_lanes; ++k) {
      const auto parent = static_cast<std::size_t>(parents[k]);
      if (!done[k] && done[parent] && about_z[k] == kind) group.ids[group.size++] = k;
    }
    return group;
  }

  constexpr void append(const LaneGroup& group, Kinds& done) {
    for (std::size_t lane = 0; lane < group.size; ++lane) {
      places[group.ids[lane]] = {size, lane};
      done[group.ids[lane]] = true;
    }
    groups[size++] = group;
  }
};

template <class Model>
inline constexpr auto lane_schedule = []<std::size_t... id>(std::index_sequence<id...>) {
  return LaneSchedule<sizeof...(id)>(Model::parents, {is_about_z<NodeOf<Model, id>>...});
}
(std::make_index_sequence<Model::nb_bodies>{});

template <class Model>
inline constexpr std::size_t nb_groups = lane_schedule<Model>.size;

template <class Model, std::size_t g>
inline constexpr const LaneGroup& group = lane_schedule<Model>.groups[g];

/// A node type that stands for all of the group's.
template <class Model, std::size_t g>
using NodeLike = NodeOf<Model, group<Model, g>.ids[0]>;

using Places = std::array<Place, Spatial::nb_lanes>;
inline constexpr std::size_t nowhere = static_cast<std::size_t>(-1);

constexpr bool is_anywhere(const Places& places) {
  for (const Place& p : places) {
    if (p.group != nowhere) return true;
  }
  return false;
}

/// A whole group, lane by lane.
constexpr bool is_group(const Places& places) {
  for (std::size_t lane = 0; lane < Spatial::nb_lanes; ++lane) {
    if (places[lane].group != places[0].group || places[lane].lane != lane) return false;
  }
  return true;
}

/// Where the parents of a group's nodes stand; unused lanes follow the first.
template <class Model, std::size_t g>
inline constexpr Places parent_places = [] {
  Places places{};
  for (std::size_t lane = 0; lane < Spatial::nb_lanes; ++lane) {
    const std::size_t id = group<Model, g>.ids[lane < group<Model, g>.size ? lane : 0];
    const auto parent = static_cast<std::size_t>(Model::parents[id]);
    places[lane] = lane_schedule<Model>.places[parent];
    if (parent == 0) places[lane].lane = lane;  // the root stands in every lane
  }
  return places;
}();

/// Where the n-th children of a group's nodes stand.
template <class Model, std::size_t g, std::size_t n>
inline constexpr Places child_places = [] {
  Places places{};
  for (std::size_t lane = 0; lane < Spatial::nb_lanes; ++lane) {
    places[lane] = {nowhere, lane};
    std::size_t seen = 0;
    for (std::size_t id = 1; id < Model::nb_bodies && lane < group<Model, g>.size; ++id) {
      const auto parent = static_cast<std::size_t>(Model::parents[id]);
      if (parent == group<Model, g>.ids[lane] && seen++ == n) {
        places[lane] = lane_schedule<Model>.places[id];
      }
    }
  }
  return places;
}();

/// From the root's children to the leaves: Visitor<Model, g>::discover of every group but the
/// root's, parents first.
template <template <class, std::size_t> class Visitor, class Model>
struct outward_traversal {
  template <class... Args>
  ORVEK23_INLINE static void run(Model& model, Args&... args) {
    Spatial::unrolled<nb_groups<Model> - 1>(
        [&](auto g) ORVEK23_INLINE_LAMBDA { Visitor<Model, g + 1>::discover(model, args...); });
  }
};

/// From the leaves to the root's children: finish of every group but the root's, children first.
template <template <class, std::size_t> class Visitor, class Model>
struct inward_traversal {
  template <class... Args>
  ORVEK23_INLINE static void run(Model& model, Args&... args) {
    Spatial::unrolled<nb_groups<Model> - 1>([&](auto g) ORVEK23_INLINE_LAMBDA {
      Visitor<Model, nb_groups<Model> - 1 - g>::finish(model, args...);
    });
  }
};

}  // namespace metapod::internal
