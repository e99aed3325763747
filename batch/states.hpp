#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "spatial/bits_as.hpp"
#include "spatial/sincos.hpp"

namespace metapod::batch {

/// One number of many states, a lane a state: the scalar on which the book's visitors compute.
class States {
 public:
#if defined(ORVEK23_AVX512)
  static constexpr std::size_t size = 16;
#elif defined(ORVEK23_AVX2)
  static constexpr std::size_t size = 8;
#else
  static constexpr std::size_t size = 4;
#endif
  using Vector [[gnu::vector_size(size * sizeof(float))]] = float;

  constexpr States() : x_{} {}
  constexpr States(const Vector& x)
      : x_(x) {}  // implicit: what it converts from is no other number
  /// x in every lane.
  constexpr explicit States(float x) : x_(x - Vector{}) {}  // -0 stays -0

  constexpr const Vector& lanes() const {
    return x_;
  }

 private:
  Vector x_;
};

constexpr States operator-(const States& a) {
  return -a.lanes();
}
constexpr States operator+(const States& a, const States& b) {
  return a.lanes() + b.lanes();
}
constexpr States operator-(const States& a, const States& b) {
  return a.lanes() - b.lanes();
}
constexpr States operator*(const States& a, const States& b) {
  return a.lanes() * b.lanes();
}
constexpr States operator/(const States& a, const States& b) {
  return a.lanes() / b.lanes();
}
constexpr States operator+(const States& a, float b) {
  return a.lanes() + b;
}
constexpr States operator-(float a, const States& b) {
  return a - b.lanes();
}
constexpr States operator*(float a, const States& b) {
  return a * b.lanes();
}

/// With the bits of Spatial::sin_cos in every lane.
[[gnu::noinline]] inline Spatial::SinCosT<States> sin_cos(const States& angle) {
  constexpr std::size_t n = States::size;
  using Half [[gnu::vector_size(n / 2 * sizeof(float))]] = float;
  using Doubles [[gnu::vector_size(n / 2 * sizeof(double))]] = double;
  using Longs [[gnu::vector_size(n / 2 * sizeof(double))]] = std::uint64_t;

  const States::Vector x = angle.lanes();
  States::Vector s, c;
  for (std::size_t half = 0; half < 2; ++half) {
    Half part;
    __builtin_memcpy(&part, reinterpret_cast<const char*>(&x) + half * sizeof(part), sizeof(part));
    const auto of_half =
        Spatial::internal::reduced_sin_cos<Longs>(__builtin_convertvector(part, Doubles));
    const Half s_half = __builtin_convertvector(of_half.s, Half);
    const Half c_half = __builtin_convertvector(of_half.c, Half);
    __builtin_memcpy(reinterpret_cast<char*>(&s) + half * sizeof(part), &s_half, sizeof(part));
    __builtin_memcpy(reinterpret_cast<char*>(&c) + half * sizeof(part), &c_half, sizeof(part));
  }
  bool any_huge = false;
  for (std::size_t k = 0; k < n; ++k) {
    any_huge |= !(std::abs(x[k]) <= Spatial::internal::largest_reduced_angle);
  }
  if (any_huge) [[unlikely]] {
    for (std::size_t k = 0; k < n; ++k) {
      const auto of_lane = Spatial::sin_cos(x[k]);
      s[k] = of_lane.s;
      c[k] = of_lane.c;
    }
  }
  return {s, c};
}

}  // namespace metapod::batch
