#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
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

/// Four floats past the caches, if `streamed` and aligned: a table that does not fit in them is
/// written without being read first.
inline void store_four(float* a, const lanes::Lanes& row, bool streamed) {
#ifdef __SSE2__
  if (streamed && reinterpret_cast<std::uintptr_t>(a) % sizeof(row) == 0) {
    _mm_stream_ps(a, row);
    return;
  }
#endif
  static_cast<void>(streamed);
  lanes::store_first<4>(a, row);
}

/// n entries to every row, those of repeated states left out. value(i): entry i.
template <class Value>
void store(std::size_t n, Value value, const Block& block, const tavo::batch::Out& rows) {
  const bool streamed = block.streamed && n >= 64;
  using lanes::Lanes;
  const std::size_t used = block.used();
  for (std::size_t lane = 0; lane < used; lane += 4) {
    float* row[4];
    const std::size_t nb_rows = std::min<std::size_t>(4, used - lane);
    for (std::size_t k = 0; k < 4; ++k) {
      row[k] = rows.data + static_cast<std::ptrdiff_t>(block.state(lane + k)) * rows.stride;
    }
    const auto part = [&](std::size_t i) {
      return lanes::load_row<Lanes>(reinterpret_cast<const float*>(&value(i)) + lane);
    };
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4) {
      const auto columns = lanes::transposed<Lanes>(part(i), part(i + 1), part(i + 2), part(i + 3));
      if (nb_rows == 4) [[likely]] {
        for (std::size_t k = 0; k < 4; ++k) store_four(row[k] + i, columns[k], streamed);
      } else {
        for (std::size_t k = 0; k < nb_rows; ++k) store_four(row[k] + i, columns[k], streamed);
      }
    }
    for (; i < n; ++i) {
      for (std::size_t k = 0; k < nb_rows; ++k) row[k][i] = part(i)[static_cast<int>(k)];
    }
  }
}

}  // namespace metapod::batch
