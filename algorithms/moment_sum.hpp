#pragma once

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

/// First moments of mass (kg m) of all bodies but the root's, in the root's frame, computed on
/// lanes and added in the order of the ids. Entry: x, y, z and a filler.
template <class Model>
struct Moments {
  std::array<Spatial::Lanes, Model::nb_bodies> of_body;

  /// The bodies of ids[0], ids[1], ... whose transforms stand in the lanes of iX1.
  template <std::size_t n, class S>
  ORVEK23_INLINE void set(const std::array<int, n>& ids,
                          const Spatial::TransformT<Spatial::RotationMatrixT<S>>& iX1) {
    std::array<const float*, n> inertias;
    Spatial::unrolled<n>([&](auto k) ORVEK23_INLINE_LAMBDA {
      inertias[k] = floats_of(std::as_const(Model::inertias[ids[k]]));
    });
    const auto [m, hx, hy, hz] = Spatial::load_lanes<4, S>(inertias);
    const auto p = first_moment(iX1, m, Spatial::Vector3T<S>(hx, hy, hz));
    const auto rows = Spatial::transposed(p.x(), p.y(), p.z(), p.z());
    Spatial::unrolled<n>(
        [&](auto k) ORVEK23_INLINE_LAMBDA { of_body[ids[k]] = Spatial::half<k / 4>(rows[k % 4]); });
  }
};

/// The root body's own first moment: what the sums start with.
template <class Model>
ORVEK23_INLINE Spatial::Lanes root_moment() {
  const auto& h = Model::inertias[0].h();
  return Spatial::Lanes{h.x(), h.y(), h.z(), 0};
}

}  // namespace metapod::internal
