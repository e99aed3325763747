#pragma once

#include <array>

#include "spatial/rotation.hpp"
#include "spatial/transform.hpp"
#include "spatial/vector.hpp"

namespace metapod::Spatial {

/// A pose [R | p], which takes x to R x + p, row by row: how hosts keep it.
template <class S>
using PoseT = std::array<S, 12>;

namespace internal {

template <class S>
constexpr PoseT<S> pose_from_rows(const Vector3T<S>& a, const Vector3T<S>& b, const Vector3T<S>& c,
                                  const Vector3T<S>& p) {
  return {a.x(), a.y(), a.z(), p.x(), b.x(), b.y(), b.z(), p.y(), c.x(), c.y(), c.z(), p.z()};
}

}  // namespace internal

/// The pose of the child frame of bXa in its parent frame a: R = Eᵀ, p = r, copied.
template <class S>
constexpr PoseT<S> pose_of(const TransformT<RotationMatrixT<S>>& bXa) {
  const auto& E = bXa.E();
  return internal::pose_from_rows(E.column(0), E.column(1), E.column(2), bXa.r());
}

/// The same for the product cXb bXa. Two rows of R = bEaᵀ cEbᵀ are products; the third is their
/// cross product, cheaper and equal to rounding.
template <class S>
constexpr PoseT<S> pose_of_product(const TransformT<RotationMatrixT<S>>& cXb,
                                   const TransformT<RotationMatrixT<S>>& bXa) {
  const Vector3T<S> row0 = cXb.E() * bXa.E().column(0), row1 = cXb.E() * bXa.E().column(1);
  return internal::pose_from_rows(row0, row1, row0.cross(row1), bXa.applyInv(cXb.r()));
}

}  // namespace metapod::Spatial
