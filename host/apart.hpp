#pragma once

#include <cstddef>
#include <vector>

/// Keeps what one object writes off the cache lines of another, so that threads with an object each
/// do not slow each other down. malloc places blocks one behind the other, aligned to 16 bytes: so
/// what an object writes last is followed by a line that nobody writes. (A block that begins on a
/// line would have to come from another function than malloc, whose pointers free is promised.)
namespace tavo {

inline constexpr std::size_t cache_line = 64;  ///< bytes

/// The end of an object.
struct Apart {
  std::byte untouched[cache_line];
};

/// n values, and room behind them.
template <class T>
std::vector<T> apart(std::size_t n) {
  std::vector<T> values;
  values.reserve(n + (cache_line + sizeof(T) - 1) / sizeof(T));
  values.resize(n);
  return values;
}

}  // namespace tavo
