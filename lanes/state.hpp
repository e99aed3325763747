#pragma once

#include <cstddef>
#include <cstring>

#include "lanes/groups.hpp"
#include "lanes/inertia_table.hpp"
#include "lanes/schedule.hpp"
#include "spatial/force.hpp"
#include "spatial/rotation.hpp"
#include "spatial/transform.hpp"

namespace metapod::lanes {

/// sXp of every group's nodes, each in its kind; group 0 holds the root's in every lane.
template <class Model>
struct KindOfGroup {
  template <std::size_t g>
  using Transform = OnLanes<decltype(NodeLike<Model, g>::sXp)>;
};
template <class Model>
using JointTransforms = ByKind<Model, KindOfGroup<Model>::template Transform>;

/// What the fast form keeps of one robot between operations: what one pass leaves to the next, and
/// the external wrenches. Floats only, laid out alike for every instruction set.
template <class Model>
struct State {
  JointTransforms<Model> sXp;
  PerGroup<Model, Spatial::Force> fext;  ///< on each body, in its frame

  /// All zero, as a model's nodes are before the first joint calculation.
  State() {
    unrolled<nb_groups<Model>>([&](auto g) {
      for (auto& e : sXp.template of_group<g>().components()) e = Lanes{};
      for (auto& e : fext[g].components()) e = Lanes{};
    });
  }

  void set_fext(std::size_t i, const Spatial::Force& force) {
    const Place& place = schedule<Model>.places[i];
    const auto e = lanes::components(force);
    auto& rows = fext[static_cast<std::size_t>(place.group)].components();
    // Through memory: to set a lane of a vector, clang stores the whole of it, which must be there.
    for (std::size_t k = 0; k < e.size(); ++k) {
      std::memcpy(
          reinterpret_cast<char*>(&rows[k]) + sizeof(float) * static_cast<std::size_t>(place.lane),
          &e[k], sizeof(float));
    }
  }
};

}  // namespace metapod::lanes
