#pragma once

#include <utility>

#include "algorithms/first_moment.hpp"
#include "algorithms/traversal.hpp"

namespace metapod {

namespace internal {

/// Adds the first moments of a subtree's bodies, all but excluded_id, in depth-first order:
///
///   discover    mc_sum = mc_sum + m_i c_i   c_i the centre of mass of body i, in frame 1
///
/// Descendants of the excluded body count; an id that the subtree does not have excludes nothing.
/// Reads iX1 (one transform a body, from fwd_kin_iX1) and the model's inertias, and no node.
template <class Model, int N>
struct PartialComVisitor {
  template <class Transform, class Vector>
  static void discover(Model& model, Transform* const& iX1, const int& excluded_id,
                       Vector& mc_sum) {
    if (excluded_id == N) return;
    add_to(mc_sum, first_moment(iX1[N], model.template inertia<N>()));
  }
  template <class Transform, class Vector>
  static void finish(Model&, Transform* const&, const int&, Vector&) {}
};

}  // namespace internal

/// First moment of mass (kg m) of all bodies but one, in the root's frame; mc_sum is overwritten.
template <class Model>
struct partial_com {
  template <class Transform, class Vector>
  static void run(Model& model, Transform* iX1, int excluded_id, Vector& mc_sum) {
    const auto h = model.template inertia<0>().h();
    for (int k = 0; k < 3; ++k) mc_sum[k] = h[k];
    [&]<int... child>(std::integer_sequence<int, child...>) {
      (internal::depth_first_traversal_internal<internal::PartialComVisitor, Model, child>::run(
           model, iX1, excluded_id, mc_sum),
       ...);
    }
    (typename NodeOf<Model, 0>::children{});
  }
};

}  // namespace metapod
