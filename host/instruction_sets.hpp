#pragma once

#include "spatial/lanes.hpp"

#if defined(__x86_64__) && !defined(ORVEK23_SANITIZED)
#define ORVEK23_HAS_AVX2_PATH
#endif

/// One binary, two instruction sets: a pass is compiled for the baseline and for AVX2, and the
/// choice is made once, when the library is loaded. Both give the same bits. ORVEK23_ISA_BASELINE
/// or ORVEK23_ISA_AVX2 pins the path.
namespace tavo {

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

/// A function, everything that it calls inlined, as chosen for this machine.
template <auto function>
class Compiled;

template <class... Args, void (*function)(Args...)>
class Compiled<function> {
 public:
  static void call(Args... args) { chosen_(args...); }

 private:
  ORVEK23_FLATTEN static void baseline(Args... args) { function(args...); }
#ifdef ORVEK23_HAS_AVX2_PATH
  ORVEK23_FLATTEN [[gnu::target("avx2")]] static void avx2(Args... args) {
    function(args...);
  }
#else
  static constexpr auto* avx2 = baseline;
#endif

  static inline void (*const chosen_)(Args...) = internal::has_avx2() ? avx2 : baseline;
};

}  // namespace tavo
