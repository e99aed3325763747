#pragma once

#include "spatial/inertia.hpp"
#include "spatial/vector.hpp"

namespace metapod::internal {

/// First moment of mass (kg m) of a body about the origin of frame 1, in frame 1: m p, where p is
/// the centre of mass c = h / m carried to frame 1 by iX1, from frame 1 to the body.
template <class Transform, class S>
constexpr Spatial::Vector3T<S> first_moment(const Transform& iX1, const S& m,
                                            const Spatial::Vector3T<S>& c) {
  return m * iX1.applyInv(c);
}

/// A massless body makes it non-finite.
template <class Transform, class S>
constexpr Spatial::Vector3T<S> first_moment(const Transform& iX1,
                                            const Spatial::InertiaT<S>& inertia) {
  return first_moment(iX1, inertia.m(), inertia.h() / inertia.m());
}

/// sum = sum + term, of any vectors of three entries.
template <class Vector, class S>
constexpr void add_to(Vector& sum, const Spatial::Vector3T<S>& term) {
  for (int k = 0; k < 3; ++k) sum[k] = sum[k] + term[k];
}

}  // namespace metapod::internal
