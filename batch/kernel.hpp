#pragma once

#include <cstddef>

#include "batch/batch.hpp"

/// What is compiled once for every instruction set. Its types have the same names in all of them.
namespace tavo::batch {

/// Ten numbers of a body's spatial inertia: m, h = m c, and xx, yx, yy, zx, zy, zz about its
/// origin.
using SpatialInertia = float[10];

/// Evaluates states side by side.
struct Kernel {
  std::size_t lanes;
  std::size_t workspace_size, workspace_alignment;  ///< bytes
  void (*construct)(void* workspace);
  /// States first .. first + lanes - 1, those beyond the last left out.
  void (*evaluate)(void* workspace, const Inputs& inputs, const SpatialInertia* inertias,
                   float mass, const Outputs& outputs, std::size_t first);
};

extern const Kernel baseline_kernel;
#ifdef __x86_64__
extern const Kernel avx2_kernel, avx512_kernel;
#endif

}  // namespace tavo::batch
