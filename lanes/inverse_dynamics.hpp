#pragma once

#include <array>
#include <cstddef>

#include "algorithms/rnea.hpp"
#include "lanes/groups.hpp"
#include "lanes/joint_calculation.hpp"
#include "lanes/lanes.hpp"
#include "lanes/state.hpp"
#include "lanes/values.hpp"
#include "model/gravity.hpp"

/// Joint positions, then the recursion of algorithms/rnea.hpp from group to group, for the joints'
/// torques: the root's wrench, which no operation hands out, is left out.
///
/// Velocity and acceleration take the same transform and the same inertia: they go side by side, v
/// in the low half of wide lanes and a in the high one.
namespace metapod::lanes {

namespace internal {

using VandA = OnLanes<Spatial::Motion, Wide>;

/// The motion of the root, in every lane.
template <class Model>
VandA root_motion(const State<Model>& state, const float* dq, const float* ddq) {
  std::array<Wide, 6> rates;
  for (std::size_t j = 0; j < rates.size(); ++j) {
    rates[j] = joined(all_lanes<Lanes>(dq[j]), all_lanes<Lanes>(ddq[j]));
  }
  OnLanes<Spatial::Motion, Wide> S_rates =
      rates[0] * broadcast<Wide>(Spatial::ConstraintMotionFreeFlyerBody{}.column(0));
  unrolled<5>([&](auto j) {
    S_rates = S_rates + rates[j + 1] *
                            broadcast<Wide>(Spatial::ConstraintMotionFreeFlyerBody{}.column(j + 1));
  });
  const auto vj = half_of<0>(S_rates);
  const auto X_a = *state.sXp.template of_group<0>() * broadcast(minus_g);
  const OnLanes<Spatial::Motion> cj;
  return side_by_side(vj, metapod::internal::acceleration(X_a, half_of<1>(S_rates), cj, vj, vj));
}

/// One group: iXp and inertia in both halves; the motion of its nodes from that of their parents,
/// and the force of it.
template <class Transform>
OnLanes<Spatial::Force> step_outward(const Transform& iXp, const VandA& va_p,
                                     const OnLanes<Spatial::Inertia, Wide>& inertia,
                                     const Lanes& dq, const Lanes& ddq,
                                     const OnLanes<Spatial::Force>& fext, Stored<VandA>& va_i) {
  const OnLanes<Spatial::Motion> vj({Lanes{}, Lanes{}, dq}, {}), cj;
  const auto S_ddq = broadcast(Spatial::ConstraintMotionAxisZ{}) * ddq;

  const auto X_va = iXp * va_p;
  const auto v = metapod::internal::velocity(half_of<0>(X_va), vj);
  const auto a = metapod::internal::acceleration(half_of<1>(X_va), S_ddq, cj, v, vj);
  const auto va = side_by_side(v, a);
  const auto I_va = inertia * va;
  va_i = va;
  return metapod::internal::body_force(v, half_of<0>(I_va), half_of<1>(I_va), fext);
}

}  // namespace internal

///   q, dq, ddq  one entry a coordinate
///   torques     the joints' entries are written, N m
template <class Model>
ORVEK23_WHOLE void inverse_dynamics(State<Model>& state, const InertiaTable<Model>& inertias,
                                    const float* q, const float* dq, const float* ddq,
                                    float* torques) {
  joint_transforms(state, q);

  PerGroup<Model, Spatial::Motion, Wide> va;
  PerGroup<Model, Spatial::Force> f, f_in_parent;
  va[0] = internal::root_motion(state, dq, ddq);
  outward<Model>([&](auto g) {
    Stored<internal::VandA> scratch;
    f[g] = internal::step_outward(
        state.sXp.template of_group<g>().in_both_halves(), *of_parents<Model, g>(va, scratch),
        inertias.template of_group_in_both_halves<g>(), coordinates<Model, g>(dq),
        coordinates<Model, g>(ddq), *state.fext[g], va[g]);
  });
  inward<Model>([&](auto g) {
    const auto f_g = plus_children<Model, g>(*f[g], f_in_parent);
    const Lanes tau = broadcast(Spatial::ConstraintMotionAxisZ{}).transposed_times(f_g);
    unrolled<nb_lanes>([&](auto lane) {
      constexpr int id = group<Model, g>[lane];
      if constexpr (id != nobody) torques[NodeOf<Model, id>::first_dof] = tau[lane()];
    });
    f_in_parent[g] = (*state.sXp.template of_group<g>()).applyInv(f_g);
  });
}

}  // namespace metapod::lanes
