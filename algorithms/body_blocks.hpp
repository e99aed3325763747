#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <type_traits>
#include <utility>

#include "algorithms/lanes.hpp"
#include "spatial/lanes.hpp"
#include "spatial/records.hpp"
#include "spatial/rotation.hpp"
#include "spatial/transform.hpp"
#include "spatial/wide_lanes.hpp"

/// What needs one body alone is computed for neighbours in the order of the ids, one a lane, by one
/// function for all blocks (5 % of the root-relative kinematics, 5 % with the mass matrix).
namespace metapod::internal {

using BodyTransform = Spatial::TransformT<Spatial::RotationMatrix>;

/// Bodies but the root's that are computed side by side on the lanes of S.
template <class Model, class S>
inline constexpr std::size_t block_size = std::min<std::size_t>(Spatial::nb_lanes_of<S>,
                                                                Model::nb_bodies - 1);

/// f(first) for all bodies but the root's, block by block: bodies first .. first + n - 1 with n the
/// block's size, first a compile-time number. The last block overlaps the one before.
template <class Model, class S, class F>
ORVEK23_INLINE void for_blocks(F f) {
  constexpr std::size_t n = block_size<Model, S>, last = Model::nb_bodies - n;
  constexpr std::size_t nb_blocks = (Model::nb_bodies - 1 + n - 1) / n;
  Spatial::unrolled<nb_blocks>([&](auto k) ORVEK23_INLINE_LAMBDA {
    f(std::integral_constant<std::size_t, (k + 1 < nb_blocks ? n * k + 1 : last)>{});
  });
}

/// f(0), f(1), ... for a block's bodies, in an array.
template <class Model, class S, class F>
ORVEK23_INLINE auto in_block(F f) {
  return [&]<std::size_t... k>(std::index_sequence<k...>) ORVEK23_INLINE_LAMBDA {
    return std::array{f(k)...};
  }
  (std::make_index_sequence<block_size<Model, S>>{});
}

/// The transforms X[0], X[1], ... a lane each.
template <class Model, class S>
ORVEK23_INLINE auto load_block(const BodyTransform* X) {
  return Spatial::from_components<OnLanes<BodyTransform, S>>(Spatial::load_lanes<12, S>(
      in_block<Model, S>([&](std::size_t k) { return floats_of(X[k]); })));
}

}  // namespace metapod::internal
