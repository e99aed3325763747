#include "lanes/begin_avx2.hpp"
//
#include "bench/sincos_lanes.hpp"

void by_lanes_avx2(const float* angles, float* sines, float* cosines);
void by_lanes_avx2(const float* angles, float* sines, float* cosines) {
  metapod::bench::by_lanes(angles, sines, cosines);
}

#include "lanes/end_region.hpp"
