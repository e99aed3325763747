#include "apps/replay/replay.hpp"

#include <host/loader.hpp>
#include <iomanip>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "apps/common/standard_streams.hpp"
#include "apps/replay/driver.hpp"
#include "apps/replay/motion_file.hpp"
#include "apps/replay/plot/plot.hpp"
#include "apps/replay/progress.hpp"
#include "apps/replay/rates.hpp"
#include "apps/replay/results_file.hpp"
#include "apps/replay/summary.hpp"

namespace replay {
namespace {

std::vector<Driver::Computation> computations(const std::vector<Signal>& signals) {
  std::vector<Driver::Computation> needed;
  for (const Signal& signal : signals) {
    if (signal.compute) needed.push_back(signal.compute);
  }
  return needed;
}

void require_another_file(const Options& options) {
  std::error_code absent;
  const std::filesystem::path motion =
      apps::is_standard_stream(options.motion) ? "/dev/stdin" : options.motion;
  if (std::filesystem::equivalent(motion, options.results, absent)) {
    throw std::runtime_error(options.results.string() + ": the results would replace the motion");
  }
}

// Neither exists yet, perhaps, so their names are compared.
void require_own_name(const std::filesystem::path& plot, const Options& options) {
  std::error_code absent;
  const auto resolved = [&absent](const auto& path) {
    return std::filesystem::weakly_canonical(std::filesystem::absolute(path), absent);
  };
  for (const auto& [path, what] :
       {std::pair(options.motion, "motion"), {options.results, "results"}}) {
    if (!path.empty() && resolved(path) == resolved(plot)) {
      throw std::runtime_error(plot.string() + ": the picture would replace the " + what);
    }
  }
}

}  // namespace

void run(const Options& options, std::ostream& summary_out, std::ostream* terminal) {
  const tavo::Plugin plugin(options.plugin.string());
  const tavo::Plugin::System system = plugin.create();
  const std::vector<Signal> signals = selected_signals(options.selection, *system);
  MotionFile motion(options.motion.string(), names_of(*system));
  StateStream states([&motion] { return motion.next(); });
  std::optional<ResultsFile> results;
  if (!options.results.empty()) {
    require_another_file(options);
    results.emplace(options.results, signals);
  }
  std::optional<Plot> plot;
  if (!options.plot.empty()) {
    require_own_name(options.plot, options);
    plot.emplace(options.plot, *system, motion.wrench_bodies());
  }
  Driver driver(*system, motion.wrench_bodies(), computations(signals));
  Summary summary(*system);
  std::optional<Progress> progress(std::in_place, terminal);
  while (const std::optional<State> state = states.next()) {
    driver.run(*state);
    summary.add(state->sample, *system);
    if (results) results->add(state->sample.time, *system);
    if (plot) plot->add(state->sample, *system);
    progress->show(summary.samples(), motion.share_read());
  }
  progress.reset();
  if (results) results->commit();

  summary_out << "motion          " << apps::input_name(options.motion) << "\n";
  summary.print(summary_out);
  const double microseconds = 1e6 * driver.time_in_plugin().count();
  summary_out << "plug-in         " << std::fixed << std::setprecision(2)
              << microseconds / static_cast<double>(summary.samples()) << " us a sample\n";
  if (results) summary_out << "results         " << apps::output_name(options.results) << "\n";
  if (plot) {
    plot->commit(apps::input_name(options.motion.filename()));
    summary_out << "picture         " << options.plot.string() << "\n";
  }
}

}  // namespace replay
