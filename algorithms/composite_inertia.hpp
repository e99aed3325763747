#pragma once

#include <cstddef>

#include "algorithms/lane_groups.hpp"
#include "algorithms/lanes.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/inertia.hpp"
#include "spatial/lanes.hpp"

namespace metapod::internal {

/// Composite inertias of all subtrees, on lanes and in the nodes' Iic.
///
/// Body i (Featherstone 2008, table 6.2):
///   discover   Ic_i = I_i
///   finish     Ic_i = Ic_i + sum over children c of  iXc* Ic_c cXi
///
/// One body may count as massless: Ic_i = 0 if i is excluded_id.
template <class Model>
struct CompositeInertias {
  using Inertia = Spatial::Inertia;

  const JointTransforms<Model>& sXp;
  PerGroup<Model, Inertia> Ic, Ic_in_parent;

  template <class M, std::size_t g>
  struct Visitor {
    ORVEK23_INLINE static void finish(M& model, CompositeInertias& state, const int& excluded_id) {
      const auto own =
          load<M, g>([&](auto id) -> const auto& { return own_inertia<id>(excluded_id); });
      const auto Ic = plus_children<M, g, Inertia>(own, state.Ic_in_parent);
      state.Ic.set(g, Ic);
      state.Ic_in_parent.set(g, state.sXp.template get<g>().applyInv(Ic));
      store<M, g>(
          Ic, [&](auto id) -> auto& { return node<id>(model).Iic; });
    }
  };

  ORVEK23_INLINE void run(Model& model, const int& excluded_id) {
    inward_traversal<Visitor, Model>::run(model, *this, excluded_id);
    node<0>(model).Iic =
        plus_root_children<Model, Inertia>(own_inertia<0>(excluded_id), Ic_in_parent);
  }

 private:
  static constexpr Inertia massless{};

  template <int id>
  ORVEK23_INLINE static const Inertia& own_inertia(int excluded_id) {
    return id == excluded_id ? massless : Model::inertias[id];
  }
};

}  // namespace metapod::internal
