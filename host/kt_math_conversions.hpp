#pragma once

#include <algorithm>
#include <array>

#include "ktmath/ktmath.hpp"
#include "spatial/lanes.hpp"
#include "spatial/rotation.hpp"
#include "spatial/transform.hpp"
#include "spatial/vector.hpp"

/// Between the model's transforms X = (E, r), which take x to E (x - r), and the host's T = [R |
/// p], which take x to R x + p. Every function writes all 12 floats of its host result.
namespace tavo {

using ModelTransform = metapod::Spatial::TransformT<metapod::Spatial::RotationMatrix>;

namespace internal {

using metapod::Spatial::RotationMatrix;
using metapod::Spatial::Vector3;

inline void write_row(const Vector3& R_i, float p_i, int i, KT::Math::Transform& out) {
  float* row = out.m + 4 * i;
  row[0] = R_i.x();
  row[1] = R_i.y();
  row[2] = R_i.z();
  row[3] = p_i;
}

inline RotationMatrix rotation_of(const KT::Math::Transform& t) {
  const auto row = [&t](int i) { return Vector3(t.m[4 * i], t.m[4 * i + 1], t.m[4 * i + 2]); };
  return RotationMatrix::from_rows(row(0), row(1), row(2));
}

inline Vector3 translation_of(const KT::Math::Transform& t) {
  return {t.m[3], t.m[7], t.m[11]};
}

}  // namespace internal

/// The host transform with the point map of x: R = E, p = -E r.
inline void toKTMath(const ModelTransform& x, KT::Math::Transform& out) {
  const internal::Vector3 p = -(x.E() * x.r());
  for (int i = 0; i < 3; ++i) internal::write_row(x.E().row(i), p[i], i, out);
}

/// The model transform with the point map of t: E = R, r = -Rᵀ p.
inline ModelTransform fromKTMath(const KT::Math::Transform& t) {
  const internal::RotationMatrix E = internal::rotation_of(t);
  return {E, -E.transposed_times(internal::translation_of(t))};
}

/// The host transform of the inverse point map, the pose of x's child frame in its parent frame:
/// R = Eᵀ, p = r, copied.
ORVEK23_INLINE void invToKTMath(const ModelTransform& x, KT::Math::Transform& out) {
  using metapod::Spatial::load_four;
  const float* e = reinterpret_cast<const float*>(&x);
  const auto r = load_four(e + 8);  // r stands in its last three
  const auto row0 = load_four(e), row1 = load_four(e + 3), row2 = load_four(e + 6);
  metapod::Spatial::store_first<4>(out.m, __builtin_shufflevector(row0, r, 0, 1, 2, 5));
  metapod::Spatial::store_first<4>(out.m + 4, __builtin_shufflevector(row1, r, 0, 1, 2, 6));
  metapod::Spatial::store_first<4>(out.m + 8, __builtin_shufflevector(row2, r, 0, 1, 2, 7));
}

/// The same for the product a b (first b, then a), as the 12 floats of the host's transform. Two
/// rows of R = Ebᵀ Eaᵀ are products; the third is their cross product, cheaper and equal to
/// rounding.
template <class S>
ORVEK23_INLINE std::array<S, 12> invProdToKTMath(
    const metapod::Spatial::TransformT<metapod::Spatial::RotationMatrixT<S>>& a,
    const metapod::Spatial::TransformT<metapod::Spatial::RotationMatrixT<S>>& b) {
  const auto row0 = a.E() * b.E().column(0);
  const auto row1 = a.E() * b.E().column(1);
  const auto row2 = row0.cross(row1);
  const auto p = b.applyInv(a.r());
  return {row0.x(), row0.y(), row0.z(), p.x(),    row1.x(), row1.y(),
          row1.z(), p.y(),    row2.x(), row2.y(), row2.z(), p.z()};
}

inline void invProdToKTMath(const ModelTransform& a, const ModelTransform& b,
                            KT::Math::Transform& out) {
  const auto floats = invProdToKTMath(a, b);
  std::copy(floats.begin(), floats.end(), out.m);
}

}  // namespace tavo
