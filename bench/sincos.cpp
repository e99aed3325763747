#include "spatial/sincos.hpp"

#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/sincos_lanes.hpp"
#include "host/instruction_sets.hpp"

// The 25 sines and cosines of one position pass, root and joints: the plug-in's, side by side as in
// the fast form and one by one as in the plain one, and as many calls of the C library.

#ifdef ORVEK23_HAS_AVX2_PATH
void by_lanes_avx2(const float* angles, float* sines, float* cosines);
#endif

namespace {

constexpr std::size_t nb_angles = 25, nb_sets = 1000;

using Angles = std::array<float, 4 * metapod::bench::nb_sincos_groups>;
using SinCosOf = void(const float* angles, float* sines, float* cosines);

const std::vector<Angles>& angle_sets() {
  static const std::vector<Angles> sets = [] {
    std::mt19937 random(23);
    std::uniform_real_distribution<float> angle(-3, 3);
    std::vector<Angles> filled(nb_sets);
    for (Angles& set : filled) {
      for (float& x : set) x = angle(random);
    }
    return filled;
  }();
  return sets;
}

void chosen(const float* angles, float* sines, float* cosines) {
#ifdef ORVEK23_HAS_AVX2_PATH
  static SinCosOf* const of_this_machine =
      instruction_sets::takes_avx2() ? by_lanes_avx2 : metapod::bench::by_lanes;
  of_this_machine(angles, sines, cosines);
#else
  metapod::bench::by_lanes(angles, sines, cosines);
#endif
}

void one_by_one(const float* angles, float* sines, float* cosines) {
  for (std::size_t k = 0; k < nb_angles; ++k) {
    const auto [s, c] = metapod::Spatial::sin_cos(angles[k]);
    sines[k] = s;
    cosines[k] = c;
  }
}

void by_libm(const float* angles, float* sines, float* cosines) {
  for (std::size_t k = 0; k < nb_angles; ++k) {
    double s = 0, c = 0;
    ::sincos(static_cast<double>(angles[k]), &s, &c);
    sines[k] = static_cast<float>(s);
    cosines[k] = static_cast<float>(c);
  }
}

void sincos(benchmark::State& state, SinCosOf* all) {
  Angles sines{}, cosines{};
  std::size_t k = 0;
  for (auto _ : state) {
    all(angle_sets()[k].data(), sines.data(), cosines.data());
    benchmark::DoNotOptimize(sines);
    benchmark::DoNotOptimize(cosines);
    k = (k + 1) % nb_sets;
  }
  state.SetLabel("25 angles");
}
BENCHMARK_CAPTURE(sincos, orvek23, chosen);
BENCHMARK_CAPTURE(sincos, orvek23_plain, one_by_one);
BENCHMARK_CAPTURE(sincos, libm, by_libm);

}  // namespace
