#pragma once

#include "algorithms/composite_inertia.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/inertia.hpp"

namespace metapod {

/// Joint-space inertia matrix of the robot with one body made massless; its descendants keep their
/// inertia. An id that names no node excludes nothing. As crba, but
///   discover   Ic_i = 0 if i is excluded_id, else I_i
template <class Model>
struct partial_crba {
  template <class M, int N>
  struct DftVisitor : internal::CompositeInertiaVisitor<M, N> {
    template <class Matrix>
    static void discover(M& model, Matrix&, const int& excluded_id) {
      node<N>(model).Iic = excluded_id == N ? Spatial::Inertia() : M::inertias[N];
    }

    template <class Matrix>
    static void finish(M& model, Matrix& H, int) {
      internal::CompositeInertiaVisitor<M, N>::finish(model, H);
    }
  };

  template <class Matrix>
  static void run(Model& model, Matrix& H, const int& excluded_id) {
    depth_first_traversal<DftVisitor, Model>::run(model, H, excluded_id);
  }
};

}  // namespace metapod
