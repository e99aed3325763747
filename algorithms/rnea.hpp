#pragma once

#include <cstddef>

#include "algorithms/jcalc.hpp"
#include "algorithms/lane_groups.hpp"
#include "algorithms/lanes.hpp"
#include "algorithms/traversal.hpp"
#include "model/gravity.hpp"
#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/lanes.hpp"
#include "spatial/motion.hpp"
#include "spatial/motion_subspace.hpp"

namespace metapod {

/// Inverse dynamics by the recursive Newton-Euler algorithm. The second argument would ask for the
/// joint calculation first; only the form that finds it done exists.
template <class Model, bool with_jcalc>
struct rnea;

/// Body i with parent p (Featherstone 2008, table 5.1; external forces in body coordinates):
///   discover, root to leaves    v_i = iXp v_p + vj_i
///                               a_i = iXp a_p + S_i ddq_i + cj_i + v_i x vj_i
///                               f_i = v_i x* (I_i v_i) + I_i a_i - fext_i
///   finish, leaves to root      f_i = f_i + sum over children c of cXi* f_c
///                               tau_i = S_iᵀ f_i
/// The root's parent is the world: at rest, and accelerated upwards in place of gravity.
///
/// Reads S, the root's vj and cj (the joints' cj is zero) and Model::inertias; writes vi, ai and f.
///   sXp      from jcalc<Model>::run(model, q, dq, sXp), with the same dq
///   dq, ddq  one entry a coordinate: rad/s and rad/s², the root's m/s and m/s² first
///   fext     one force a body, in its frame
///   torques  every entry written: N m; the root's wrench, force first, in its frame
template <class Model>
struct rnea<Model, false> {
  using Motion = Spatial::Motion;
  using Force = Spatial::Force;
  using Lanes = Spatial::Lanes;

  struct State {
    const internal::JointTransforms<Model>& sXp;
    internal::PerGroup<Model, Motion> v, a;
    internal::PerGroup<Model, Spatial::ConstraintMotionAxisZ> S;
    internal::PerGroup<Model, Force> f, f_in_parent;
  };

  template <class M, std::size_t g, class Vector>
  ORVEK23_INLINE static Lanes rates(const Vector& x) {
    const auto e = internal::coordinates<M, g>(x);
    return Lanes{e[0], e[1], e[2], e[3]};
  }

  /// Force of a body's own motion, less the external force.
  template <class M, class I, class F>
  ORVEK23_INLINE static F own_force(const M& v, const M& a, const I& inertia, const F& fext) {
    return cross(v, inertia * v) + inertia * a - fext;
  }

  template <class M, std::size_t g>
  struct DftVisitor {
    template <class Vector, class Torques>
    ORVEK23_INLINE static void discover(M& model, State& state, const Vector& dq, const Vector& ddq,
                                        const Force* const& fext, Torques&) {
      using namespace internal;
      const auto X = state.sXp.template get<g>();
      const auto S = load<M, g>([&](auto id) -> const auto& { return node<id>(model).joint.S; });
      const OnLanes<Motion> vj({Lanes{}, Lanes{}, rates<M, g>(dq)}, {}), cj;

      const auto v = X * of_parents<M, g>(state.v) + vj;
      const auto a = X * of_parents<M, g>(state.a) + S * rates<M, g>(ddq) + cj + v.cross(vj);
      const auto fext_i = load<M, g>([&](auto id) -> const auto& { return fext[id]; });
      state.f.set(g, own_force(v, a, load_inertias<M, g>(), fext_i));

      store<M, g>(
          v, [&](auto id) -> auto& { return node<id>(model).vi; });
      store<M, g>(
          a, [&](auto id) -> auto& { return node<id>(model).ai; });
      state.v.set(g, v);
      state.a.set(g, a);
      state.S.set(g, S);
    }

    template <class Vector, class Torques>
    ORVEK23_INLINE static void finish(M& model, State& state, const Vector&, const Vector&,
                                      const Force* const&, Torques& torques) {
      using namespace internal;
      const auto f = plus_children<M, g, Force>(state.f[g], state.f_in_parent);
      const Lanes tau = state.S[g].transposed_times(f);
      std::size_t lane = 0;
      for_nodes<M, g>([&](auto id) ORVEK23_INLINE_LAMBDA {
        return torques[NodeOf<M, id>::first_dof] = tau[lane++];
      });
      state.f_in_parent.set(g, state.sXp.template get<g>().applyInv(f));
      store<M, g>(
          f, [&](auto id) -> auto& { return node<id>(model).joint.f; });
    }
  };

  template <class Vector, class Torques>
  ORVEK23_INLINE static void run(Model& model, const internal::JointTransforms<Model>& sXp,
                                 const Vector& dq, const Vector& ddq, const Force* fext,
                                 Torques& torques) {
    State state{sXp, {}, {}, {}, {}, {}};
    discover_root(model, state, ddq, fext);
    internal::outward_traversal<DftVisitor, Model>::run(model, state, dq, ddq, fext, torques);
    internal::inward_traversal<DftVisitor, Model>::run(model, state, dq, ddq, fext, torques);
    finish_root(model, state, torques);
  }

 private:
  template <class Vector>
  ORVEK23_INLINE static void discover_root(Model& model, State& state, const Vector& ddq,
                                           const Force* fext) {
    auto& i = node<0>(model);
    auto& joint = i.joint;
    i.vi = joint.vj;
    i.ai = i.sXp * minus_g + joint.S * internal::root_coordinates(ddq) + joint.cj +
           i.vi.cross(joint.vj);
    joint.f = own_force(i.vi, i.ai, Model::inertias[0], fext[0]);
    state.v.set(0, internal::broadcast(i.vi));
    state.a.set(0, internal::broadcast(i.ai));
  }

  template <class Torques>
  ORVEK23_INLINE static void finish_root(Model& model, State& state, Torques& torques) {
    auto& joint = node<0>(model).joint;
    joint.f = internal::plus_root_children<Model, Force>(joint.f, state.f_in_parent);
    const Spatial::RootCoordinates tau = joint.S.transposed_times(joint.f);
    for (std::size_t j = 0; j < tau.size(); ++j) torques[static_cast<int>(j)] = tau[j];
  }
};

}  // namespace metapod
