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
#include "spatial/paths.hpp"

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
  using LaneSubspace = internal::OnLanes<Spatial::ConstraintMotionAxisZ>;

  /// Velocity and acceleration take the same transform and the same inertia: side by side, v in the
  /// low half of wide lanes and a in the high one.
  template <class Path>
  struct State {
    using VandA = internal::OnLanes<Motion, typename Path::Wide>;
    using VandAArray = Spatial::ComponentArray<VandA>;

    const internal::JointTransforms<Model>& sXp;
    internal::PerGroup<Model, Motion, typename Path::Wide> va;
    internal::PerGroup<Model, Spatial::ConstraintMotionAxisZ> S;
    internal::PerGroup<Model, Force> f, f_in_parent;
  };

  template <class M, std::size_t g, class Vector>
  ORVEK23_INLINE static Lanes rates(const Vector& x) {
    const auto e = internal::coordinates<M, g>(x);
    return Lanes{e[0], e[1], e[2], e[3]};
  }

  /// What a group's nodes contribute.
  template <class Path>
  struct Own {
    Lanes dq, ddq;
    Spatial::ComponentArray<internal::OnLanes<Spatial::Inertia, typename Path::Wide>> inertia;
    Spatial::ComponentArray<internal::OnLanes<Force>> fext;
  };

  /// The step from parents to children, shared by all groups of a kind.
  template <class Path, class Transform>
  static void step_outward(const Lanes* X, const typename State<Path>::VandAArray& of_parent,
                           const Own<Path>& own, const Spatial::ComponentArray<LaneSubspace>& S_,
                           typename State<Path>::VandAArray& va_,
                           Spatial::ComponentArray<internal::OnLanes<Force>>& f) {
    using namespace internal;
    using Wide = typename Path::Wide;
    const auto S = Spatial::from_components<LaneSubspace>(S_);
    const OnLanes<Motion> vj({Lanes{}, Lanes{}, own.dq}, {}), cj;
    const auto X_va = both_halves<Wide>(Spatial::Components<Transform>::value(X)) *
                      Spatial::from_components<typename State<Path>::VandA>(of_parent);
    const auto v = half_of<0>(X_va) + vj;
    const auto a = half_of<1>(X_va) + S * own.ddq + cj + v.cross(vj);
    const auto va = joined<Wide>(v, a);
    const auto I_va = Spatial::from_components<OnLanes<Spatial::Inertia, Wide>>(own.inertia) * va;
    va_ = Spatial::components(va);
    f = Spatial::components(cross(v, half_of<0>(I_va)) + half_of<1>(I_va) -
                            Spatial::from_components<OnLanes<Force>>(own.fext));
  }

  template <class M, std::size_t g>
  struct DftVisitor {
    template <class Path, class Vector, class Torques>
    ORVEK23_INLINE static void discover(M& model, State<Path>& state, const Vector& dq,
                                        const Vector& ddq, const Force* const& fext, Torques&) {
      using namespace internal;
      using Transform = typename JointTransforms<M>::template Value<g>;
      state.S.set(g, load<M, g>([&](auto id) -> const auto& { return node<id>(model).joint.S; }));
      Own<Path> own;
      own.dq = rates<M, g>(dq);
      own.ddq = rates<M, g>(ddq);
      own.inertia = Spatial::components(load_inertias<M, g, typename Path::Wide>());
      own.fext = Spatial::components(load<M, g>([&](auto id) -> const auto& { return fext[id]; }));
      typename State<Path>::VandAArray scratch;
      Path::template Function<&step_outward<Path, Transform>>::call(
          state.sXp.at(g), of_parents<M, g>(state.va, scratch), own, state.S.at(g), state.va.at(g),
          state.f.at(g));

      const auto va = state.va[g];
      store<M, g>(
          half_of<0>(va), [&](auto id) -> auto& { return node<id>(model).vi; });
      store<M, g>(
          half_of<1>(va), [&](auto id) -> auto& { return node<id>(model).ai; });
    }

    template <class Path, class Vector, class Torques>
    ORVEK23_INLINE static void finish(M& model, State<Path>& state, const Vector&, const Vector&,
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

  template <class Path = Spatial::Baseline, class Vector, class Torques>
  ORVEK23_INLINE static void run(Model& model, const internal::JointTransforms<Model>& sXp,
                                 const Vector& dq, const Vector& ddq, const Force* fext,
                                 Torques& torques) {
    State<Path> state{sXp, {}, {}, {}, {}};
    discover_root(model, state, ddq, fext);
    internal::outward_traversal<DftVisitor, Model>::run(model, state, dq, ddq, fext, torques);
    internal::inward_traversal<DftVisitor, Model>::run(model, state, dq, ddq, fext, torques);
    finish_root(model, state, torques);
  }

 private:
  template <class Path, class Vector>
  ORVEK23_INLINE static void discover_root(Model& model, State<Path>& state, const Vector& ddq,
                                           const Force* fext) {
    auto& i = node<0>(model);
    auto& joint = i.joint;
    i.vi = joint.vj;
    i.ai = i.sXp * minus_g + joint.S * internal::root_coordinates(ddq) + joint.cj +
           i.vi.cross(joint.vj);
    const auto& inertia = Model::inertias[0];
    joint.f = cross(i.vi, inertia * i.vi) + inertia * i.ai - fext[0];
    state.va.set(0, internal::joined<typename Path::Wide>(internal::broadcast(i.vi),
                                                          internal::broadcast(i.ai)));
  }

  template <class Path, class Torques>
  ORVEK23_INLINE static void finish_root(Model& model, State<Path>& state, Torques& torques) {
    auto& joint = node<0>(model).joint;
    joint.f = internal::plus_root_children<Model, Force>(joint.f, state.f_in_parent);
    const Spatial::RootCoordinates tau = joint.S.transposed_times(joint.f);
    for (std::size_t j = 0; j < tau.size(); ++j) torques[static_cast<int>(j)] = tau[j];
  }
};

}  // namespace metapod
