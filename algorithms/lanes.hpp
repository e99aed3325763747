#pragma once

#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "algorithms/lane_groups.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/components.hpp"
#include "spatial/inertia.hpp"
#include "spatial/lanes.hpp"
#include "spatial/records.hpp"
#include "spatial/value_lanes.hpp"
#include "spatial/wide_lanes.hpp"

/// Values of a group's nodes side by side: between the nodes and the lanes, and between the lanes
/// of one group and another's.
namespace metapod::internal {

using Spatial::both_halves;
using Spatial::broadcast;
using Spatial::floats_of;
using Spatial::half_of;
using Spatial::OnLanes;
using Spatial::side_by_side;

/// One value a group, a lane a node; group 0 holds the root's in every lane. S may be wide: then
/// each half has a lane a node.
template <class Model, class T, class S = Spatial::Lanes>
using PerGroup = std::array<Spatial::Stored<OnLanes<T, S>>, nb_groups<Model>>;

template <class Model, std::size_t g, std::size_t lane>
using NodeId = std::integral_constant<int, group<Model, g>.ids[lane]>;

/// f(id) of the group's nodes, in an array; the ids are compile-time constants.
template <class Model, std::size_t g, class F>
ORVEK23_INLINE constexpr auto for_nodes(F f) {
  using Result = decltype(f(NodeId<Model, g, 0>{}));
  return [&]<std::size_t... lane>(std::index_sequence<lane...>) ORVEK23_INLINE_LAMBDA {
    return std::array<Result, sizeof...(lane)>{f(NodeId<Model, g, lane>{})...};
  }
  (std::make_index_sequence<group<Model, g>.size>{});
}

/// The values that of(id) refers to, of the group's nodes.
template <class Model, std::size_t g, class Of>
ORVEK23_INLINE auto load(Of of) {
  using T = std::remove_cvref_t<decltype(of(NodeId<Model, g, 0>{}))>;
  const auto records = for_nodes<Model, g>(
      [&](auto id) ORVEK23_INLINE_LAMBDA { return floats_of(std::as_const(of(id))); });
  return Spatial::from_components<OnLanes<T>>(
      Spatial::load_lanes<Spatial::Components<T>::size>(records));
}
template <class Model, std::size_t g, class T, class Of>
ORVEK23_INLINE void store(const T& value, Of of) {
  const auto records =
      for_nodes<Model, g>([&](auto id) ORVEK23_INLINE_LAMBDA { return floats_of(of(id)); });
  Spatial::store_lanes(Spatial::components(value), records);
}

/// The inertias of the group's bodies, in both halves.
template <class Model, std::size_t g, class Wide>
ORVEK23_INLINE OnLanes<Spatial::Inertia, Wide> load_inertias() {
  const auto records =
      for_nodes<Model, g>([](auto id) { return floats_of(std::as_const(Model::inertias[id])); });
  return Spatial::from_components<OnLanes<Spatial::Inertia, Wide>>(
      Spatial::load_lanes<10, Wide>(Spatial::twice(records)));
}

/// Entries of x, one a coordinate, that belong to the group's nodes; 0 in other lanes.
template <class Model, std::size_t g, class Vector>
ORVEK23_INLINE Spatial::Lanes coordinates(const Vector& x) {
  std::array<float, Spatial::nb_lanes> e{};
  Spatial::unrolled<group<Model, g>.size>([&](auto lane) ORVEK23_INLINE_LAMBDA {
    e[lane] = x[NodeOf<Model, group<Model, g>.ids[lane]>::first_dof];
  });
  return Spatial::Lanes{e[0], e[1], e[2], e[3]};
}

/// Lane k of the result is lane places[k].lane of group places[k].group, or -0 if that is nowhere:
/// adding -0 changes nothing.
template <const Places& places, class Values>
ORVEK23_INLINE auto gathered(const Values& values) {
  using L = typename Values::value_type::Value;
  using S = typename Spatial::Components<L>::Scalar;
  constexpr Place a = places[0], b = places[1], c = places[2], d = places[3];
  constexpr Place other = b.group != a.group ? b : c.group != a.group ? c : d;
  constexpr bool two_groups = (b.group == a.group || b.group == other.group) &&
                              (c.group == a.group || c.group == other.group) &&
                              (d.group == a.group || d.group == other.group);
  Spatial::ComponentArray<L> e;
  Spatial::unrolled<e.size()>([&](auto k) ORVEK23_INLINE_LAMBDA {
    const auto from = [&](const Place& p) ORVEK23_INLINE_LAMBDA {
      return p.group == nowhere ? -S{} : values[p.group].components()[k];
    };
    if constexpr (two_groups) {
      constexpr int la = a.lane, lb = b.lane + (b.group == a.group ? 0 : 4),
                    lc = c.lane + (c.group == a.group ? 0 : 4),
                    ld = d.lane + (d.group == a.group ? 0 : 4);
      e[k] = Spatial::shuffled<la, lb, lc, ld>(from(a), from(other));
    } else {
      constexpr int la = a.lane, lb = b.lane + 4, lc = c.lane, ld = d.lane + 4;
      const auto low = Spatial::shuffled<la, lb, la, lb>(from(a), from(b));
      const auto high = Spatial::shuffled<lc, ld, lc, ld>(from(c), from(d));
      e[k] = Spatial::shuffled<0, 1, 4, 5>(low, high);
    }
  });
  return Spatial::from_components<L>(e);
}

/// What the parents of the group's nodes have in values.
template <class Model, std::size_t g, class Values>
ORVEK23_INLINE auto of_parents(const Values& values) {
  return gathered<parent_places<Model, g>>(values);
}

/// The same in memory: where it stands if that is the parents' group as it is, else in scratch.
template <class Model, std::size_t g, class Values>
ORVEK23_INLINE const auto& of_parents(const Values& values, typename Values::value_type& scratch) {
  constexpr Places places = parent_places<Model, g>;
  if constexpr (is_group(places)) {
    return values[places[0].group];
  } else {
    scratch = of_parents<Model, g>(values);
    return scratch;
  }
}

/// value + what the children of the group's nodes have in values, children in ascending order.
template <class Model, std::size_t g, std::size_t n = 0, class L, class Values>
ORVEK23_INLINE L plus_children(const L& value, const Values& values) {
  if constexpr (is_anywhere(child_places<Model, g, n>)) {
    return plus_children<Model, g, n + 1>(value + gathered<child_places<Model, g, n>>(values),
                                          values);
  } else {
    return value;
  }
}

/// The same for the root, which is one value and not lanes: summed four floats at a time.
template <class Model, class T, class Values>
ORVEK23_INLINE T plus_root_children(const T& value, const Values& values) {
  constexpr std::size_t n = Spatial::Components<T>::size, nb_rows = (n + 3) / 4;
  std::array<std::array<Spatial::Lanes, nb_rows>, Model::nb_bodies> of_node;
  Spatial::unrolled<nb_groups<Model> - 1>([&](auto k) ORVEK23_INLINE_LAMBDA {
    std::array<Spatial::Lanes, 4 * nb_rows> padded;
    Spatial::unrolled<4 * nb_rows>([&](auto i) ORVEK23_INLINE_LAMBDA {
      padded[i] = values[k + 1].components()[i < n ? i : 0];
    });
    Spatial::store_lanes(padded,
                         for_nodes<Model, k + 1>([&](auto id) { return floats_of(of_node[id]); }));
  });
  T sum;
  Spatial::unrolled<nb_rows>([&](auto row) ORVEK23_INLINE_LAMBDA {
    constexpr std::size_t begin = 4 * row, width = begin + 4 <= n ? 4 : n - begin;
    Spatial::Lanes x = Spatial::load_first<width>(floats_of(value) + begin);
    [&]<int... child>(std::integer_sequence<int, child...>) ORVEK23_INLINE_LAMBDA {
      ((x = x + of_node[child][row]), ...);
    }
    (typename NodeOf<Model, 0>::children{});
    Spatial::store_first<width>(floats_of(sum) + begin, x);
  });
  return sum;
}

}  // namespace metapod::internal
