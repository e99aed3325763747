#pragma once

#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "algorithms/lane_groups.hpp"
#include "algorithms/lanes.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/components.hpp"
#include "spatial/records.hpp"

/// The chains of bodies that hang from a Model's root, and which of them are computed side by side.
/// Derived from the model's tree at compile time. Legs and arms by twos: 18 % less time for the
/// mass matrix.
namespace metapod::internal {

/// One past the last node of a subtree: ids are a depth-first pre-order.
template <class Model>
constexpr int subtree_end(int id) {
  int end = id + 1;
  while (end < Model::nb_bodies && Model::parents[static_cast<std::size_t>(end)] >= id) ++end;
  return end;
}

/// One chain, or two alike: body n of chain k is node begins[k] + n.
template <int length_, int... begin>
struct Chains {
  static constexpr int length = length_;
  static constexpr std::array begins{begin...};
  static constexpr std::size_t size = sizeof...(begin);
};

/// What of(id) refers to, of body n of every chain: in all lanes, or in those of the chain's half.
template <class S, class Chains, int n, class Of>
ORVEK23_INLINE auto spread(Of of) {
  using T = std::remove_cvref_t<decltype(of(std::integral_constant<int, Chains::begins[0] + n>{}))>;
  using Value = Spatial::Rebound<T, S>;
  const auto records = [&]<std::size_t... k>(std::index_sequence<k...>) ORVEK23_INLINE_LAMBDA {
    return std::array{
        floats_of(std::as_const(of(std::integral_constant<int, Chains::begins[k] + n>{})))...};
  }
  (std::make_index_sequence<Chains::size>{});
  return Spatial::from_components<Value>(
      Spatial::spread_record<Spatial::Components<Value>::size, S>(records));
}

/// Each of n things with the first later one that is like it.
template <std::size_t n>
class Pairs {
 public:
  template <class Alike>
  constexpr explicit Pairs(Alike alike) {
    for (std::size_t a = 0; a < n; ++a) partners_[a] = n;
    for (std::size_t a = 0; a < n; ++a) {
      for (std::size_t b = a + 1; b < n; ++b) {
        if (partners_[a] == n && partners_[b] == n && alike(a, b)) {
          partners_[a] = b;
          partners_[b] = a;
        }
      }
    }
  }

  constexpr bool is_alone(std::size_t a) const { return partners_[a] == n; }
  constexpr bool leads(std::size_t a) const { return is_alone(a) || partners_[a] > a; }
  constexpr std::size_t partner(std::size_t a) const { return partners_[a]; }

 private:
  std::array<std::size_t, n> partners_{};
};

/// f(a, b) for all pairs, f(a) for what is alone; as compile-time numbers.
template <const auto& pairs, std::size_t n, class F>
ORVEK23_INLINE void for_pairs(F f) {
  Spatial::unrolled<n>([&](auto a) ORVEK23_INLINE_LAMBDA {
    if constexpr (pairs.is_alone(a)) {
      f(a);
    } else if constexpr (pairs.leads(a)) {
      f(a, std::integral_constant<std::size_t, pairs.partner(a)>{});
    }
  });
}

/// The root's children, which begin the chains.
template <class Model>
inline constexpr auto chain_begins = []<int... child>(std::integer_sequence<int, child...>) {
  return std::array{child...};
}
(typename NodeOf<Model, 0>::children{});

template <class Model>
inline constexpr auto chain_pairs = Pairs<chain_begins<Model>.size()>([](auto i, auto j) {
  constexpr auto about_z = []<std::size_t... id>(std::index_sequence<id...>) {
    return std::array{is_about_z<NodeOf<Model, static_cast<int>(id)>>...};
  }
  (std::make_index_sequence<Model::nb_bodies>{});
  const int a = chain_begins<Model>[i], b = chain_begins<Model>[j];
  const int length = subtree_end<Model>(a) - a;
  bool alike = subtree_end<Model>(b) - b == length;
  for (int n = 0; n < length && alike; ++n) {
    alike = about_z[static_cast<std::size_t>(a + n)] == about_z[static_cast<std::size_t>(b + n)];
  }
  return alike;
});

/// f(Chains<...>{}) for all chains, two at a time where two have nodes of the same kinds.
template <class Model, class F>
ORVEK23_INLINE void for_chains(F f) {
  static_assert(
      [] {
        for (int id = 1; id < Model::nb_bodies; ++id) {
          const int parent = Model::parents[static_cast<std::size_t>(id)];
          if (parent != 0 && parent != id - 1) return false;
        }
        return true;
      }(),
      "below the root no body has two children");
  constexpr auto& begins = chain_begins<Model>;
  for_pairs<chain_pairs<Model>, begins.size()>([&](auto... i) ORVEK23_INLINE_LAMBDA {
    constexpr int first = std::array{begins[i]...}[0];
    f(Chains<subtree_end<Model>(first) - first, begins[i]...>{});
  });
}

}  // namespace metapod::internal
