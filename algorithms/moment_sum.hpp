#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "algorithms/first_moment.hpp"
#include "algorithms/lanes.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/lanes.hpp"
#include "spatial/records.hpp"
#include "spatial/transform.hpp"
#include "spatial/vector.hpp"

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

/// The first moments of mass (kg m) of bodies whose transforms stand in the lanes of iX1, in frame
/// 1. Entry: x, y, z and a filler.
template <class Model, class S>
ORVEK23_INLINE void store_moments(const Spatial::Inertia* inertias,
                                  const Spatial::TransformT<Spatial::RotationMatrixT<S>>& iX1,
                                  Spatial::Lanes* moments) {
  const auto [m, hx, hy, hz] = Spatial::load_lanes<4, S>(
      in_block<Model, S>([&](std::size_t k) { return floats_of(inertias[k]); }));
  const auto p = first_moment(iX1, m, Spatial::Vector3T<S>(hx, hy, hz));
  const auto rows = Spatial::transposed(p.x(), p.y(), p.z(), p.z());
  Spatial::unrolled<Spatial::nb_lanes_of<S>>(
      [&](auto k) ORVEK23_INLINE_LAMBDA { moments[k] = Spatial::half<k / 4>(rows[k % 4]); });
}

/// One a body, the root's first, to be added in the order of the ids.
template <class Model>
using Moments = std::array<Spatial::Lanes, Model::nb_bodies>;

/// The root body's own first moment: what the sums start with.
template <class Model>
ORVEK23_INLINE Spatial::Lanes root_moment() {
  const auto& h = Model::inertias[0].h();
  return Spatial::Lanes{h.x(), h.y(), h.z(), 0};
}

}  // namespace metapod::internal
