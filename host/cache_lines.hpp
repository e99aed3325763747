#pragma once

#include <cstddef>
#include <cstdlib>

#include <Eigen/Core>

/// Keeps what one object writes off the cache lines of another, so that threads with an object each
/// do not slow each other down. All storage is malloc's own, aligned to 16 bytes as malloc does it.
namespace tavo::cache_lines {

inline constexpr std::size_t line = 64;  ///< bytes

/// At the end of an object: what malloc places behind it begins on another line.
struct Apart {
  std::byte untouched[line];
};

/// A zero matrix whose storage begins and ends on cache lines, as far as malloc can be brought to it.
/// Eigen takes it from malloc and will give it back to free: so a block on a line is left where
/// malloc looks first. A malloc that does otherwise costs speed, nothing else.
template <class Matrix>
Matrix zero_matrix(Eigen::Index rows, Eigen::Index columns) {
  const auto bytes = [rows](Eigen::Index n) {
    return sizeof(typename Matrix::Scalar) * static_cast<std::size_t>(rows * n);
  };
  // Where it does not end on a line, a column more that is given back in place.
  const Eigen::Index taken = bytes(columns) % line == 0 ? columns : columns + 1;
  void* block = nullptr;
  if (posix_memalign(&block, line, bytes(taken)) == 0) {
    void* const guard = std::malloc(1);  // keeps the block from merging with what lies behind it
    std::free(block);
    std::free(guard);
  }
  Matrix matrix(rows, taken);
  matrix.conservativeResize(rows, columns);
  matrix.setZero();
  return matrix;
}

}  // namespace tavo::cache_lines
