#pragma once

#include "algorithms/traversal.hpp"
#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/motion_subspace.hpp"

namespace metapod {

/// Joint-space inertia matrix by the composite-rigid-body algorithm. The second argument would ask
/// for the joint calculation first; only the form that finds it done exists.
template <class Model, bool with_jcalc>
struct crba;

/// Body i with parent p (Featherstone 2008, table 6.2):
///   discover, root to leaves    Ic_i = I_i
///   finish, leaves to root      Ic_p = Ic_p + pXi* Ic_i iXp
///                               F = Ic_i S_i
///                               H_ii = S_iᵀ F
///     up the ancestors j of i, c the child of j on the way:
///                               F = jXc* F
///                               H_ji = S_jᵀ F,  H_ij = H_jiᵀ
///
/// Reads sXp of all bodies but the root, so joint calculation comes before it, S and the model's
/// inertias; writes Iic and joint_F (on return a joint's F stands in root coordinates).
///   H   at least nb_dofs rows and columns, not cleared: pairs of coordinates on different branches
///       keep what the caller put there
template <class Model>
struct crba<Model, false> {
  template <class M, int N>
  struct DftVisitor {
    static constexpr int k = NodeOf<M, N>::first_dof;
    static constexpr int parent = NodeOf<M, N>::parent;

    /// Ancestor A, reached from its child C.
    template <class M2, int A, int C>
    struct BwdtVisitor {
      template <class Matrix>
      static void discover(M2& model, Matrix& H) {
        auto& F = node<N>(model).joint_F[0];
        F = node<C>(model).sXp.applyInv(F);
        const auto H_ji = node<A>(model).joint.S.transposed_times(F);
        if constexpr (A == 0) {
          for (int j = 0; j < 6; ++j) H(k, j) = H(j, k) = H_ji[j];
        } else {
          constexpr int a = NodeOf<M2, A>::first_dof;
          H(a, k) = H(k, a) = H_ji;
        }
      }
    };

    template <class Matrix>
    static void discover(M& model, Matrix&) {
      node<N>(model).Iic = model.template inertia<N>();
    }

    template <class Matrix>
    static void finish(M& model, Matrix& H) {
      auto& i = node<N>(model);
      const auto& S = i.joint.S;
      if constexpr (parent == no_parent) {
        i.joint_F = i.Iic * S;
        for (int j = 0; j < 6; ++j) {
          const auto column = S.transposed_times(i.joint_F[j]);
          for (int a = 0; a < 6; ++a) H(a, j) = column[a];
        }
      } else {
        auto& Ic_p = node<parent>(model).Iic;
        Ic_p = Ic_p + i.sXp.applyInv(i.Iic);
        i.joint_F[0] = i.Iic * S;
        H(k, k) = S.transposed_times(i.joint_F[0]);
        internal::backward_traversal<BwdtVisitor, M, N>::run(model, H);
      }
    }
  };

  template <class Matrix>
  static void run(Model& model, Matrix& H) {
    internal::depth_first_traversal<DftVisitor, Model>::run(model, H);
  }
};

}  // namespace metapod
