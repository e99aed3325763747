#include "spatial/sincos.hpp"

#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include "host/instruction_sets.hpp"

// The 25 sines and cosines of one position pass, root and joints: the plug-in's, and as many calls
// of the C library.

namespace {

using metapod::Spatial::Lanes, metapod::Spatial::SinCos;
constexpr std::size_t nb_angles = 25, nb_groups = 7, nb_sets = 1000;

using Angles = std::array<float, 4 * nb_groups>;
using Results = std::array<SinCos, nb_groups>;

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

void by_lanes(const Angles& angles, Results& results) {
  std::array<Lanes, nb_groups> groups;
  for (std::size_t k = 0; k < nb_groups; ++k) {
    const float* a = &angles[4 * k];
    groups[k] = Lanes{a[0], a[1], a[2], a[3]};
  }
  results = metapod::Spatial::sin_cos(groups);
}

void by_libm(const Angles& angles, Results& results) {
  for (std::size_t k = 0; k < nb_angles; ++k) {
    double s = 0, c = 0;
    ::sincos(static_cast<double>(angles[k]), &s, &c);
    results[k / 4].s[k % 4] = static_cast<float>(s);
    results[k / 4].c[k % 4] = static_cast<float>(c);
  }
}

void sincos(benchmark::State& state, void (*all)(const Angles&, Results&)) {
  Results results{};
  std::size_t k = 0;
  for (auto _ : state) {
    all(angle_sets()[k], results);
    benchmark::DoNotOptimize(results);
    k = (k + 1) % nb_sets;
  }
  state.SetLabel("25 angles");
}
BENCHMARK_CAPTURE(sincos, orvek23, tavo::Chosen<by_lanes, by_lanes>::call);
BENCHMARK_CAPTURE(sincos, libm, by_libm);

}  // namespace
