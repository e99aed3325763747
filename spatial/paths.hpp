#pragma once

#include "spatial/lanes.hpp"
#include "spatial/wide_lanes.hpp"

// A call that is not inlined is compiled for the baseline, which hands wide vectors over in other
// registers than AVX2 does: no AVX2 path where the compiler leaves calls.
#if defined(__x86_64__) && defined(__OPTIMIZE__) && !defined(ORVEK23_SANITIZED) && \
    !(defined(__clang__) && defined(__OPTIMIZE_SIZE__))
#define ORVEK23_HAS_AVX2_PATH
#endif

/// Instruction sets that the passes are compiled for. Both give the same bits.
///   Wide                 eight floats
///   Block                as many floats as a register has, for records that are alike
///   Function<f>::call    f with everything that it calls inlined, functions of this kind excepted
namespace metapod::Spatial {

struct Baseline {
  using Wide = LanesPair;
  using Block = Lanes;

  template <auto f>
  struct Function;
  template <class... Args, void (*f)(Args...)>
  struct Function<f> {
    [[gnu::noinline]] ORVEK23_FLATTEN static void call(Args... args) { f(args...); }
  };
};

#ifdef ORVEK23_HAS_AVX2_PATH
struct Avx2 {
  using Wide = WideLanes;
  using Block = WideLanes;

  template <auto f>
  struct Function;
  template <class... Args, void (*f)(Args...)>
  struct Function<f> {
    [[gnu::noinline, gnu::target("avx2")]] ORVEK23_FLATTEN static void call(Args... args) {
      f(args...);
    }
  };
};
#else
using Avx2 = Baseline;
#endif

}  // namespace metapod::Spatial
