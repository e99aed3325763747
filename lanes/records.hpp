#pragma once

#include <array>
#include <cstddef>

#include "lanes/lanes.hpp"

/// Records of floats in memory, and their values side by side: a lane a record.
namespace metapod::lanes {

/// Rows of four floats, 0 <= row < n, of records at the given addresses: float 4 row + k of record
/// l is lane l of value 4 row + k. One record a lane.
template <std::size_t n, class S>
std::array<S, 4 * n> load_rows(const std::array<const float*, nb_lanes_of<S>>& records) {
  std::array<S, 4 * n> values;
  unrolled<n>([&](auto row) {
    const auto at = [&](std::size_t k) {
      const Lanes low = load_row<Lanes>(records[k] + 4 * row);
      if constexpr (is_wide<S>) {
        return joined(low, load_row<Lanes>(records[nb_lanes + k] + 4 * row));
      } else {
        return low;
      }
    };
    const auto columns = transposed<S>(at(0), at(1), at(2), at(3));
    unrolled<4>([&](auto k) { values[4 * row + k] = columns[k]; });
  });
  return values;
}

/// Every lane.
inline constexpr unsigned all_used = ~0u;

namespace internal {

/// Lane first_lane + k of rows become columns, width floats, to record k.
template <unsigned used, std::size_t first_lane, std::size_t width, class S, std::size_t nb_records>
void store_columns(const std::array<S, 4>& columns, const std::array<float*, nb_records>& records,
                   std::size_t begin) {
  unrolled<nb_records>([&](auto k) {
    constexpr std::size_t lane = first_lane + k;
    if constexpr ((used >> lane & 1) != 0) {
      store_first<width>(records[k] + begin, half<lane / nb_lanes>(columns[lane % nb_lanes]));
    }
  });
}

}  // namespace internal

/// Lane k of the values, as n floats, to record k if bit k of `used` is set; of wide lanes also the
/// high half's to records of its own.
template <unsigned used = all_used, class S, std::size_t n, std::size_t nb_records,
          std::size_t... nb_high>
void store_lanes(const std::array<S, n>& values, const std::array<float*, nb_records>& records,
                 const std::array<float*, nb_high>&... high_records) {
  unrolled<(n + 3) / 4>([&](auto block) {
    constexpr std::size_t begin = 4 * block, width = begin + 4 <= n ? 4 : n - begin;
    const auto row = [&](std::size_t k) {
      return values[begin + k % width];  // what stands beyond the width is not stored
    };
    const auto columns = transposed<S>(row(0), row(1), row(2), row(3));
    internal::store_columns<used, 0, width>(columns, records, begin);
    (internal::store_columns<used, nb_lanes, width>(columns, high_records, begin), ...);
  });
}

}  // namespace metapod::lanes
