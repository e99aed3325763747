#pragma once

#include "algorithms/crba.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/inertia.hpp"

namespace metapod {

/// Joint-space inertia matrix of the robot with one body made massless: its descendants keep their
/// inertia. The recursion is that of crba, which see, but for one line:
///   discover    Ic_i = 0 if i is excluded_id, else I_i
///
///   H            at least nb_dofs rows and columns, not cleared
///   excluded_id  an id that names no body excludes nothing
template <class Model>
struct partial_crba {
  template <class M, int N>
  struct DftVisitor {
    using Whole = typename crba<Model, false>::template DftVisitor<M, N>;

    template <class M2, int A, int C>
    using BwdtVisitor = typename Whole::template BwdtVisitor<M2, A, C>;

    template <class Matrix>
    static void discover(M& model, Matrix& H, const int& excluded_id) {
      if (excluded_id == N) {
        node<N>(model).Iic = {};
      } else {
        Whole::discover(model, H);
      }
    }
    template <class Matrix>
    static void finish(M& model, Matrix& H, int) {
      Whole::finish(model, H);
    }
  };

  template <class Matrix>
  static void run(Model& model, Matrix& H, int excluded_id) {
    internal::depth_first_traversal<DftVisitor, Model>::run(model, H, excluded_id);
  }
};

}  // namespace metapod
