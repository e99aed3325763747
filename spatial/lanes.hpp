#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>

/// What computes on lanes is inlined to the last call into one function a pass, because that
/// function is compiled for each instruction set; a call left over would be compiled for the
/// lowest. Sanitized builds keep the calls and the lowest instruction set: instrumented whole, a
/// pass takes minutes to compile.
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
/// values of float side by side; load_lanes and store_lanes turn one into the other.
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

/// Rows become columns.
ORVEK23_INLINE std::array<Lanes, 4> transposed(const Lanes& a, const Lanes& b, const Lanes& c,
                                               const Lanes& d) {
  const Lanes ab_low = __builtin_shufflevector(a, b, 0, 4, 1, 5);
  const Lanes ab_high = __builtin_shufflevector(a, b, 2, 6, 3, 7);
  const Lanes cd_low = __builtin_shufflevector(c, d, 0, 4, 1, 5);
  const Lanes cd_high = __builtin_shufflevector(c, d, 2, 6, 3, 7);
  return {__builtin_shufflevector(ab_low, cd_low, 0, 1, 4, 5),
          __builtin_shufflevector(ab_low, cd_low, 2, 3, 6, 7),
          __builtin_shufflevector(ab_high, cd_high, 0, 1, 4, 5),
          __builtin_shufflevector(ab_high, cd_high, 2, 3, 6, 7)};
}

namespace internal {

/// n floats from `begin` on of every record, a lane a record.
template <std::size_t n, class Records>
ORVEK23_INLINE std::array<Lanes, n> load_columns(const Records& records, std::size_t begin) {
  const auto at = [&](std::size_t k)
                      ORVEK23_INLINE_LAMBDA { return records[k % records.size()] + begin; };
  if constexpr (n == 4) {
    return transposed(load_four(at(0)), load_four(at(1)), load_four(at(2)), load_four(at(3)));
  } else if constexpr (n == 2) {
    const Lanes ab = load_two_and_two(at(0), at(1)), cd = load_two_and_two(at(2), at(3));
    return {__builtin_shufflevector(ab, cd, 0, 2, 4, 6),
            __builtin_shufflevector(ab, cd, 1, 3, 5, 7)};
  } else {
    static_assert(n == 1);
    return {Lanes{*at(0), *at(1), *at(2), *at(3)}};
  }
}

}  // namespace internal

/// The first n floats of the records at the given addresses, float by float, a lane a record; lanes
/// without a record repeat the first. Nothing beyond the n floats is read.
template <std::size_t n, std::size_t nb_records>
ORVEK23_INLINE std::array<Lanes, n> load_lanes(
    const std::array<const float*, nb_records>& records) {
  std::array<Lanes, n> values;
  unrolled<(n + 3) / 4>([&](auto block) ORVEK23_INLINE_LAMBDA {
    constexpr std::size_t begin = 4 * block, width = begin + 4 <= n ? 4 : n - begin;
    const auto columns = internal::load_columns<width>(records, begin);
    unrolled<width>([&](auto k) ORVEK23_INLINE_LAMBDA { values[begin + k] = columns[k]; });
  });
  return values;
}

/// Lane k of the values, as n floats, to record k.
template <std::size_t n, std::size_t nb_records>
ORVEK23_INLINE void store_lanes(const std::array<Lanes, n>& values,
                                const std::array<float*, nb_records>& records) {
  unrolled<(n + 3) / 4>([&](auto block) ORVEK23_INLINE_LAMBDA {
    constexpr std::size_t begin = 4 * block, width = begin + 4 <= n ? 4 : n - begin;
    const auto row = [&](std::size_t k) ORVEK23_INLINE_LAMBDA {
      return values[begin + k % width];  // what stands beyond the width is not stored
    };
    const auto columns = transposed(row(0), row(1), row(2), row(3));
    unrolled<nb_records>(
        [&](auto k) ORVEK23_INLINE_LAMBDA { store_first<width>(records[k] + begin, columns[k]); });
  });
}

}  // namespace metapod::Spatial
