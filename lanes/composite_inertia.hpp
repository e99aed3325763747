#pragma once

#include <cstddef>
#include <cstdint>

#include "lanes/groups.hpp"
#include "lanes/inertia_table.hpp"
#include "lanes/state.hpp"
#include "lanes/values.hpp"
#include "spatial/inertia.hpp"

/// Composite inertias of all subtrees, from group to group: the lines Ic_i = I_i and
/// Ic_p = Ic_p + pXi* Ic_i iXp of algorithms/crba.hpp.
namespace metapod::lanes {

namespace internal {

/// I_i of a group's bodies, 0 for excluded_id.
template <class Model, std::size_t g>
OnLanes<Spatial::Inertia> own_inertias(const InertiaTable<Model>& inertias, int excluded_id) {
  auto e = components(inertias.template of_group<g>());
  const auto id = of_lanes<Model, g>([](auto n) { return n(); });
  const Ints kept = Ints{id[0], id[1], id[2], id[3]} != excluded_id;
  for (auto& x : e) x = bits_as<Lanes>(bits_as<Ints>(x) & kept);
  return from_components<OnLanes<Spatial::Inertia>>(e);
}

}  // namespace internal

/// Fills Ic of all groups but the root's, and returns the root's. `own(g)`: I_i of a group.
template <class Model, class Own>
Spatial::Inertia composite_inertias(const JointTransforms<Model>& sXp, const Spatial::Inertia& root,
                                    Own own, PerGroup<Model, Spatial::Inertia>& Ic) {
  PerGroup<Model, Spatial::Inertia> in_parent;
  inward<Model>([&](auto g) {
    const auto Ic_g = plus_children<Model, g>(own(g), in_parent);
    Ic[g] = Ic_g;
    in_parent[g] = (*sXp.template of_group<g>()).applyInv(Ic_g);
  });
  return plus_root_children<Model>(root, in_parent);
}

}  // namespace metapod::lanes
