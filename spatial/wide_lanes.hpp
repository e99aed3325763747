#pragma once

#include <cstddef>

#include "spatial/lanes.hpp"

/// Eight floats: two Lanes side by side, for values that take the same arithmetic. One register
/// where the instruction set has such, else a pair; what computes on them is told which to use.
namespace metapod::Spatial {

using WideLanes [[gnu::vector_size(32)]] = float;

struct LanesPair {
  Lanes low, high;

  constexpr LanesPair() = default;
  constexpr LanesPair(const Lanes& low, const Lanes& high) : low(low), high(high) {}

  ORVEK23_INLINE LanesPair operator-() const { return {-low, -high}; }
  ORVEK23_INLINE friend LanesPair operator+(const LanesPair& a, const LanesPair& b) {
    return {a.low + b.low, a.high + b.high};
  }
  ORVEK23_INLINE friend LanesPair operator-(const LanesPair& a, const LanesPair& b) {
    return {a.low - b.low, a.high - b.high};
  }
  ORVEK23_INLINE friend LanesPair operator*(const LanesPair& a, const LanesPair& b) {
    return {a.low * b.low, a.high * b.high};
  }
};

template <class S>
inline constexpr std::size_t nb_lanes_of = sizeof(S) / sizeof(float);
template <class S>
inline constexpr bool is_wide = sizeof(S) == 2 * sizeof(Lanes);

/// The two halves as one; Wide is WideLanes or LanesPair.
template <class Wide>
ORVEK23_INLINE Wide joined(const Lanes& low, const Lanes& high) {
  if constexpr (__is_same(Wide, LanesPair)) {
    return {low, high};
  } else {
    return __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7);
  }
}

/// x in every lane.
template <class S>
ORVEK23_INLINE S all_lanes(float x) {
  const Lanes lanes{x, x, x, x};
  if constexpr (is_wide<S>) {
    return joined<S>(lanes, lanes);
  } else {
    return lanes;
  }
}

/// Half 0 is the low one. Lanes are their own half 0.
template <std::size_t n>
ORVEK23_INLINE Lanes half(const Lanes& x) {
  static_assert(n == 0);
  return x;
}
template <std::size_t n>
ORVEK23_INLINE Lanes half(const LanesPair& x) {
  return n == 0 ? x.low : x.high;
}
template <std::size_t n>
ORVEK23_INLINE Lanes half(const WideLanes& x) {
  return __builtin_shufflevector(x, x, 4 * n, 4 * n + 1, 4 * n + 2, 4 * n + 3);
}

/// The same in both halves.
template <int a, int b, int c, int d>
ORVEK23_INLINE LanesPair shuffled(const LanesPair& x, const LanesPair& y) {
  return {shuffled<a, b, c, d>(x.low, y.low), shuffled<a, b, c, d>(x.high, y.high)};
}
template <int a, int b, int c, int d>
ORVEK23_INLINE WideLanes shuffled(const WideLanes& x, const WideLanes& y) {
  constexpr auto in_low = [](int lane) { return lane < 4 ? lane : lane + 4; };
  return __builtin_shufflevector(x, y, in_low(a), in_low(b), in_low(c), in_low(d), in_low(a) + 4,
                                 in_low(b) + 4, in_low(c) + 4, in_low(d) + 4);
}

}  // namespace metapod::Spatial
