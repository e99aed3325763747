#pragma once

#include <cmath>

namespace metapod::Spatial {

/// Sine and cosine of one angle.
struct SinCos {
  float s, c;
};

/// Both evaluated together in double, then narrowed: the sine of a float angle is then right to
/// float precision at any size of the angle.
inline SinCos sin_cos(float angle) {
  double s = 0, c = 0;
  ::sincos(static_cast<double>(angle), &s, &c);
  return {static_cast<float>(s), static_cast<float>(c)};
}

}  // namespace metapod::Spatial
