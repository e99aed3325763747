#pragma once

#include "spatial/paths.hpp"

/// One binary, two instruction sets: the choice is made once, when the library is loaded.
/// ORVEK23_ISA_BASELINE or ORVEK23_ISA_AVX2 pins it.
namespace tavo {

#if defined(ORVEK23_ISA_AVX2) && !defined(ORVEK23_HAS_AVX2_PATH)
#error "this build has no AVX2 path to pin: it needs x86-64, optimization and no sanitizer"
#endif

namespace internal {

inline bool has_avx2() {
#if defined(ORVEK23_ISA_BASELINE) || !defined(ORVEK23_HAS_AVX2_PATH)
  return false;
#elif defined(ORVEK23_ISA_AVX2)
  return true;
#else
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2");
#endif
}

}  // namespace internal

/// Of two forms of a function the one for this machine.
template <auto for_baseline, auto for_avx2>
class Chosen;

template <class... Args, void (*for_baseline)(Args...), void (*for_avx2)(Args...)>
class Chosen<for_baseline, for_avx2> {
 public:
  static void call(Args... args) { chosen_(args...); }

 private:
  static inline void (*const chosen_)(Args...) =
      internal::has_avx2() ? metapod::Spatial::Avx2::Function<for_avx2>::call
                           : metapod::Spatial::Baseline::Function<for_baseline>::call;
};

}  // namespace tavo
