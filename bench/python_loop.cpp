// What the Python module is measured against: a C++ loop that computes the same, on one thread.
//
//   orvek23_python_loop PLUGIN MOTION SIGNALS    processor time: samples a second, ns a forward()

#include <cstdio>
#include <ctime>
#include <host/loader.hpp>
#include <string>
#include <vector>

#include "apps/replay/driver.hpp"
#include "apps/replay/observation.hpp"
#include "apps/replay/selection.hpp"

namespace {

double processor_time() {
  return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

}  // namespace

int main(int, char** argv) {
  const tavo::Plugin plugin(argv[1]);
  const tavo::Plugin::System system = plugin.create();
  tavo::motion::MotionFile file(argv[2], tavo::motion::names_of(*system));
  std::vector<tavo::motion::Sample> samples;
  while (std::optional<tavo::motion::Sample> sample = file.next()) samples.push_back(*sample);

  replay::Selection selection;
  selection.signals = argv[3];
  const std::vector<replay::Signal> signals = replay::selected_signals(selection, *system);
  const bool derives = selection.signals.find("zmp") != std::string::npos;
  system->computeFwdKinematics();
  double best = 0;
  for (int repetition = 0; repetition < 5; ++repetition) {
    replay::Driver driver(*system, file.wrench_bodies(), {});
    replay::Observation observed(*system, file.wrench_bodies());
    std::size_t next = 0;
    tavo::motion::StateStream states([&]() -> std::optional<tavo::motion::Sample> {
      if (next == samples.size()) return std::nullopt;
      return samples[next++];
    });
    const double begin = processor_time();
    std::vector<float> results;
    while (const std::optional<tavo::motion::State> state = states.next()) {
      driver.run(*state);
      if (derives) observed.update(*state);
      for (const replay::Signal& signal : signals) signal.read(observed, results);
    }
    best = std::max(best, static_cast<double>(samples.size()) / (processor_time() - begin));
  }
  double forward = 1;
  for (int repetition = 0; repetition < 20; ++repetition) {
    constexpr int calls = 20000;
    const double begin = processor_time();
    for (int k = 0; k < calls; ++k) system->computeFwdKinematics();
    forward = std::min(forward, (processor_time() - begin) / calls);
  }
  std::printf("%.0f %.1f\n", best, 1e9 * forward);
}
