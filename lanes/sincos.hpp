#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "lanes/lanes.hpp"
#include "spatial/sincos.hpp"

/// Sines and cosines of many angles at once, each with the bits of Spatial::sin_cos.
namespace metapod::lanes {

using SinCos = Spatial::SinCosT<Lanes>;

namespace internal {

using Doubles [[gnu::vector_size(32)]] = double;
using Longs [[gnu::vector_size(32)]] = std::uint64_t;

/// Without the sign a float's bits, read as an integer, order as its values do; infinities and NaNs
/// come last.
inline Ints magnitude_bits(const Lanes& x) {
  return bits_as<Ints>(x) & 0x7fffffff;
}

/// By the C library: huge angles and non-finite values.
[[gnu::noinline, gnu::cold]] inline void replace_huge(const Lanes* angles, std::size_t n,
                                                      SinCos* results) {
  for (std::size_t k = 0; k < nb_lanes * n; ++k) {
    const std::size_t i = k / nb_lanes, lane = k % nb_lanes;
    const Spatial::SinCosT<float> of_lane = Spatial::sin_cos(angles[i][lane]);
    results[i].s[lane] = of_lane.s;
    results[i].c[lane] = of_lane.c;
  }
}

}  // namespace internal

/// Of any angles (rad). One test for all of them keeps the rare call out of the arithmetic.
template <std::size_t n>
std::array<SinCos, n> sin_cos(const std::array<Lanes, n>& angles) {
  using namespace internal;
  std::array<SinCos, n> results;
  Ints largest{};
  for (std::size_t k = 0; k < n; ++k) {
    const Lanes& a = angles[k];
    const Ints magnitude = magnitude_bits(a);
    largest = magnitude > largest ? magnitude : largest;
    const auto of_a = Spatial::internal::reduced_sin_cos<Longs>(Doubles{a[0], a[1], a[2], a[3]});
    results[k] = {__builtin_convertvector(of_a.s, Lanes), __builtin_convertvector(of_a.c, Lanes)};
  }
  const Ints beyond = largest > bits_as<std::int32_t>(Spatial::internal::largest_reduced_angle);
  if ((beyond[0] | beyond[1] | beyond[2] | beyond[3]) != 0) [[unlikely]] {
    replace_huge(angles.data(), n, results.data());
  }
  return results;
}

}  // namespace metapod::lanes
