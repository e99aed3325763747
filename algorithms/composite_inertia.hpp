#pragma once

#include <cstddef>

#include "algorithms/joint_transforms.hpp"
#include "algorithms/lane_groups.hpp"
#include "algorithms/lanes.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/inertia.hpp"
#include "spatial/lanes.hpp"

namespace metapod::internal {

/// Composite inertias of all subtrees, on lanes and in the nodes' Iic.
///
/// Body i (Featherstone 2008, table 6.2):
///   Ic_i = I_i + sum over children c of iXc* Ic_c cXi
///
/// One body may count as massless: Ic_i = 0 if i is excluded_id.
template <class Model, class Path>
struct CompositeInertias {
  using Inertia = Spatial::Inertia;

  const JointTransforms<Model>& sXp;
  PerGroup<Model, Inertia> Ic, Ic_in_parent;

  template <class M, std::size_t g>
  struct Visitor {
    ORVEK23_INLINE static void finish(M& model, CompositeInertias& state, const int& excluded_id) {
      const auto own =
          load<M, g>([&](auto id) -> const auto& { return own_inertia<id>(excluded_id); });
      const auto Ic = plus_children<M, g>(own, state.Ic_in_parent);
      state.Ic[g] = Ic;
      using Transform = typename JointTransforms<M>::template Value<g>;
      Path::template Function<&carry_to_parent<Transform>>::call(
          state.sXp.template of_group<g>(), state.Ic[g], state.Ic_in_parent[g]);
      store<M, g>(
          Ic, [&](auto id) -> auto& { return node<id>(model).Iic; });
    }
  };

  ORVEK23_INLINE void run(Model& model, const int& excluded_id) {
    inward_traversal<Visitor, Model>::run(model, *this, excluded_id);
    node<0>(model).Iic = plus_root_children<Model>(own_inertia<0>(excluded_id), Ic_in_parent);
  }

 private:
  static constexpr Inertia massless{};

  /// In memory and not inlined: the groups of a kind share it, which is less code to fetch (5 % of
  /// the mass matrix).
  template <class Transform>
  static void carry_to_parent(const Spatial::Stored<Transform>& sXp,
                              const Spatial::Stored<OnLanes<Inertia>>& Ic,
                              Spatial::Stored<OnLanes<Inertia>>& in_parent) {
    in_parent = (*sXp).applyInv(*Ic);
  }

  template <int id>
  ORVEK23_INLINE static const Inertia& own_inertia(int excluded_id) {
    return id == excluded_id ? massless : Model::inertias[id];
  }
};

}  // namespace metapod::internal
