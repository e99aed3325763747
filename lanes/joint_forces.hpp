#pragma once

#include <array>
#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

#include "algorithms/traversal.hpp"
#include "lanes/chains.hpp"
#include "lanes/groups.hpp"
#include "lanes/lanes.hpp"
#include "lanes/state.hpp"
#include "lanes/values.hpp"
#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/motion_subspace.hpp"

/// The columns F_i = Ic_i S_i of algorithms/crba.hpp and their way up to the root. Where the
/// textbook walks from each joint to the root, here the columns of up to four joints of a chain go
/// side by side, and one step moves those of all joints beyond a body. Two chains that are alike go
/// up together, one a half of wide lanes.
namespace metapod::lanes {

/// The joints of bodies first .. last of a chain, or of two alike: body n is in lane n - last + 3,
/// so lanes before that of `first` are not used.
template <class Model, class Chain, int last_>
struct JointBlock {
  static constexpr int last = last_, first = last < 3 ? 0 : last - 3;
  using S = std::conditional_t<Chain::size == 2, Wide, Lanes>;
  using Force = OnLanes<Spatial::Force, S>;

  /// First coordinate of body n, in a half's chain.
  template <std::size_t half, int n>
  static constexpr std::size_t dof = NodeOf<Model, Chain::begins[half] + n>::first_dof;
  static constexpr std::size_t lane(int n) { return static_cast<std::size_t>(n - last + 3); }
  /// The lanes of joints, a bit each.
  static constexpr unsigned used = (0xfu << (first - last + 3) & 0xf) * (is_wide<S> ? 0x11 : 1);

  /// Where a half's bodies stand in their groups.
  template <std::size_t half>
  static constexpr Places places = [] {
    Places p{};
    for (std::size_t k = 0; k < nb_lanes; ++k) {
      const int n = static_cast<int>(k) + last - 3;
      p[k] = n < first ? Place{anywhere, 0}
                       : schedule<Model>.places[static_cast<std::size_t>(Chain::begins[half] + n)];
    }
    return p;
  }();

  Stored<Force> F;

  /// F_i = Ic_i S_i
  explicit JointBlock(const PerGroup<Model, Spatial::Inertia>& Ic) {
    F = in_halves([&](auto half) {
      return gathered<places<half>>(Ic) * broadcast(Spatial::ConstraintMotionAxisZ{});
    });
  }

  /// F = jXc* F for the joints from body c on; the others are not on the way yet.
  template <int c, class Transform>
  void carry(const Transform& jXc) {
    constexpr int from = c < first ? 0 : static_cast<int>(lane(c));
    const auto own = F.components(), carried = components(jXc.applyInv(*F));
    unrolled<6>([&](auto k) {
      constexpr auto of = [](int l) { return l < from ? l : l + 4; };
      F.components()[k] = shuffled<of(0), of(1), of(2), of(3)>(own[k], carried[k]);
    });
  }

 private:
  template <class F>
  static auto in_halves(F f) {
    constexpr std::integral_constant<std::size_t, 0> low;
    if constexpr (Chain::size == 1) {
      return f(low);
    } else {
      return side_by_side(f(low), f(std::integral_constant<std::size_t, 1>{}));
    }
  }
};

/// sXp of body n of a chain in every lane; of two chains, in those of their half.
template <class S, class Chain, int n, class Model>
auto spread_transform(const JointTransforms<Model>& sXp) {
  constexpr Place place = schedule<Model>.places[Chain::begins[0] + n];
  const auto& low = sXp.template of_group<place.group>().components();
  using T = typename KindOfGroup<Model>::template Transform<place.group>;
  ComponentArray<Rebound<T, S>> e;
  if constexpr (Chain::size == 1) {
    unrolled<e.size()>([&](auto k) { e[k] = all_lanes<S>(low[k][place.lane]); });
  } else {
    constexpr Place other = schedule<Model>.places[Chain::begins[1] + n];
    const auto& high = sXp.template of_group<other.group>().components();
    unrolled<e.size()>([&](auto k) {
      e[k] = low_and_high(all_lanes<S>(low[k][place.lane]), all_lanes<S>(high[k][other.lane]));
    });
  }
  return from_components<Rebound<T, S>>(e);
}

/// The values of a block's joints, a column each, to where column(k) says for coordinate k.
template <class Joints, class S, std::size_t n, class Column>
void store_joint_columns(const std::array<S, n>& values, Column column) {
  const auto of_half = [&](auto half) {
    constexpr std::size_t k = Joints::template dof<half, Joints::first>;
    std::array<float*, nb_lanes> records{};
    for (std::size_t lane = Joints::lane(Joints::first), i = 0; lane < nb_lanes; ++lane, ++i) {
      records[lane] = column(k + i);
    }
    return records;
  };
  constexpr std::integral_constant<std::size_t, 0> low;
  if constexpr (is_wide<S>) {
    store_lanes<Joints::used>(values, of_half(low),
                              of_half(std::integral_constant<std::size_t, 1>{}));
  } else {
    store_lanes<Joints::used>(values, of_half(low));
  }
}

/// The same for the root's coordinates: the linear ones in lanes 0 to 2 of the low half, the
/// angular ones in those of the high half.
template <std::size_t n, class Column>
void store_root_columns(const std::array<Wide, n>& values, Column column) {
  store_lanes<0x77>(values, std::array{column(0), column(1), column(2), column(2)},
                    std::array{column(3), column(4), column(5), column(5)});
}

/// Carries the columns of all joints to the root. For the blocks of every chain:
///   start(block)                       F_i stands in the joints' own frames
///   at_ancestor(block, from, ancestor) that of joints from body `from` on stands in the frame of
///                                      body `ancestor` of the chain
///   at_root(block)                     all stand in the root's frame
template <class Model, class Start, class AtAncestor, class AtRoot>
void carry_to_root(const JointTransforms<Model>& sXp, const PerGroup<Model, Spatial::Inertia>& Ic,
                   Start start, AtAncestor at_ancestor, AtRoot at_root) {
  for_chains<Model>([&](auto chain) {
    using Chain = decltype(chain);
    constexpr int last = Chain::length - 1;
    auto blocks = [&]<int... b>(std::integer_sequence<int, b...>) {
      return std::tuple(JointBlock<Model, Chain, last - 4 * b>(Ic)...);
    }
    (std::make_integer_sequence<int, last / 4 + 1>{});
    constexpr std::size_t nb_blocks = std::tuple_size_v<decltype(blocks)>;
    unrolled<nb_blocks>([&](auto b) { start(std::get<b>(blocks)); });
    unrolled<Chain::length>([&](auto k) {
      constexpr int c = last - static_cast<int>(k());
      using S = typename std::tuple_element_t<0, decltype(blocks)>::S;
      const auto X = spread_transform<S, Chain, c, Model>(sXp);
      unrolled<(last - c) / 4 + 1>([&](auto b) {
        auto& block = std::get<b>(blocks);
        constexpr int first = std::remove_reference_t<decltype(block)>::first;
        block.template carry<c>(X);
        if constexpr (c > 0) {
          constexpr int from = c < first ? first : c;
          at_ancestor(block, std::integral_constant<int, from>{},
                      std::integral_constant<int, c - 1>{});
        } else {
          at_root(block);
        }
      });
    });
  });
}

}  // namespace metapod::lanes
