#pragma once

#include <array>

#include "algorithms/body_blocks.hpp"
#include "algorithms/lanes.hpp"
#include "spatial/inertia.hpp"
#include "spatial/lanes.hpp"
#include "spatial/records.hpp"
#include "spatial/rotation.hpp"
#include "spatial/transform.hpp"
#include "spatial/vector.hpp"
#include "spatial/wide_lanes.hpp"

/// First moments of mass, computed on lanes.
namespace metapod::internal {

/// First moment of mass (kg m) of a body about the origin of frame 1, in frame 1: m p, where p is
/// the centre of mass h / m carried to frame 1 by iX1, from frame 1 to the body. A massless body
/// makes it non-finite.
template <class Transform, class S>
ORVEK23_INLINE Spatial::Vector3T<S> first_moment(const Transform& iX1, const S& m,
                                                 const Spatial::Vector3T<S>& h) {
  return m * iX1.applyInv(h / m);
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
  Spatial::unrolled<block_size<Model, S>>(
      [&](auto k) ORVEK23_INLINE_LAMBDA { moments[k] = Spatial::half<k / 4>(rows[k % 4]); });
}

/// Entry i is body i's, to be added in the order of the ids. Entry 0 is not set: sums start with
/// root_moment().
template <class Model>
using Moments = std::array<Spatial::Lanes, Model::nb_bodies>;

/// The root body's own first moment: what the sums start with.
template <class Model>
ORVEK23_INLINE Spatial::Lanes root_moment() {
  const auto& h = Model::inertias[0].h();
  return Spatial::Lanes{h.x(), h.y(), h.z(), 0};
}

}  // namespace metapod::internal
