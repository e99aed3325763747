#pragma once

#include "lanes/pass_table.hpp"
#include "lanes/passes.hpp"

/// One binary, two instruction sets: the choice is made once, when the library is loaded.
/// ORVEK23_ISA_BASELINE or ORVEK23_ISA_AVX2 pins it.
namespace instruction_sets {

#if defined(__x86_64__) && !defined(ORVEK23_ISA_BASELINE)
#define ORVEK23_HAS_AVX2_PATH
extern const PassTable avx2;  ///< of the robot: host/passes_avx2.cpp

inline bool takes_avx2() {
#ifdef ORVEK23_ISA_AVX2
  return true;
#else
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2");
#endif
}
#endif

/// The passes for this machine.
template <class Model>
struct Chosen {
  static constexpr PassTable baseline = metapod::lanes::pass_table<Model>();
#ifdef ORVEK23_HAS_AVX2_PATH
  static inline const PassTable passes = takes_avx2() ? avx2 : baseline;
#else
  static constexpr const PassTable& passes = baseline;
#endif
};

}  // namespace instruction_sets
