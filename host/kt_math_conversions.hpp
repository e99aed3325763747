#pragma once

#include <algorithm>

#include "ktmath/ktmath.hpp"
#include "spatial/pose.hpp"
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
inline void invToKTMath(const ModelTransform& x, KT::Math::Transform& out) {
  std::ranges::copy(metapod::Spatial::pose_of(x), out.m);
}

/// The same for the product a b (first b, then a).
inline void invProdToKTMath(const ModelTransform& a, const ModelTransform& b,
                            KT::Math::Transform& out) {
  std::ranges::copy(metapod::Spatial::pose_of_product(a, b), out.m);
}

}  // namespace tavo
