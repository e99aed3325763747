#pragma once

#include <array>
#include <cstddef>

#include "spatial/lanes.hpp"
#include "spatial/wide_lanes.hpp"

/// Records of floats in memory, and their values side by side: a lane a record. S is Lanes for four
/// records, or a wide scalar for eight.
namespace metapod::Spatial {

/// Rows become columns, in each half of wide lanes.
template <class S>
ORVEK23_INLINE std::array<S, 4> transposed(const S& a, const S& b, const S& c, const S& d) {
  const S ab_low = shuffled<0, 4, 1, 5>(a, b), ab_high = shuffled<2, 6, 3, 7>(a, b);
  const S cd_low = shuffled<0, 4, 1, 5>(c, d), cd_high = shuffled<2, 6, 3, 7>(c, d);
  return {shuffled<0, 1, 4, 5>(ab_low, cd_low), shuffled<2, 3, 6, 7>(ab_low, cd_low),
          shuffled<0, 1, 4, 5>(ab_high, cd_high), shuffled<2, 3, 6, 7>(ab_high, cd_high)};
}

namespace internal {

/// row(0) for Lanes; row(0) and row(4), where the second half's records start, for wide lanes.
template <class S, class Row>
ORVEK23_INLINE S in_halves(Row row) {
  if constexpr (is_wide<S>) {
    return joined<S>(row(std::size_t{0}), row(nb_lanes));
  } else {
    return row(std::size_t{0});
  }
}

/// n floats from `begin` on of every record, a lane a record.
template <std::size_t n, class S, class Records>
ORVEK23_INLINE std::array<S, n> load_columns(const Records& records, std::size_t begin) {
  const auto at = [&](std::size_t k)
                      ORVEK23_INLINE_LAMBDA { return records[k % records.size()] + begin; };
  const auto row = [&](std::size_t k) ORVEK23_INLINE_LAMBDA {
    return in_halves<S>([&](std::size_t first)
                            ORVEK23_INLINE_LAMBDA { return load_four(at(first + k)); });
  };
  const auto rows = [&](std::size_t k, std::size_t l) ORVEK23_INLINE_LAMBDA {
    return in_halves<S>([&](std::size_t first) ORVEK23_INLINE_LAMBDA {
      return load_two_and_two(at(first + k), at(first + l));
    });
  };
  if constexpr (n == 4) {
    return transposed(row(0), row(1), row(2), row(3));
  } else if constexpr (n == 2) {
    const S ab = rows(0, 1), cd = rows(2, 3);
    return {shuffled<0, 2, 4, 6>(ab, cd), shuffled<1, 3, 5, 7>(ab, cd)};
  } else {
    static_assert(n == 1);
    return {in_halves<S>([&](std::size_t first) ORVEK23_INLINE_LAMBDA {
      return Lanes{*at(first), *at(first + 1), *at(first + 2), *at(first + 3)};
    })};
  }
}

}  // namespace internal

/// The first n floats of the records at the given addresses, float by float, a lane a record; lanes
/// without a record repeat the first ones. Nothing beyond the n floats is read.
template <std::size_t n, class S = Lanes, std::size_t nb_records>
ORVEK23_INLINE std::array<S, n> load_lanes(const std::array<const float*, nb_records>& records) {
  std::array<S, n> values;
  unrolled<(n + 3) / 4>([&](auto block) ORVEK23_INLINE_LAMBDA {
    constexpr std::size_t begin = 4 * block, width = begin + 4 <= n ? 4 : n - begin;
    const auto columns = internal::load_columns<width, S>(records, begin);
    unrolled<width>([&](auto k) ORVEK23_INLINE_LAMBDA { values[begin + k] = columns[k]; });
  });
  return values;
}

/// The n floats of a record, each in all lanes; of two records, each in all lanes of its half.
template <std::size_t n, class S, std::size_t nb_records>
ORVEK23_INLINE std::array<S, n> spread_record(const std::array<const float*, nb_records>& records) {
  static_assert(n >= nb_lanes && nb_records == (is_wide<S> ? 2 : 1));
  std::array<S, n> values;
  unrolled<(n + 3) / 4>([&](auto block) ORVEK23_INLINE_LAMBDA {
    constexpr std::size_t begin = 4 * block + 4 <= n ? 4 * block : n - 4;  // the last may overlap
    const S row = internal::in_halves<S>([&](std::size_t first) ORVEK23_INLINE_LAMBDA {
      return load_four(records[first / nb_lanes] + begin);
    });
    unrolled<4>([&](auto k) ORVEK23_INLINE_LAMBDA {
      constexpr int lane = k;
      values[begin + k] = shuffled<lane, lane, lane, lane>(row, row);
    });
  });
  return values;
}

/// Four or fewer records, for both halves.
template <std::size_t n>
ORVEK23_INLINE std::array<const float*, 8> twice(const std::array<const float*, n>& records) {
  std::array<const float*, 8> halves;
  unrolled<8>([&](auto k) ORVEK23_INLINE_LAMBDA { halves[k] = records[k % 4 % n]; });
  return halves;
}

/// The first n lanes, side by side in memory.
template <std::size_t n, class S>
ORVEK23_INLINE void store_row(float* a, const S& row) {
  store_first<(n < 4 ? n : 4)>(a, half<0>(row));
  if constexpr (n > 4) store_first<n - 4>(a + 4, half<1>(row));
}

namespace internal {

/// Lane first_lane + k of rows become columns, width floats, to record k.
template <std::size_t first_lane, std::size_t width, class S, std::size_t nb_records>
ORVEK23_INLINE void store_columns(const std::array<S, 4>& columns,
                                  const std::array<float*, nb_records>& records,
                                  std::size_t begin) {
  unrolled<nb_records>([&](auto k) ORVEK23_INLINE_LAMBDA {
    constexpr std::size_t lane = first_lane + k;
    store_first<width>(records[k] + begin, half<lane / nb_lanes>(columns[lane % nb_lanes]));
  });
}

}  // namespace internal

/// Lane k of the values, as n floats, to record k; of wide lanes also the high half's to records of
/// its own.
template <class S, std::size_t n, std::size_t nb_records, std::size_t... nb_high>
ORVEK23_INLINE void store_lanes(const std::array<S, n>& values,
                                const std::array<float*, nb_records>& records,
                                const std::array<float*, nb_high>&... high_records) {
  unrolled<(n + 3) / 4>([&](auto block) ORVEK23_INLINE_LAMBDA {
    constexpr std::size_t begin = 4 * block, width = begin + 4 <= n ? 4 : n - begin;
    const auto row = [&](std::size_t k) ORVEK23_INLINE_LAMBDA {
      return values[begin + k % width];  // what stands beyond the width is not stored
    };
    const auto columns = transposed(row(0), row(1), row(2), row(3));
    internal::store_columns<0, width>(columns, records, begin);
    (internal::store_columns<nb_lanes, width>(columns, high_records, begin), ...);
  });
}

}  // namespace metapod::Spatial
