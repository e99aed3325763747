#pragma once

#include <array>
#include <cstddef>
#include <tuple>
#include <utility>

#include "algorithms/traversal.hpp"
#include "lanes/components.hpp"
#include "lanes/lanes.hpp"
#include "lanes/records.hpp"
#include "lanes/schedule.hpp"
#include "lanes/values.hpp"

/// Values of a group's nodes side by side, and what a group takes from other groups.
namespace metapod::lanes {

/// One value a group, a lane a node; group 0 holds the root's in every lane. S may be wide: then
/// each half has a lane a node.
template <class Model, class T, class S = Lanes>
using PerGroup = std::array<Stored<OnLanes<T, S>>, nb_groups<Model>>;

/// The lanes that have a node, a bit each.
template <class Model, std::size_t g>
inline constexpr unsigned used_lanes = [] {
  unsigned used = 0;
  for (std::size_t lane = 0; lane < nb_lanes; ++lane) {
    if (group<Model, g>[lane] != nobody) used |= 1u << lane;
  }
  return used;
}();

/// f(id) of the node in every lane, in an array; the ids are compile-time constants.
template <class Model, std::size_t g, class F>
constexpr auto of_lanes(F f) {
  return [&]<std::size_t... lane>(std::index_sequence<lane...>) {
    return std::array{f(std::integral_constant<int, node_in<Model, g>(lane)>{})...};
  }
  (std::make_index_sequence<nb_lanes>{});
}

/// Entries of x, one a coordinate, that belong to the group's nodes.
template <class Model, std::size_t g>
Lanes coordinates(const float* x) {
  const auto e = of_lanes<Model, g>([&](auto id) { return x[NodeOf<Model, id>::first_dof]; });
  return Lanes{e[0], e[1], e[2], e[3]};
}

/// Where lanes of a value come from: a lane of a group, nowhere, or it does not matter.
using Places = std::array<Place, nb_lanes>;
inline constexpr int nowhere = -1, anywhere = -2;

/// Where the parents of a group's nodes stand.
template <class Model, std::size_t g>
inline constexpr Places parent_places = [] {
  Places places{};
  for (std::size_t lane = 0; lane < nb_lanes; ++lane) {
    const int id = group<Model, g>[lane];
    places[lane] = {anywhere, 0};
    if (id == nobody) continue;
    const auto parent = static_cast<std::size_t>(Model::parents[static_cast<std::size_t>(id)]);
    places[lane] = schedule<Model>.places[parent];
    if (parent == 0) places[lane].lane = static_cast<int>(lane);  // the root stands in every lane
  }
  return places;
}();

/// Where the n-th children of a group's nodes stand.
template <class Model, std::size_t g, std::size_t n>
inline constexpr Places child_places = [] {
  Places places{};
  for (std::size_t lane = 0; lane < nb_lanes; ++lane) {
    const int id = group<Model, g>[lane];
    places[lane] = {id == nobody ? anywhere : nowhere, 0};
    std::size_t seen = 0;
    for (std::size_t k = 1; k < Model::nb_bodies && id != nobody; ++k) {
      if (Model::parents[k] == id && seen++ == n) places[lane] = schedule<Model>.places[k];
    }
  }
  return places;
}();

namespace internal {

/// The first lane, from lane `from` on, whose group no lane before it has; or nobody.
constexpr int next_source(const Places& places, std::size_t from) {
  for (std::size_t lane = from; lane < nb_lanes; ++lane) {
    bool is_new = places[lane].group != anywhere;
    for (std::size_t k = 0; k < lane; ++k) is_new &= places[k].group != places[lane].group;
    if (is_new) return static_cast<int>(lane);
  }
  return nobody;
}

/// Which lane of y (from 4 on) or x a lane takes, if y is the group's value and x what came before.
constexpr int taken(const Place& p, int group, int lane) {
  return p.group == group ? p.lane + static_cast<int>(nb_lanes) : lane;
}

/// Lanes of x, but those that stand in `group` from y.
template <const Places& places, int group, class S>
S with(const S& x, const S& y) {
  return shuffled<taken(places[0], group, 0), taken(places[1], group, 1),
                  taken(places[2], group, 2), taken(places[3], group, 3)>(x, y);
}

template <const Places& places, int first, int second, class S>
S from_two(const S& x, const S& y) {
  constexpr auto lane = [](const Place& p) {
    return p.group == first ? p.lane : p.group == second ? p.lane + 4 : -1;
  };
  return shuffled<lane(places[0]), lane(places[1]), lane(places[2]), lane(places[3])>(x, y);
}

/// One component: `of(group)` is its value in a group.
template <const Places& places, class S, std::size_t lane, class Of>
S with_rest(const S& x, Of of) {
  constexpr int next = next_source(places, lane);
  if constexpr (next == nobody) {
    return x;
  } else {
    constexpr int group = places[static_cast<std::size_t>(next)].group;
    return with_rest<places, S, static_cast<std::size_t>(next) + 1>(
        with<places, group, S>(x, of(group)), of);
  }
}
template <const Places& places, class S, class Of>
S gathered_component(Of of) {
  constexpr int a = next_source(places, 0);
  static_assert(a != nobody);
  constexpr int first = places[static_cast<std::size_t>(a)].group;
  constexpr int b = next_source(places, static_cast<std::size_t>(a) + 1);
  if constexpr (b == nobody) {
    const S x = of(first);
    return from_two<places, first, first, S>(x, x);
  } else {
    constexpr int second = places[static_cast<std::size_t>(b)].group;
    return with_rest<places, S, static_cast<std::size_t>(b) + 1>(
        from_two<places, first, second, S>(of(first), of(second)), of);
  }
}

/// Whether every lane stays where it is, in one group.
constexpr bool is_group(const Places& places) {
  const int a = next_source(places, 0);
  if (a == nobody || next_source(places, static_cast<std::size_t>(a) + 1) != nobody) return false;
  for (std::size_t lane = 0; lane < nb_lanes; ++lane) {
    const Place& p = places[lane];
    if (p.group != anywhere && (p.group < 0 || p.lane != static_cast<int>(lane))) return false;
  }
  return true;
}

}  // namespace internal

/// Lane k of the result is lane places[k].lane of group places[k].group, or -0 if that is nowhere:
/// adding -0 changes nothing.
template <const Places& places, class Values>
auto gathered(const Values& values) {
  using L = typename Values::value_type::Value;
  using S = typename Components<L>::Scalar;
  ComponentArray<L> e;
  unrolled<e.size()>([&](auto k) {
    e[k] = internal::gathered_component<places, S>([&](int group) {
      return group == nowhere ? -S{} : values[static_cast<std::size_t>(group)].components()[k];
    });
  });
  return from_components<L>(e);
}

/// What the parents of the group's nodes have in values: where it stands if no lane moves, else in
/// scratch.
template <class Model, std::size_t g, class Values>
const auto& of_parents(const Values& values, typename Values::value_type& scratch) {
  constexpr const Places& places = parent_places<Model, g>;
  if constexpr (internal::is_group(places)) {
    return values[static_cast<std::size_t>(
        places[static_cast<std::size_t>(internal::next_source(places, 0))].group)];
  } else {
    scratch = gathered<parent_places<Model, g>>(values);
    return scratch;
  }
}

/// value + what the children of the group's nodes have in values, children in ascending order.
template <class Model, std::size_t g, std::size_t n = 0, class L, class Values>
L plus_children(const L& value, const Values& values) {
  constexpr bool any = [] {
    for (const Place& p : child_places<Model, g, n>) {
      if (p.group >= 0) return true;
    }
    return false;
  }();
  if constexpr (any) {
    return plus_children<Model, g, n + 1>(value + gathered<child_places<Model, g, n>>(values),
                                          values);
  } else {
    return value;
  }
}

/// The same for the root, which is one value and not lanes: summed four floats at a time.
template <class Model, class T, class Values>
T plus_root_children(const T& value, const Values& values) {
  constexpr std::size_t n = Components<T>::size, nb_rows = (n + 3) / 4;
  const auto own = components(value);
  std::array<float, n> sum;
  unrolled<nb_rows>([&](auto row) {
    const auto at = [&](std::size_t k) { return 4 * row + k < n ? 4 * row + k : 0; };
    Lanes x{own[at(0)], own[at(1)], own[at(2)], own[at(3)]};
    [&]<int... child>(std::integer_sequence<int, child...>) {
      [[maybe_unused]] const auto add = [&](auto id) {
        constexpr Place place = schedule<Model>.places[static_cast<std::size_t>(id())];
        const auto& of_group = values[static_cast<std::size_t>(place.group)].components();
        x = x + transposed<Lanes>(of_group[at(0)], of_group[at(1)], of_group[at(2)],
                                  of_group[at(3)])[static_cast<std::size_t>(place.lane)];
      };
      (add(std::integral_constant<int, child>{}), ...);
    }
    (typename NodeOf<Model, 0>::children{});
    unrolled<4>([&](auto k) {
      if constexpr (4 * row + k < n) sum[4 * row + k] = x[k()];
    });
  });
  return from_components<T>(sum);
}

/// One value a group, each of the type that its kind of nodes has: Of<g>.
template <class Model, template <std::size_t> class Of>
class ByKind {
 public:
  template <std::size_t g>
  Stored<Of<g>>& of_group() {
    return std::get<g>(values_);
  }
  template <std::size_t g>
  const Stored<Of<g>>& of_group() const {
    return std::get<g>(values_);
  }

 private:
  template <std::size_t... g>
  static std::tuple<Stored<Of<g>>...> all(std::index_sequence<g...>);

  decltype(all(std::make_index_sequence<nb_groups<Model>>{})) values_;
};

}  // namespace metapod::lanes
