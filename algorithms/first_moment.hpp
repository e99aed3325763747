#pragma once

#include "spatial/inertia.hpp"
#include "spatial/vector.hpp"

namespace metapod::internal {

/// First moment of mass (kg m) of a body about the origin of frame 1, in frame 1, with iX1 from
/// frame 1 to the body: m p, where p is the centre of mass h / m carried to frame 1. A massless
/// body makes it non-finite.
template <class Transform>
Spatial::Vector3 first_moment(const Transform& iX1, const Spatial::Inertia& I) {
  return I.m() * iX1.applyInv(I.h() / I.m());
}

}  // namespace metapod::internal
