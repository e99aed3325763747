#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "apps/common/command_line.hpp"
#include "apps/common/help_text.hpp"
#include "apps/common/program_paths.hpp"
#include "apps/replay/replay.hpp"
#include "motion/messages.hpp"
#include "motion/standard_streams.hpp"

namespace {

constexpr char purpose[] =
    "Runs a motion through the robot's kinematics and inverse dynamics, sample by\n"
    "sample, and prints what it amounts to: path, foot clearance, joint torques.\n";
constexpr char examples[] =
    "  orvek23-replay -o results.csv --plot picture.svg       of the shipped walk\n"
    "  orvek23-replay run.csv -o H.csv --signals mass-matrix  chosen signals\n"
    "  zcat run.csv.gz | orvek23-replay - -o - | head -3      through pipes\n";
constexpr char files[] =
    "  share/doc/orvek23/apps/replay/README.md (beside bin/)  columns, units, errors\n";

// What one of several words sets; `words` says them in a message.
template <class Value, class Target>
std::function<void(const std::string&)> chosen(const std::string& option, const std::string& words,
                                               std::map<std::string, Value> values,
                                               Target& target) {
  return [=, &target](const std::string& word) {
    const auto found = values.find(word);
    if (found == values.end()) {
      throw CLI::ValidationError(option, tavo::motion::quoted(word) + " is none of " + words);
    }
    target = found->second;
  };
}

// Broken at blanks, to stand beside the options in 80 columns.
std::string in_lines(std::string text) {
  constexpr std::size_t width = 60;
  for (std::size_t begin = 0; begin + width < text.size();) {
    const std::size_t blank = text.rfind(' ', begin + width);
    text[blank] = '\n';
    begin = blank + 1;
  }
  return text;
}

void declare_reading(CLI::App& app, tavo::motion::MotionOptions& reading) {
  const std::map<std::string, char> separators = {
      {",", ','}, {";", ';'}, {"\t", '\t'}, {"comma", ','}, {"semicolon", ';'}, {"tab", '\t'}};
  app.add_option_function("--separator",
                          chosen("--separator", "',', ';', tab", separators, reading.separator),
                          "What parts fields: ',', ';' or tab; else the header tells")
      ->option_text("C");
  app.add_flag("--ignore-unknown", reading.ignore_unknown, "Pass over columns that no motion has");
}

void declare_view(CLI::App& app, replay::ViewChoice& view, CLI::Option* plot) {
  using replay::ViewChoice;
  const std::map<std::string, ViewChoice> views = {
      {"x", ViewChoice::x}, {"y", ViewChoice::y}, {"auto", ViewChoice::automatic}};
  app.add_option_function("--view", chosen("--view", "x, y, auto", views, view),
                          "Its axis to the right, x, y or auto: the direction of travel")
      ->option_text("AXIS")
      ->needs(plot);
}

void declare(CLI::App& app, replay::Options& options) {
  app.add_option("MOTION", options.motion,
                 "Motion, a CSV file, or - for standard input; default: a walk")
      ->option_text(" ")
      ->check(apps::file_name());
  declare_reading(app, options.reading);
  CLI::Option* const output =
      app.add_option("-o,--output", options.results,
                     "Results of all samples, a CSV file; - for standard output")
          ->option_text("FILE")
          ->check(apps::file_name());
  app.add_option("--signals", options.selection.signals,
                 "What results hold; default: " + options.selection.signals + "; there are\n" +
                     in_lines(replay::signal_names))
      ->option_text("LIST")
      ->needs(output);
  app.add_option("--bodies", options.selection.bodies,
                 "Whose poses, or all; default: feet, forearms and head")
      ->option_text("LIST")
      ->needs(output);
  CLI::Option* const plot = app.add_option("--plot", options.plot,
                                           "Picture of the motion, .svg or .png, drawn by gnuplot")
                                ->option_text("FILE")
                                ->check(apps::file_name());
  declare_view(app, options.view, plot);
  CLI::Option* const report =
      app.add_option("--report", options.report, "The motion as a page to walk around, .html")
          ->option_text("FILE")
          ->check(apps::file_name());
  app.add_option("--limits", options.limits,
                 "Limits for the report, a CSV file: joint, low, high, torque")
      ->option_text("FILE")
      ->needs(report)
      ->check(apps::file_name());
  apps::add_common_options(app);
}

// Lines are shown where somebody sees them and nothing else is written.
std::ostream* progress_terminal(const replay::Options& options) {
  const bool taken =
      tavo::motion::is_standard_stream(options.results) && ::isatty(STDOUT_FILENO) != 0;
  return ::isatty(STDERR_FILENO) != 0 && !taken ? &std::cerr : nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);  // else the standard input is read letter by letter
  replay::Options options;
  CLI::App app("", "orvek23-replay");
  app.formatter(std::make_shared<apps::HelpText>(purpose, examples, files));
  declare(app, options);
  return apps::run_program(app, argc, argv, [&app, &options] {
    options.plugin = apps::plugin_path(app);
    options.report_template = apps::default_report_template();
    if (app.count("MOTION") == 0) options.motion = apps::default_motion();
    const bool taken = tavo::motion::is_standard_stream(options.results);
    const auto warn = [&app](const std::string& warning) {
      std::cerr << app.get_name() << ": warning: " << warning << "\n";
    };
    replay::run(options, taken ? std::cerr : std::cout, progress_terminal(options), warn);
  });
}
