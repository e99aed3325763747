#pragma once

#include <cstddef>

#include "algorithms/jcalc.hpp"
#include "algorithms/joint_transforms.hpp"
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
/// Reads S, the root's vj and cj (the joints' vj is (0, 0, dq, 0, 0, 0), their cj zero) and
/// Model::inertias; writes vi, ai and f.
///   sXp      from jcalc<Model>::run(model, q, dq, sXp), with the same dq
///   dq, ddq  one entry a coordinate: rad/s and rad/s², the root's m/s and m/s² first
///   fext     one force a body, in its frame
///   torques  every entry written: N m; the root's wrench, force first, in its frame
template <class Model>
struct rnea<Model, false> {
  using Motion = Spatial::Motion;
  using Force = Spatial::Force;
  using Lanes = Spatial::Lanes;

  /// A group on its own: what is given, and the force of its motion.
  template <class Path>
  struct Own {
    using Wide = typename Path::Wide;

    Spatial::Stored<internal::OnLanes<Spatial::ConstraintMotionAxisZ>> S;
    Spatial::Stored<internal::OnLanes<Spatial::Inertia, Wide>> inertia;  // in both halves
    Lanes dq, ddq;
    Spatial::Stored<internal::OnLanes<Force>> fext, f;
  };

  /// Velocity and acceleration take the same transform and the same inertia: side by side, v in the
  /// low half of wide lanes and a in the high one (5 % of inverse dynamics).
  template <class Path>
  struct State {
    explicit State(const internal::JointTransforms<Model>& sXp) : sXp(sXp) {}  // no zeros

    const internal::JointTransforms<Model>& sXp;
    std::array<Own<Path>, internal::nb_groups<Model>> own;
    internal::PerGroup<Model, Motion, typename Path::Wide> va;
    internal::PerGroup<Model, Force> f_in_parent;
  };

  template <class Path>
  using VandA = Spatial::Stored<internal::OnLanes<Motion, typename Path::Wide>>;

  /// From parents to children. In memory and not inlined: the groups of a kind share it, which is
  /// less code to fetch (12 % of inverse dynamics).
  template <class Path, class Transform>
  static void step_outward(const Spatial::Stored<Transform>& iXp, const VandA<Path>& va_p,
                           Own<Path>& own, VandA<Path>& va_i) {
    using namespace internal;
    using Wide = typename Path::Wide;
    const OnLanes<Motion> vj({Lanes{}, Lanes{}, own.dq}, {}), cj;

    const auto X_va = both_halves<Wide>(*iXp) * *va_p;
    const auto v = half_of<0>(X_va) + vj;
    const auto a = half_of<1>(X_va) + *own.S * own.ddq + cj + v.cross(vj);
    const auto va = side_by_side<Wide>(v, a);
    const auto I_va = *own.inertia * va;
    va_i = va;
    own.f = cross(v, half_of<0>(I_va)) + half_of<1>(I_va) - *own.fext;
  }

  template <class M, std::size_t g>
  struct DftVisitor {
    template <class Path, class Vector, class Torques>
    ORVEK23_INLINE static void discover(M& model, State<Path>& state, const Vector& dq,
                                        const Vector& ddq, const Force* const& fext, Torques&) {
      using namespace internal;
      using Wide = typename Path::Wide;
      using Transform = typename JointTransforms<M>::template Value<g>;
      Own<Path>& own = state.own[g];
      own.S = load<M, g>([&](auto id) -> const auto& { return node<id>(model).joint.S; });
      own.fext = load<M, g>([&](auto id) -> const auto& { return fext[id]; });
      own.inertia = load_inertias<M, g, Wide>();
      own.dq = coordinates<M, g>(dq);
      own.ddq = coordinates<M, g>(ddq);
      VandA<Path> scratch;
      Path::template Function<&step_outward<Path, Transform>>::call(
          state.sXp.template of_group<g>(), of_parents<M, g>(state.va, scratch), own, state.va[g]);
      Spatial::store_lanes(state.va[g].components(),
                           for_nodes<M, g>([&](auto id) { return floats_of(node<id>(model).vi); }),
                           for_nodes<M, g>([&](auto id) { return floats_of(node<id>(model).ai); }));
    }

    template <class Path, class Vector, class Torques>
    ORVEK23_INLINE static void finish(M& model, State<Path>& state, const Vector&, const Vector&,
                                      const Force* const&, Torques& torques) {
      using namespace internal;
      const auto& own = state.own[g];
      const auto f = plus_children<M, g>(*own.f, state.f_in_parent);
      const Lanes tau = (*own.S).transposed_times(f);
      std::size_t lane = 0;
      for_nodes<M, g>([&](auto id) ORVEK23_INLINE_LAMBDA {
        return torques[NodeOf<M, id>::first_dof] = tau[lane++];
      });
      state.f_in_parent[g] = (*state.sXp.template of_group<g>()).applyInv(f);
      store<M, g>(
          f, [&](auto id) -> auto& { return node<id>(model).joint.f; });
    }
  };

  template <class Path = Spatial::Baseline, class Vector, class Torques>
  ORVEK23_INLINE static void run(Model& model, const internal::JointTransforms<Model>& sXp,
                                 const Vector& dq, const Vector& ddq, const Force* fext,
                                 Torques& torques) {
    State<Path> state(sXp);
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
    state.va[0] = internal::side_by_side<typename Path::Wide>(internal::broadcast(i.vi),
                                                              internal::broadcast(i.ai));
  }

  template <class Path, class Torques>
  ORVEK23_INLINE static void finish_root(Model& model, State<Path>& state, Torques& torques) {
    auto& joint = node<0>(model).joint;
    joint.f = internal::plus_root_children<Model>(joint.f, state.f_in_parent);
    const Spatial::RootCoordinates tau = joint.S.transposed_times(joint.f);
    for (std::size_t j = 0; j < tau.size(); ++j) torques[static_cast<int>(j)] = tau[j];
  }
};

}  // namespace metapod
