#pragma once

#include "algorithms/composite_inertia.hpp"
#include "algorithms/traversal.hpp"

namespace metapod {

/// Joint-space inertia matrix by the composite-rigid-body algorithm. The second argument would ask
/// for the joint calculation first; only the form that finds it done exists.
template <class Model, bool with_jcalc>
struct crba;

/// Body i (Featherstone 2008, table 6.2):
///   discover   Ic_i = I_i
///   finish     see CompositeInertiaVisitor
///
/// Reads sXp of all nodes but the root, S and Model::inertias; writes Iic and joint_F.
///   H   one row and column a coordinate; neither resized nor cleared. Pairs of coordinates on
///       different branches keep what the caller put there.
template <class Model>
struct crba<Model, false> {
  template <class M, int N>
  struct DftVisitor : internal::CompositeInertiaVisitor<M, N> {
    template <class Matrix>
    static void discover(M& model, Matrix&) {
      node<N>(model).Iic = M::inertias[N];
    }
  };

  template <class Matrix>
  static void run(Model& model, Matrix& H) {
    depth_first_traversal<DftVisitor, Model>::run(model, H);
  }
};

}  // namespace metapod
