#pragma once

#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "algorithms/traversal.hpp"
#include "lanes/schedule.hpp"

/// The chains of bodies that hang from a Model's root, and which of them are computed side by side.
/// Derived from the model's tree at compile time. Legs and arms by twos: 15 % less time for the
/// mass matrix.
namespace metapod::lanes {

/// Whether below the root no body has two children.
template <class Model>
inline constexpr bool is_made_of_chains = [] {
  for (int id = 1; id < Model::nb_bodies; ++id) {
    const int parent = Model::parents[static_cast<std::size_t>(id)];
    if (parent != 0 && parent != id - 1) return false;
  }
  return true;
}();

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

/// The root's children, which begin the chains.
template <class Model>
inline constexpr auto chain_begins = []<int... child>(std::integer_sequence<int, child...>) {
  return std::array<int, sizeof...(child)>{child...};
}
(typename NodeOf<Model, 0>::children{});

/// Whether two chains have nodes of the same kinds in the same order.
template <class Model>
constexpr bool are_alike(int a, int b) {
  constexpr auto about_z = []<std::size_t... id>(std::index_sequence<id...>) {
    return std::array{is_about_z<NodeOf<Model, static_cast<int>(id)>>...};
  }
  (std::make_index_sequence<Model::nb_bodies>{});
  const int end = subtree_end<Model>(a);
  if (subtree_end<Model>(b) - b != end - a) return false;
  for (; a < end; ++a, ++b) {
    if (about_z[static_cast<std::size_t>(a)] != about_z[static_cast<std::size_t>(b)]) return false;
  }
  return true;
}

/// For each chain the one that goes beside it, the first that is like it and still alone; or
/// itself.
template <class Model>
inline constexpr auto chain_partners = [] {
  constexpr auto& begins = chain_begins<Model>;
  std::array<std::size_t, begins.size()> partners{};
  for (std::size_t a = 0; a < begins.size(); ++a) partners[a] = a;
  for (std::size_t a = 0; a < begins.size(); ++a) {
    for (std::size_t b = a + 1; b < begins.size(); ++b) {
      if (partners[a] == a && partners[b] == b && are_alike<Model>(begins[a], begins[b])) {
        partners[a] = b;
        partners[b] = a;
      }
    }
  }
  return partners;
}();

/// f(Chains<...>{}) for all chains, two at a time where two are alike.
template <class Model, class F>
void for_chains(F f) {
  static_assert(is_made_of_chains<Model>);
  constexpr auto& begins = chain_begins<Model>;
  unrolled<begins.size()>([&](auto a) {
    constexpr std::size_t b = chain_partners<Model>[a];
    constexpr int begin = begins[a], length = subtree_end<Model>(begin) - begin;
    if constexpr (b == a) {
      f(Chains<length, begin>{});
    } else if constexpr (b > a) {
      f(Chains<length, begin, begins[b]>{});
    }
  });
}

}  // namespace metapod::lanes
