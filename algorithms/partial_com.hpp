#pragma once

#include "algorithms/first_moment.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/vector.hpp"

namespace metapod::internal {

/// Adds the first moments of mass (kg m) of a subtree's bodies, all but `excluded_id`, to mc_sum:
///
///   mc_sum = mc_sum + m_i c_i   c_i the centre of mass of body i, in the frame of iX1
///
/// Reads iX1 (one transform a body, from fwd_kin_iX1) and Model::inertias. Descendants of the
/// excluded body count; an id that the subtree does not have excludes nothing.
template <class Model, int N>
struct PartialComVisitor {
  template <class Transform>
  static void discover(Model&, Transform* const& iX1, const int& excluded_id,
                       Spatial::Vector3& mc_sum) {
    if (excluded_id == N) return;
    mc_sum = mc_sum + first_moment(iX1[N], Model::inertias[N]);
  }

  template <class Transform>
  static void finish(Model&, Transform* const&, const int&, Spatial::Vector3&) {}
};

}  // namespace metapod::internal
