#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "spatial/bits_as.hpp"

/// Floats side by side in registers, one a lane, by the compilers' vector extension: arithmetic on
/// them is the scalar arithmetic of each lane, bit for bit. A spatial value of scalar type Lanes is
/// four values of float side by side. Words of this floor: docs/lanes.md.
///
///   Lanes   four
///   Wide    eight, two Lanes as its halves: one register where the instruction set has such, else
///           a pair
///   Block   as many as a register has

// A function that is one piece of code with all that it calls: what is called often enough to be
// worth a copy of its own. Without optimization, and instrumented, calls stay calls.
#if defined(__OPTIMIZE__) && !defined(ORVEK23_SANITIZED)
#define ORVEK23_WHOLE [[gnu::noinline, gnu::flatten]]
#else
#define ORVEK23_WHOLE [[gnu::noinline]]
#endif

namespace metapod::lanes {

using Spatial::bits_as;

inline constexpr std::size_t nb_lanes = 4;
using Lanes [[gnu::vector_size(16)]] = float;
using Ints [[gnu::vector_size(16)]] = std::int32_t;

/// f(0), f(1), ..., f(n - 1) with compile-time arguments.
template <std::size_t n, class F>
constexpr void unrolled(F f) {
  [&]<std::size_t... k>(std::index_sequence<k...>) {
    (f(std::integral_constant<std::size_t, k>{}), ...);
  }
  (std::make_index_sequence<n>{});
}

/// Lanes a, b, c, d of the eight that x and y have; -1 for any. Shuffled as integers, for which g++
/// takes opcodes that run on two ports of present processors (5 % of inverse dynamics).
template <int a, int b, int c, int d>
Lanes shuffled(const Lanes& x, const Lanes& y) {
  return bits_as<Lanes>(__builtin_shufflevector(bits_as<Ints>(x), bits_as<Ints>(y), a, b, c, d));
}

#ifdef ORVEK23_AVX2

using Wide [[gnu::vector_size(32)]] = float;
using Block = Wide;

inline Wide joined(const Lanes& low, const Lanes& high) {
  return __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7);
}
// The next three by opcode: from shuffles g++ 12 makes another one for all of them, which goes to
// the unit that limits the passes (40 % of the mass matrix's shuffles).
/// Four floats in memory, in both halves: a load and no shuffle.
inline Wide load_in_both_halves(const float* a) {
#ifdef __clang__
  Lanes x;
  std::memcpy(&x, a, sizeof(x));
  return joined(x, x);
#else
  return __builtin_ia32_vbroadcastf128_ps256(reinterpret_cast<const Lanes*>(a));
#endif
}
/// Half 0 is the low one.
template <std::size_t n>
Lanes half(const Wide& x) {
  return __builtin_ia32_vextractf128_ps256(x, n);
}
/// The low half of x, the high half of y.
inline Wide low_and_high(const Wide& x, const Wide& y) {
  return __builtin_ia32_blendps256(x, y, 0xf0);
}
/// The same lanes in both halves.
template <int a, int b, int c, int d>
Wide shuffled(const Wide& x, const Wide& y) {
  using WideInts [[gnu::vector_size(32)]] = std::int32_t;
  constexpr auto low = [](int lane) { return lane < 4 ? lane : lane + 4; };
  constexpr auto high = [](int lane) { return lane < 0 ? lane : lane < 4 ? lane + 4 : lane + 8; };
  return bits_as<Wide>(__builtin_shufflevector(bits_as<WideInts>(x), bits_as<WideInts>(y), low(a),
                                               low(b), low(c), low(d), high(a), high(b), high(c),
                                               high(d)));
}

#else

struct Wide {
  Lanes low, high;

  friend Wide operator-(const Wide& a) { return {-a.low, -a.high}; }
  friend Wide operator+(const Wide& a, const Wide& b) { return {a.low + b.low, a.high + b.high}; }
  friend Wide operator-(const Wide& a, const Wide& b) { return {a.low - b.low, a.high - b.high}; }
  friend Wide operator*(const Wide& a, const Wide& b) { return {a.low * b.low, a.high * b.high}; }
};
using Block = Lanes;

inline Wide joined(const Lanes& low, const Lanes& high) {
  return {low, high};
}
inline Wide load_in_both_halves(const float* a) {
  Lanes x;
  std::memcpy(&x, a, sizeof(x));
  return {x, x};
}
template <std::size_t n>
Lanes half(const Wide& x) {
  return n == 0 ? x.low : x.high;
}
inline Wide low_and_high(const Wide& x, const Wide& y) {
  return {x.low, y.high};
}
template <int a, int b, int c, int d>
Wide shuffled(const Wide& x, const Wide& y) {
  return {shuffled<a, b, c, d>(x.low, y.low), shuffled<a, b, c, d>(x.high, y.high)};
}

#endif

template <class S>
inline constexpr bool is_wide = std::is_same_v<S, Wide>;
template <class S>
inline constexpr std::size_t nb_lanes_of = sizeof(S) / sizeof(float);

/// Lanes are their own half 0.
template <std::size_t n>
Lanes half(const Lanes& x) {
  static_assert(n == 0);
  return x;
}

/// x in every lane.
template <class S>
S all_lanes(float x) {
  const Lanes lanes{x, x, x, x};
  if constexpr (is_wide<S>) {
    return joined(lanes, lanes);
  } else {
    return lanes;
  }
}

/// From memory of any alignment.
template <class S>
S load_row(const float* a) {
  S row;
  std::memcpy(&row, a, sizeof(row));
  return row;
}

/// The first n floats of a row. Whole vectors are stored, not bytes: compilers would copy those by
/// way of integer registers.
template <std::size_t n>
void store_first(float* a, const Lanes& row) {
  using Pair [[gnu::vector_size(8)]] = float;
  if constexpr (n == nb_lanes) {
    std::memcpy(a, &row, sizeof(row));
  } else if constexpr (n >= 2) {
    const Pair pair = __builtin_shufflevector(row, row, 0, 1);
    std::memcpy(a, &pair, sizeof(pair));
  }
  if constexpr (n % 2 == 1) a[n - 1] = row[n - 1];
}

/// Rows become columns, in each half of wide lanes.
template <class S>
std::array<S, 4> transposed(const S& a, const S& b, const S& c, const S& d) {
  const S ab_low = shuffled<0, 4, 1, 5>(a, b), ab_high = shuffled<2, 6, 3, 7>(a, b);
  const S cd_low = shuffled<0, 4, 1, 5>(c, d), cd_high = shuffled<2, 6, 3, 7>(c, d);
  return {shuffled<0, 1, 4, 5>(ab_low, cd_low), shuffled<2, 3, 6, 7>(ab_low, cd_low),
          shuffled<0, 1, 4, 5>(ab_high, cd_high), shuffled<2, 3, 6, 7>(ab_high, cd_high)};
}

}  // namespace metapod::lanes
