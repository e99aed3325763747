#include "apps/replay/replay.hpp"

#include <host/loader.hpp>
#include <iomanip>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "apps/replay/driver.hpp"
#include "apps/replay/motion_file.hpp"
#include "apps/replay/rates.hpp"
#include "apps/replay/results_file.hpp"
#include "apps/replay/signals.hpp"
#include "apps/replay/standard_streams.hpp"
#include "apps/replay/summary.hpp"

namespace replay {
namespace {

std::vector<Signal> signals(const tavo::RigidBodySystem& system, bool mass_matrix) {
  std::vector<Signal> chosen = {com_signal()};
  for (const char* body : {"LAnkleRoll", "RAnkleRoll", "LElbowRoll", "RElbowRoll", "HeadPitch"}) {
    chosen.push_back(pose_signal(system, body));
  }
  chosen.push_back(torque_signal(system));
  if (mass_matrix) chosen.push_back(mass_matrix_signal(system));
  return chosen;
}

void require_another_file(const Options& options) {
  std::error_code absent;
  const std::filesystem::path motion =
      is_standard_stream(options.motion) ? "/dev/stdin" : options.motion;
  if (std::filesystem::equivalent(motion, options.results, absent)) {
    throw std::runtime_error(options.results.string() + ": the results would replace the motion");
  }
}

}  // namespace

void run(const Options& options, std::ostream& terminal) {
  // A path, also when it is a bare file name: never a search in the library folders.
  const tavo::Plugin plugin(std::filesystem::absolute(options.plugin).string());
  const tavo::Plugin::System system = plugin.create();
  MotionFile motion(options.motion.string(), names_of(*system));
  StateStream states([&motion] { return motion.next(); });
  std::optional<ResultsFile> results;
  if (!options.results.empty()) {
    require_another_file(options);
    results.emplace(options.results, signals(*system, options.mass_matrix));
  }
  Driver driver(*system, motion.wrench_bodies(), options.mass_matrix);
  Summary summary(*system);
  while (const std::optional<State> state = states.next()) {
    driver.run(*state);
    summary.add(state->sample, *system);
    if (results) results->add(state->sample.time, *system);
  }
  if (results) results->commit();

  terminal << "motion          " << input_name(options.motion) << "\n";
  summary.print(terminal);
  const double microseconds = 1e6 * driver.time_in_plugin().count();
  terminal << "plug-in         " << std::fixed << std::setprecision(2)
           << microseconds / static_cast<double>(summary.samples()) << " us a sample\n";
  if (results) terminal << "results         " << output_name(options.results) << "\n";
}

}  // namespace replay
