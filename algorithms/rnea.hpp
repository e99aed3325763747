#pragma once

#include "algorithms/jcalc.hpp"
#include "algorithms/traversal.hpp"
#include "model/gravity.hpp"
#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/motion.hpp"

namespace metapod {

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
/// Reads sXp, vj, cj, S (JcalcVisitor runs first) and Model::inertias; writes vi, ai and f.
///   ddq      one entry a coordinate: rad/s², the root's m/s² first
///   fext     one force a body, in its frame
///   torques  every entry written: N m; the root's wrench, force first, in its frame
template <class Model>
struct rnea<Model, false> {
  /// Velocity and acceleration of node N with parent P, from the node's own coordinates of ddq.
  template <int N, int P>
  struct update_kinematics {
    template <class Coordinates>
    static void run(Model& model, const Coordinates& ddq_i) {
      auto& i = node<N>(model);
      Spatial::Motion a_from_parent;
      if constexpr (P == no_parent) {
        i.vi = i.joint.vj;
        a_from_parent = i.sXp * minus_g;
      } else {
        i.vi = i.sXp * node<P>(model).vi + i.joint.vj;
        a_from_parent = i.sXp * node<P>(model).ai;
      }
      i.ai = a_from_parent + i.joint.S * ddq_i + i.joint.cj + i.vi.cross(i.joint.vj);
    }
  };

  template <class M, int N>
  struct DftVisitor {
    using Node = NodeOf<M, N>;
    static constexpr int P = Node::parent;

    template <class Vector, class Torques>
    static void discover(M& model, const Vector& ddq, const Spatial::Force* const& fext, Torques&) {
      if constexpr (P == no_parent) {
        update_kinematics<N, P>::run(model, internal::root_coordinates<Node::first_dof>(ddq));
      } else {
        update_kinematics<N, P>::run(model, ddq[Node::first_dof]);
      }
      auto& i = node<N>(model);
      const Spatial::Inertia& I = M::inertias[N];
      i.joint.f = cross(i.vi, I * i.vi) + I * i.ai - fext[N];
    }

    template <class Vector, class Torques>
    static void finish(M& model, const Vector&, const Spatial::Force* const&, Torques& torques) {
      const auto& i = node<N>(model);
      const auto tau = i.joint.S.transposed_times(i.joint.f);
      if constexpr (P == no_parent) {
        for (int j = 0; j < Node::nb_dofs; ++j) torques[Node::first_dof + j] = tau[j];
      } else {
        torques[Node::first_dof] = tau;
        auto& f_p = node<P>(model).joint.f;
        f_p = f_p + i.sXp.applyInv(i.joint.f);
      }
    }
  };

  template <class Vector, class Torques>
  static void run(Model& model, const Vector& ddq, const Spatial::Force* fext, Torques& torques) {
    depth_first_traversal<DftVisitor, Model>::run(model, ddq, fext, torques);
  }
};

}  // namespace metapod
