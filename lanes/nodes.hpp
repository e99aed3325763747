#pragma once

#include <cstddef>

#include "algorithms/traversal.hpp"
#include "lanes/components.hpp"
#include "lanes/schedule.hpp"
#include "lanes/state.hpp"

namespace metapod::lanes {

/// sXp from the lanes to a model's nodes, for the passes that the lanes leave to them.
template <class Model>
void store_transforms(const State<Model>& state, Model& model) {
  unrolled<nb_groups<Model>>([&](auto g) {
    const auto& of_group = state.sXp.template of_group<g>().components();
    unrolled<nb_lanes>([&](auto lane) {
      constexpr int id = group<Model, g>[lane];
      if constexpr (id != nobody) {
        using T = decltype(NodeOf<Model, id>::sXp);
        ComponentArray<T> e;
        for (std::size_t k = 0; k < e.size(); ++k) e[k] = of_group[k][lane()];
        node<id>(model).sXp = from_components<T>(e);
      }
    });
  });
}

}  // namespace metapod::lanes
