#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

/// What both fuzzers share: reading choices from bytes, and stopping at a fault.
namespace fuzz {

/// Says what is wrong and ends the program, so that the input is kept.
#define FUZZ_REQUIRE(condition)                                                      \
  do {                                                                               \
    if (!(condition)) {                                                              \
      std::fprintf(stderr, "%s:%d: not true: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                  \
    }                                                                                \
  } while (false)

/// Choices, byte by byte; zeros when all is read.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}

  bool empty() const { return next_ == end_; }
  std::uint8_t byte() { return empty() ? std::uint8_t{0} : *next_++; }
  unsigned up_to(unsigned largest) { return byte() % (largest + 1); }

  /// A number of any class: everyday ones, those at the limits, not finite ones, any bits.
  float number() {
    constexpr float limit = std::numeric_limits<float>::max();
    constexpr float table[] = {0,
                               -0.f,
                               1,
                               -1,
                               0.5f,
                               1.5707963f,
                               -1.5707963f,
                               3.1415927f,
                               100,
                               -0.01f,
                               1e-20f,
                               1e20f,
                               1e6f,
                               1e-40f,
                               std::numeric_limits<float>::min(),
                               limit,
                               -limit,
                               std::numeric_limits<float>::infinity(),
                               -std::numeric_limits<float>::infinity(),
                               std::numeric_limits<float>::quiet_NaN()};
    constexpr unsigned n = sizeof table / sizeof *table;
    const unsigned kind = byte();
    if (kind < 2 * n) return table[kind / 2];
    if (kind < 224) return (static_cast<float>(byte()) - 128) / 64;
    std::uint32_t bits = 0;
    for (int k = 0; k < 4; ++k) bits = bits << 8 | byte();
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }

  /// One in range, one just beyond, or anything.
  unsigned long index(unsigned long n) {
    const unsigned kind = byte();
    if (kind < 230) return kind % n;
    constexpr unsigned long odd[] = {0, 1, 1000, 1ul << 31, 1ul << 32, -2ul, -1ul};
    return kind < 245 ? n + kind % 3 : odd[kind % 7];
  }

 private:
  const std::uint8_t* next_;
  const std::uint8_t* end_;
};

}  // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
