#pragma once

#include "algorithms/traversal.hpp"

namespace metapod::internal {

/// What crba and partial_crba share: the walk from the leaves to the root, once Ic of every node
/// holds the node's own inertia. Body i with parent p (Featherstone 2008, table 6.2):
///
///   finish of i                 Ic_p = Ic_p + pXi* Ic_i iXp
///                               F = Ic_i S_i
///                               H_ii = S_iᵀ F
///   then, up the ancestors j    F = jXc* F         c the child of j on the way
///                               H_ij = Fᵀ S_j,  H_ji = H_ijᵀ
///
/// Reads sXp and S; writes Iic, joint_F (on return a joint's F stands in root coordinates) and the
/// entries of H named above: pairs of coordinates on one path to the root, nothing else.
template <class Model, int N>
struct CompositeInertiaVisitor {
  using Node = NodeOf<Model, N>;
  static constexpr int k = Node::first_dof;

  /// Ancestor j, reached from its child c.
  template <class M, int j, int c>
  struct BwdtVisitor {
    template <class Matrix>
    static void discover(M& model, Matrix& H) {
      using Ancestor = NodeOf<M, j>;
      auto& F = node<N>(model).joint_F[0];
      F = node<c>(model).sXp.applyInv(F);
      const auto H_j = node<j>(model).joint.S.transposed_times(F);
      if constexpr (Ancestor::nb_dofs == 1) {
        H(Ancestor::first_dof, k) = H_j;
        H(k, Ancestor::first_dof) = H_j;
      } else {
        for (int a = 0; a < Ancestor::nb_dofs; ++a) {
          H(k, Ancestor::first_dof + a) = H_j[a];
          H(Ancestor::first_dof + a, k) = H_j[a];
        }
      }
    }
  };

  template <class Matrix>
  static void finish(Model& model, Matrix& H) {
    auto& i = node<N>(model);
    if constexpr (Node::parent == no_parent) {
      i.joint_F = i.Iic * i.joint.S;
      for (int b = 0; b < Node::nb_dofs; ++b) {
        const auto column = i.joint.S.transposed_times(i.joint_F[b]);
        for (int a = 0; a < Node::nb_dofs; ++a) H(k + a, k + b) = column[a];
      }
    } else {
      auto& p = node<Node::parent>(model);
      p.Iic = p.Iic + i.sXp.applyInv(i.Iic);
      i.joint_F[0] = i.Iic * i.joint.S;
      H(k, k) = i.joint.S.transposed_times(i.joint_F[0]);
      backward_traversal<internal::CompositeInertiaVisitor, Model, N>::run(model, H);
    }
  }
};

}  // namespace metapod::internal
