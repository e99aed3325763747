#pragma once

#ifdef ORVEK23_ISA_PLAIN
#include "host/plain_dynamics.hpp"
#else
#include "host/lane_dynamics.hpp"
#endif

namespace tavo {

/// What computes: the passes of lanes/, or with ORVEK23_ISA_PLAIN those of algorithms/ alone, for
/// any compiler and processor, and for stepping through.
#ifdef ORVEK23_ISA_PLAIN
template <class Model>
using DefaultDynamics = PlainDynamics<Model>;
#else
template <class Model>
using DefaultDynamics = LaneDynamics<Model>;
#endif

}  // namespace tavo
