#pragma once

#include <bit>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>

/// What computes on lanes is inlined to the last call into one function a pass, because that
/// function is compiled for each instruction set; a call left over would be compiled for the
/// lowest. Sanitized builds keep the calls and the lowest instruction set: instrumented whole, a
/// pass takes minutes to compile. So do builds without optimization.
#ifdef ORVEK23_SANITIZED
#define ORVEK23_INLINE inline
#define ORVEK23_INLINE_LAMBDA
#define ORVEK23_FLATTEN
#else
#define ORVEK23_INLINE [[gnu::always_inline]] inline
#define ORVEK23_INLINE_LAMBDA __attribute__((always_inline))
#define ORVEK23_FLATTEN [[gnu::flatten]]
#endif

/// Four floats in one register, one a lane, by the compilers' vector extension: arithmetic on Lanes
/// is the scalar arithmetic of each lane, bit for bit. A spatial value of scalar type Lanes is four
/// values of float side by side. Eight: wide_lanes.hpp. To and from memory: records.hpp.
namespace metapod::Spatial {

inline constexpr std::size_t nb_lanes = 4;
using Lanes [[gnu::vector_size(16)]] = float;

/// f(0), f(1), ..., f(n - 1) with compile-time arguments.
template <std::size_t n, class F>
ORVEK23_INLINE constexpr void unrolled(F f) {
  [&]<std::size_t... k>(std::index_sequence<k...>) ORVEK23_INLINE_LAMBDA {
    (f(std::integral_constant<std::size_t, k>{}), ...);
  }
  (std::make_index_sequence<n>{});
}

/// Lanes a, b, c, d of the eight that x and y have.
template <int a, int b, int c, int d>
ORVEK23_INLINE Lanes shuffled(const Lanes& x, const Lanes& y) {
  return __builtin_shufflevector(x, y, a, b, c, d);
}

ORVEK23_INLINE Lanes load_four(const float* a) {
  Lanes row;
  std::memcpy(&row, a, sizeof(row));
  return row;
}

/// Two floats at a, then two at b; as doubles, which is how a register is loaded by halves.
ORVEK23_INLINE Lanes load_two_and_two(const float* a, const float* b) {
  using Halves [[gnu::vector_size(16)]] = double;
  double low, high;
  std::memcpy(&low, a, sizeof(low));
  std::memcpy(&high, b, sizeof(high));
  return std::bit_cast<Lanes>(Halves{low, high});
}

/// The first n floats of a row; what stands in the others is not said.
template <std::size_t n>
ORVEK23_INLINE Lanes load_first(const float* a) {
  static_assert(n == nb_lanes || n == 2);
  if constexpr (n == nb_lanes) {
    return load_four(a);
  } else {
    return load_two_and_two(a, a);
  }
}

/// The first n floats of a row. Whole vectors are stored, not bytes: compilers would copy those by
/// way of integer registers.
template <std::size_t n>
ORVEK23_INLINE void store_first(float* a, const Lanes& row) {
  using Pair [[gnu::vector_size(8)]] = float;
  if constexpr (n == nb_lanes) {
    std::memcpy(a, &row, sizeof(row));
  } else if constexpr (n >= 2) {
    const Pair pair = __builtin_shufflevector(row, row, 0, 1);
    std::memcpy(a, &pair, sizeof(pair));
  }
  if constexpr (n % 2 == 1) a[n - 1] = row[n - 1];
}

}  // namespace metapod::Spatial
