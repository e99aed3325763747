#pragma once

#include <cmath>
#include <cstdint>

#include "spatial/bits_as.hpp"

/// Sines and cosines: evaluated together in double, then narrowed, so that they are right to float
/// precision.
namespace metapod::Spatial {

template <class S>
struct SinCosT {
  S s, c;
};

namespace internal {

/// Beyond it, and for what is not finite, the C library serves.
inline constexpr float largest_reduced_angle = 1e5f;

/// For angles up to 1e5 rad. The angle is reduced by a multiple of pi/2 in two parts (Cody and
/// Waite 1980, chapter 8), exact enough there; the polynomials interpolate at Chebyshev nodes of
/// [-pi/4, pi/4], to within 2e-17. Double is double or doubles side by side, Long the unsigned
/// integers of its size.
template <class Long, class Double>
constexpr SinCosT<Double> reduced_sin_cos(const Double& angle) {
  // Adding 1.5 * 2^52 rounds to an integer and leaves it in the low bits.
  constexpr double rounder = 6755399441055744.0;
  const Double shifted = angle * 0.63661977236758138 + rounder;
  const Double n = shifted - rounder;
  const Long quadrant = bits_as<Long>(shifted);
  const Double r = (angle - n * 1.5707963267341256) - n * 6.0771005065061922e-11;
  const Double u = r * r;

  const Double sin_tail =
      -0.16666666666666666 +
      u * (0.008333333333330948 +
           u * (-0.00019841269836756774 +
                u * (2.7557316101617874e-06 +
                     u * (-2.5051131650235181e-08 + u * 1.5918115263265974e-10))));
  const Double cos_tail =
      0.041666666666666664 +
      u * (-0.0013888888888887398 +
           u * (2.4801587298764561e-05 +
                u * (-2.7557317271145144e-07 +
                     u * (2.087614614655861e-09 + u * -1.1382623647474604e-11))));
  // The sine has the sign of r; -0 alone would lose it in the sum.
  const Long sign = bits_as<Long>(r) & bits_as<Long>(-Double{});
  const Long sin_r = bits_as<Long>(r + (r * u) * sin_tail) | sign;
  const Long cos_r = bits_as<Long>((1.0 - 0.5 * u) + (u * u) * cos_tail);

  // An odd quadrant swaps the two; quadrants 2 and 3 negate the sine, 1 and 2 the cosine.
  const Long difference = (sin_r ^ cos_r) & -(quadrant & 1);
  return {bits_as<Double>((sin_r ^ difference) ^ ((quadrant & 2) << 62)),
          bits_as<Double>((cos_r ^ difference) ^ (((quadrant + 1) & 2) << 62))};
}

}  // namespace internal

/// Of any angle (rad).
inline SinCosT<float> sin_cos(float angle) {
  const double x = angle;
  const bool reduced = std::abs(angle) <= internal::largest_reduced_angle;
  const SinCosT<double> of_x = reduced ? internal::reduced_sin_cos<std::uint64_t>(x)
                                       : SinCosT<double>{std::sin(x), std::cos(x)};
  return {static_cast<float>(of_x.s), static_cast<float>(of_x.c)};
}
inline SinCosT<double> sin_cos(double angle) {
  return {std::sin(angle), std::cos(angle)};
}

}  // namespace metapod::Spatial
