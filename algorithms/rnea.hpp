#pragma once

#include <array>
#include <type_traits>

#include "algorithms/traversal.hpp"
#include "model/gravity.hpp"
#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/motion.hpp"

namespace metapod {

namespace internal {

// The lines of one body, from what its products with X and I are.

/// v_i = iXp v_p + vj_i
template <class S>
constexpr Spatial::MotionT<S> velocity(const Spatial::MotionT<S>& X_v,
                                       const Spatial::MotionT<S>& vj) {
  return X_v + vj;
}

/// a_i = iXp a_p + S_i ddq_i + cj_i + v_i x vj_i
template <class S>
constexpr Spatial::MotionT<S> acceleration(const Spatial::MotionT<S>& X_a,
                                           const Spatial::MotionT<S>& S_ddq,
                                           const Spatial::MotionT<S>& cj,
                                           const Spatial::MotionT<S>& v,
                                           const Spatial::MotionT<S>& vj) {
  return X_a + S_ddq + cj + v.cross(vj);
}

/// f_i = v_i x* (I_i v_i) + I_i a_i - fext_i
template <class S>
constexpr Spatial::ForceT<S> body_force(const Spatial::MotionT<S>& v, const Spatial::ForceT<S>& I_v,
                                        const Spatial::ForceT<S>& I_a,
                                        const Spatial::ForceT<S>& fext) {
  return cross(v, I_v) + I_a - fext;
}

}  // namespace internal

/// Inverse dynamics by the recursive Newton-Euler algorithm. The second argument would ask for the
/// joint calculation first; only the form that finds it done exists.
template <class Model, bool with_jcalc>
struct rnea;

/// Body i with parent p (Featherstone 2008, table 5.1; external forces in body coordinates):
///   discover, root to leaves    v_i = iXp v_p + vj_i
///                               a_i = iXp a_p + S_i ddq_i + cj_i + v_i x vj_i
///                               f_i = v_i x* (I_i v_i) + I_i a_i - fext_i
///   finish, leaves to root      tau_i = S_iᵀ f_i
///                               f_p = f_p + pXi* f_i
/// The root's parent is the world: at rest, and accelerated upwards in place of gravity.
///
/// Reads sXp, vj, cj and S, so joint calculation comes before it with the same dq, and the model's
/// inertias; writes vi, ai and the joints' f.
///   ddq      one entry a coordinate: rad/s², the root's six m/s² first, in its frame
///   fext     one force a body, in its frame
///   torques  every entry written: N m; the root's wrench, force first, in its frame
template <class Model>
struct rnea<Model, false> {
  using Scalar = typename Model::Scalar;
  using Motion = Spatial::MotionT<Scalar>;
  using Force = Spatial::ForceT<Scalar>;

  /// v_i and a_i of body N with parent P. ddq_N: the body's own coordinates of ddq.
  template <int N, int P>
  struct update_kinematics {
    template <class Rates>
    static void run(Model& model, const Rates& ddq_N) {
      auto& i = node<N>(model);
      const auto& joint = i.joint;
      if constexpr (P == no_parent) {
        i.vi = joint.vj;
        i.ai = internal::acceleration(i.sXp * Motion(minus_g), joint.S * ddq_N, joint.cj, i.vi,
                                      joint.vj);
      } else {
        const auto& p = node<P>(model);
        i.vi = internal::velocity(i.sXp * p.vi, joint.vj);
        i.ai = internal::acceleration(i.sXp * p.ai, joint.S * ddq_N[0], joint.cj, i.vi, joint.vj);
      }
    }
  };

  template <class M, int N>
  struct DftVisitor {
    using Node = NodeOf<M, N>;

    template <class Rates, class Torques>
    static void discover(M& model, const Rates& ddq, const Force* const& fext, Torques&) {
      std::array<Scalar, Node::nb_dofs> ddq_N;
      for (int j = 0; j < Node::nb_dofs; ++j) ddq_N[j] = ddq[Node::first_dof + j];
      update_kinematics<N, Node::parent>::run(model, ddq_N);

      auto& i = node<N>(model);
      const auto I = model.template inertia<N>();
      i.joint.f = internal::body_force(i.vi, I * i.vi, I * i.ai, fext[N]);
    }

    template <class Rates, class Torques>
    static void finish(M& model, const Rates&, const Force* const&, Torques& torques) {
      const auto& i = node<N>(model);
      const auto tau = i.joint.S.transposed_times(i.joint.f);
      if constexpr (Node::parent == no_parent) {
        for (int j = 0; j < Node::nb_dofs; ++j) torques[Node::first_dof + j] = tau[j];
      } else {
        torques[Node::first_dof] = tau;
        auto& f_p = node<Node::parent>(model).joint.f;
        f_p = f_p + i.sXp.applyInv(i.joint.f);
      }
    }
  };

  template <class Rates, class Torques>
  static void run(Model& model, const Rates& ddq, const Force* fext, Torques& torques) {
    internal::depth_first_traversal<DftVisitor, Model>::run(model, ddq, fext, torques);
  }
};

}  // namespace metapod
