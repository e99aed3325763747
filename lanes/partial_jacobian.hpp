#pragma once

#include <array>
#include <cstddef>

#include "lanes/composite_inertia.hpp"
#include "lanes/joint_forces.hpp"
#include "lanes/mass_matrix.hpp"
#include "lanes/records.hpp"
#include "lanes/state.hpp"

/// Linear momentum of all bodies but one per unit rate of each coordinate, in the world: the first
/// three rows of the matrix of algorithms/partial_crba.hpp, turned into world axes.
namespace metapod::lanes {

namespace internal {

/// R rows, with R = Eᵀ of the root's sXp. The sums begin and end as those of a general matrix
/// product that is added to zero.
template <class S>
std::array<S, 3> in_world(const OnLanes<Spatial::TransformT<Spatial::RotationMatrix>>& root,
                          const std::array<S, 6>& rows) {
  std::array<S, 3> turned;
  unrolled<3>([&](auto i) {
    const auto entry = [&](int k) {
      const Lanes e = root.E()(k, i);
      if constexpr (is_wide<S>) {
        return joined(e, e);
      } else {
        return e;
      }
    };
    turned[i] = all_lanes<S>(0) + (entry(0) * rows[0] + entry(1) * rows[1] + entry(2) * rows[2]);
  });
  return turned;
}

}  // namespace internal

/// For models made of chains.
///   J   3 rows, a column a coordinate; all are written, kg
template <class Model>
ORVEK23_WHOLE void partial_jacobian(const State<Model>& state, const InertiaTable<Model>& inertias,
                                    int excluded_id, float* J) {
  PerGroup<Model, Spatial::Inertia> Ic;
  const Spatial::Inertia own_root = excluded_id == 0 ? Spatial::Inertia{} : inertias.root();
  const Spatial::Inertia Ic_0 = composite_inertias<Model>(
      state.sXp, own_root,
      [&](auto g) { return internal::own_inertias<Model, g>(inertias, excluded_id); }, Ic);

  const auto root = *state.sXp.template of_group<0>();
  const auto nothing = [](const auto&...) {};
  const auto column = [J](std::size_t k) { return J + 3 * k; };
  carry_to_root<Model>(state.sXp, Ic, nothing, nothing, [&](const auto& block) {
    using Joints = std::remove_cvref_t<decltype(block)>;
    store_joint_columns<Joints>(internal::in_world(root, internal::root_rows(*block.F)), column);
  });
  store_root_columns(internal::in_world(root, internal::root_rows(internal::root_force(Ic_0))),
                     column);
}

}  // namespace metapod::lanes
