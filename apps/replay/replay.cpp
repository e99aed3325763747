#include "apps/replay/replay.hpp"

#include <host/loader.hpp>
#include <iomanip>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "apps/replay/degrees.hpp"
#include "apps/replay/driver.hpp"
#include "apps/replay/observation.hpp"
#include "apps/replay/plot/plot.hpp"
#include "apps/replay/progress.hpp"
#include "apps/replay/report/limits.hpp"
#include "apps/replay/report/page.hpp"
#include "apps/replay/report/recording.hpp"
#include "apps/replay/results_file.hpp"
#include "apps/replay/summary.hpp"
#include "motion/messages.hpp"
#include "motion/motion_file.hpp"
#include "motion/rates.hpp"
#include "motion/standard_streams.hpp"

namespace replay {
namespace motion = tavo::motion;
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
      motion::is_standard_stream(options.motion) ? "/dev/stdin" : options.motion;
  if (std::filesystem::equivalent(motion, options.results, absent)) {
    throw std::runtime_error(options.results.string() + ": the results would replace the motion");
  }
}

// Neither exists yet, perhaps, so their names are compared.
void require_own_name(const std::filesystem::path& own, const std::string& name,
                      const Options& options) {
  std::error_code absent;
  const auto resolved = [&absent](const auto& path) {
    return std::filesystem::weakly_canonical(std::filesystem::absolute(path, absent), absent);
  };
  for (const auto& [path, what] : {std::pair(options.motion, "motion"),
                                   {options.results, "results"},
                                   {options.plot, "picture"},
                                   {options.limits, "limits"}}) {
    if (!path.empty() && &path != &own && what != name && resolved(path) == resolved(own)) {
      throw std::runtime_error(own.string() + ": the " + name + " would replace the " + what);
    }
  }
}

// The page, and what it is to show.
class Report {
 public:
  Report(const Options& options, const Observation& observed, const motion::RobotNames& names)
      : limits_(options.limits.empty() ? std::vector<JointLimits>()
                                       : read_limits(options.limits, names.joints)),
        title_(motion::input_name(options.motion.filename())),
        page_(checked(options), options.report_template),
        recording_(observed) {}

  void add(double time, const Observation& observed) { recording_.add(time, observed); }
  void commit() { page_.commit(report_data(recording_, limits_, title_)); }

 private:
  static const std::filesystem::path& checked(const Options& options) {
    const std::string extension = options.report.extension().string();
    if (extension != ".html" && extension != ".htm") {
      throw std::runtime_error(options.report.string() + ": a report's name ends in .html");
    }
    require_own_name(options.report, "report", options);
    return options.report;
  }

  std::vector<JointLimits> limits_;
  std::string title_;
  ReportPage page_;
  Recording recording_;
};

motion::MotionFile opened(const Options& options, const motion::RobotNames& names) {
  try {
    return {options.motion.string(), names, options.reading};
  } catch (const motion::UnknownColumn& fault) {
    throw std::runtime_error(std::string(fault.what()) +
                             "; --ignore-unknown passes over further columns");
  }
}

std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + motion::quoted(name);
  return text;
}

}  // namespace

void run(const Options& options, std::ostream& summary_out, std::ostream* terminal,
         const std::function<void(const std::string&)>& warn) {
  const tavo::Plugin plugin(options.plugin.string());
  const tavo::Plugin::System system = plugin.create();
  system->computeFwdKinematics();  // of the pose that a system is created in
  const motion::RobotNames names = motion::names_of(*system);
  const std::vector<Signal> signals = selected_signals(options.selection, *system);
  motion::MotionFile motion = opened(options, names);
  motion::StateStream states([&motion] { return motion.next(); });
  std::optional<ResultsFile> results;
  if (!options.results.empty()) {
    require_another_file(options);
    results.emplace(options.results, signals);
  }
  Driver driver(*system, motion.wrench_bodies(), computations(signals));
  Observation observed(*system, motion.wrench_bodies());
  Summary summary(*system, motion.wrench_bodies());
  std::optional<Plot> plot;
  if (!options.plot.empty()) {
    require_own_name(options.plot, "picture", options);
    plot.emplace(options.plot, options.view, *system);
  }
  std::optional<Report> report;
  if (!options.report.empty()) report.emplace(options, observed, names);
  DegreesGuess degrees;
  std::string not_finite;
  std::optional<Progress> progress(std::in_place, terminal);
  while (const std::optional<motion::State> state = states.next()) {
    driver.run(*state);
    observed.update(*state);
    std::optional<std::string> fault = summary.add(state->sample, observed);
    if (results) {
      if (auto place = results->add(state->sample.time, observed)) fault = place;
    }
    if (plot) plot->add(state->sample.time, observed);
    if (report) report->add(state->sample.time, observed);
    if (fault && not_finite.empty()) {
      not_finite = "line " + std::to_string(state->sample.line) +
                   ": its results are not finite, first " + *fault;
    }
    degrees.add(state->sample);
    progress->show(summary.samples(), motion.share_read());
  }
  progress.reset();
  if (results) results->commit();

  const std::string name = motion::input_name(options.motion);
  if (!not_finite.empty()) warn(name + ", " + not_finite);
  if (const auto hint = degrees.hint(names.joints)) warn(name + ": " + *hint);
  summary_out << "motion          " << name << "\n";
  if (!motion.ignored().empty()) {
    summary_out << "ignored columns " << joined(motion.ignored()) << "\n";
  }
  summary.print(summary_out);
  const double microseconds = 1e6 * driver.time_in_plugin().count();
  summary_out << "plug-in         " << std::fixed << std::setprecision(2)
              << microseconds / static_cast<double>(summary.samples()) << " us a sample\n";
  if (results) summary_out << "results         " << motion::output_name(options.results) << "\n";
  if (report) {
    report->commit();
    summary_out << "report          " << options.report.string() << "\n";
  }
  if (plot) {
    plot->commit(motion::input_name(options.motion.filename()));
    summary_out << "picture         " << options.plot.string() << "\n";
  }
}

}  // namespace replay
