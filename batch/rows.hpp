#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#ifdef __SSE2__
#include <xmmintrin.h>
#endif

#include "batch/batch.hpp"
#include "batch/states.hpp"
#include "lanes/lanes.hpp"
#include "lanes/records.hpp"

/// Rows of the caller, a row a state, and lanes of states.
namespace metapod::batch {

/// Which states a block has: first, first + 1, ..., the last one repeated where there are no more.
struct Block {
  std::size_t first, nb_states;
  bool streamed;  ///< results are more than the caches hold

  std::size_t state(std::size_t lane) const { return std::min(first + lane, nb_states - 1); }
  std::size_t used() const { return std::min(States::size, nb_states - first); }
};

/// n entries of every row.
inline void load(const tavo::batch::In& rows, const Block& block, std::size_t n, States* values) {
  using lanes::Lanes;
  float* const out = reinterpret_cast<float*>(values);
  for (std::size_t lane = 0; lane < States::size; lane += 4) {
    const float* row[4];
    for (std::size_t k = 0; k < 4; ++k) {
      row[k] = rows.data + static_cast<std::ptrdiff_t>(block.state(lane + k)) * rows.stride;
    }
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4) {
      const auto columns = lanes::transposed<Lanes>(
          lanes::load_row<Lanes>(row[0] + i), lanes::load_row<Lanes>(row[1] + i),
          lanes::load_row<Lanes>(row[2] + i), lanes::load_row<Lanes>(row[3] + i));
      for (std::size_t k = 0; k < 4; ++k) {
        lanes::store_first<4>(out + (i + k) * States::size + lane, columns[k]);
      }
    }
    for (; i < n; ++i) {
      for (std::size_t k = 0; k < 4; ++k) out[i * States::size + lane + k] = row[k][i];
    }
  }
}

/// Four floats, or eight as two fours, past the caches if `streamed` and aligned: a table that does
/// not fit in them is written without being read first.
template <class S>
void store_row(float* a, const S& row, bool streamed) {
#ifdef __SSE2__
  if (streamed && reinterpret_cast<std::uintptr_t>(a) % sizeof(lanes::Lanes) == 0) {
    _mm_stream_ps(a, lanes::half<0>(row));
    if constexpr (lanes::is_wide<S>) _mm_stream_ps(a + 4, lanes::half<1>(row));
    return;
  }
#endif
  static_cast<void>(streamed);
  std::memcpy(a, &row, sizeof(row));
}

/// n entries to every row, those of repeated states left out. value(i): entry i.
template <class Value>
void store(std::size_t n, Value value, const Block& block, const tavo::batch::Out& rows) {
  using lanes::Lanes;
  const bool streamed = block.streamed && n >= 64;
  const std::size_t used = block.used();
  for (std::size_t lane = 0; lane < used; lane += 4) {
    float* row[4];
    const std::size_t nb_rows = std::min<std::size_t>(4, used - lane);
    for (std::size_t k = 0; k < 4; ++k) {
      row[k] = rows.data + static_cast<std::ptrdiff_t>(block.state(lane + k)) * rows.stride;
    }
    const auto four = [&](std::size_t i) {
      return lanes::load_row<Lanes>(reinterpret_cast<const float*>(&value(i)) + lane);
    };
    // Entries from i on of four rows, as many as S has.
    const auto store_entries = [&]<class S>(std::size_t i, S) {
      const auto part = [&](std::size_t k) -> S {
        if constexpr (lanes::is_wide<S>) {
          return lanes::joined(four(i + k), four(i + k + 4));
        } else {
          return four(i + k);
        }
      };
      const auto columns = lanes::transposed<S>(part(0), part(1), part(2), part(3));
      if (nb_rows == 4) [[likely]] {
        for (std::size_t k = 0; k < 4; ++k) store_row(row[k] + i, columns[k], streamed);
      } else {
        for (std::size_t k = 0; k < nb_rows; ++k) store_row(row[k] + i, columns[k], streamed);
      }
    };
    std::size_t i = 0;
    constexpr std::size_t width = lanes::nb_lanes_of<lanes::Block>;
    for (; i + width <= n; i += width) store_entries(i, lanes::Block());
    for (; i + 4 <= n; i += 4) store_entries(i, Lanes());
    for (; i < n; ++i) {
      for (std::size_t k = 0; k < nb_rows; ++k) row[k][i] = four(i)[static_cast<int>(k)];
    }
  }
}

}  // namespace metapod::batch
