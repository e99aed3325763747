#pragma once

#include "spatial/lanes.hpp"
#include "spatial/vector.hpp"

namespace metapod::internal {

/// First moment of mass (kg m) of a body about the origin of frame 1, in frame 1: m p, where p is
/// the centre of mass h / m carried to frame 1 by iX1, from frame 1 to the body. A massless body
/// makes it non-finite.
template <class Transform, class S>
ORVEK23_INLINE Spatial::Vector3T<S> first_moment(const Transform& iX1, const S& m,
                                                 const Spatial::Vector3T<S>& h) {
  return m * iX1.applyInv(h / m);
}

}  // namespace metapod::internal
