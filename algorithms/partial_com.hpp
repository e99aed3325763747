#pragma once

#include <array>
#include <cstddef>
#include <utility>

#include "algorithms/body_blocks.hpp"
#include "algorithms/first_moments.hpp"
#include "algorithms/lanes.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/lanes.hpp"
#include "spatial/paths.hpp"
#include "spatial/records.hpp"
#include "spatial/vector.hpp"

namespace metapod {

namespace internal {

/// Adds the first moments of a subtree's bodies, all but `excluded_id`, in depth-first order:
///
///   mc_sum = mc_sum + m_i c_i   c_i the centre of mass of body i, in the root's frame
///
/// Descendants of the excluded body count; an id that the subtree does not have excludes nothing.
template <class Model, int N>
struct PartialComVisitor {
  ORVEK23_INLINE static void discover(Model&, const Moments<Model>& moments, const int& excluded_id,
                                      Spatial::Lanes& mc_sum) {
    if (excluded_id != N) mc_sum = mc_sum + moments[N];
  }
  ORVEK23_INLINE static void finish(Model&, const Moments<Model>&, const int&, Spatial::Lanes&) {}
};

}  // namespace internal

/// First moment of mass (kg m) of all bodies but one, in the root's frame. Reads iX1 (one transform
/// a body, from fwd_kin_iX1) and Model::inertias.
template <class Model>
struct partial_com {
  template <class Path = Spatial::Baseline>
  ORVEK23_INLINE static void run(Model& model, const internal::BodyTransform* iX1,
                                 const int& excluded_id, Spatial::Vector3& mc_sum) {
    internal::Moments<Model> moments;
    using Block = typename Path::Block;
    internal::for_blocks<Model, Block>([&](auto first) ORVEK23_INLINE_LAMBDA {
      internal::store_moments<Model>(Model::inertias.data() + first,
                                     internal::load_block<Model, Block>(iX1 + first),
                                     moments.data() + first);
    });
    Spatial::Lanes sum = internal::root_moment<Model>();
    [&]<int... child>(std::integer_sequence<int, child...>) ORVEK23_INLINE_LAMBDA {
      (internal::depth_first_traversal_internal<internal::PartialComVisitor, Model, child>::run(
           model, moments, excluded_id, sum),
       ...);
    }
    (typename NodeOf<Model, 0>::children{});
    mc_sum = {sum[0], sum[1], sum[2]};
  }
};

}  // namespace metapod
