#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

#include "spatial/lanes.hpp"

/// Sines and cosines: evaluated together in double, then narrowed, so that they are right to float
/// precision.
namespace metapod::Spatial {

struct SinCos {
  Lanes s, c;
};

namespace internal {

using Doubles [[gnu::vector_size(32)]] = double;
using Longs [[gnu::vector_size(32)]] = std::int64_t;

using Ints [[gnu::vector_size(16)]] = std::int32_t;

inline constexpr float largest_reduced_angle = 1e5f;

/// Without the sign a float's bits, read as an integer, order as its values do; infinities and NaNs
/// come last.
ORVEK23_INLINE Ints magnitude_bits(const Lanes& x) {
  return std::bit_cast<Ints>(x) & 0x7fffffff;
}

/// For angles up to 1e5 rad. The angle is reduced by a multiple of pi/2 in two parts (Cody and
/// Waite 1980, chapter 8), exact enough there; the polynomials interpolate at Chebyshev nodes of
/// [-pi/4, pi/4], to within 2e-17.
ORVEK23_INLINE SinCos reduced_sin_cos(const Doubles& angle) {
  // Adding 1.5 * 2^52 rounds to an integer and leaves it in the low bits.
  constexpr double rounder = 6755399441055744.0;
  const Doubles shifted = angle * 0.63661977236758138 + rounder;
  const Doubles n = shifted - rounder;
  const Longs quadrant = std::bit_cast<Longs>(shifted);
  const Doubles r = (angle - n * 1.5707963267341256) - n * 6.0771005065061922e-11;
  const Doubles u = r * r;

  const Doubles sin_tail =
      -0.16666666666666666 +
      u * (0.008333333333330948 +
           u * (-0.00019841269836756774 +
                u * (2.7557316101617874e-06 +
                     u * (-2.5051131650235181e-08 + u * 1.5918115263265974e-10))));
  const Doubles cos_tail =
      0.041666666666666664 +
      u * (-0.0013888888888887398 +
           u * (2.4801587298764561e-05 +
                u * (-2.7557317271145144e-07 +
                     u * (2.087614614655861e-09 + u * -1.1382623647474604e-11))));
  // The sine has the sign of r; -0 alone would lose it in the sum.
  const Longs sign = std::bit_cast<Longs>(r) & std::bit_cast<Longs>(-Doubles{});
  const Longs sin_r = std::bit_cast<Longs>(r + (r * u) * sin_tail) | sign;
  const Longs cos_r = std::bit_cast<Longs>((1.0 - 0.5 * u) + (u * u) * cos_tail);

  // An odd quadrant swaps the two; quadrants 2 and 3 negate the sine, 1 and 2 the cosine.
  const Longs difference = (sin_r ^ cos_r) & -(quadrant & 1);
  const Longs s = (sin_r ^ difference) ^ ((quadrant & 2) << 62);
  const Longs c = (cos_r ^ difference) ^ (((quadrant + 1) & 2) << 62);
  return {__builtin_convertvector(std::bit_cast<Doubles>(s), Lanes),
          __builtin_convertvector(std::bit_cast<Doubles>(c), Lanes)};
}

/// By the C library: huge angles and non-finite values.
[[gnu::noinline, gnu::cold]] inline void replace_by_libm(const Lanes* angles, std::size_t n,
                                                         SinCos* results) {
  for (std::size_t k = 0; k < nb_lanes * n; ++k) {
    const std::size_t i = k / nb_lanes, lane = k % nb_lanes;
    if (std::abs(angles[i][lane]) <= largest_reduced_angle) continue;
    const double angle = angles[i][lane];
    results[i].s[lane] = static_cast<float>(std::sin(angle));
    results[i].c[lane] = static_cast<float>(std::cos(angle));
  }
}

}  // namespace internal

/// Of any angles (rad). One test for all of them keeps the rare call out of the arithmetic.
template <std::size_t n>
ORVEK23_INLINE std::array<SinCos, n> sin_cos(const std::array<Lanes, n>& angles) {
  std::array<SinCos, n> results;
  internal::Ints largest{};
  for (std::size_t k = 0; k < n; ++k) {
    const Lanes& a = angles[k];
    const internal::Ints magnitude = internal::magnitude_bits(a);
    largest = magnitude > largest ? magnitude : largest;
    results[k] = internal::reduced_sin_cos(internal::Doubles{a[0], a[1], a[2], a[3]});
  }
  const internal::Ints beyond =
      largest > std::bit_cast<std::int32_t>(internal::largest_reduced_angle);
  if ((beyond[0] | beyond[1] | beyond[2] | beyond[3]) != 0) [[unlikely]] {
    internal::replace_by_libm(angles.data(), n, results.data());
  }
  return results;
}

}  // namespace metapod::Spatial
