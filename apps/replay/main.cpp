#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "apps/replay/program_paths.hpp"
#include "apps/replay/replay.hpp"
#include "apps/replay/standard_streams.hpp"

namespace {

constexpr char description[] =
    "Replays a motion through the orvek23 plug-in: kinematics and inverse dynamics of every "
    "sample.\nPrints a summary; with -o writes centre of mass, poses and joint torques as CSV.";

void report(const std::exception& fault) {
  std::cerr << "orvek23-replay: " << fault.what() << "\n";
}

void declare(CLI::App& app, replay::Options& options) {
  app.set_version_flag("--version", ORVEK23_VERSION);
  app.add_option("MOTION", options.motion, "Motion to replay (default: the walk that comes along)")
      ->type_name("FILE.csv");
  CLI::Option* const output =
      app.add_option("-o,--output", options.results, "Where the results go (default: not written)")
          ->type_name("FILE.csv");
  app.add_option("--signals", options.selection.signals,
                 "What they hold, of " + std::string(replay::signal_names) +
                     " (default: " + options.selection.signals + ")")
      ->type_name("LIST")
      ->needs(output);
  app.add_option(
         "--bodies", options.selection.bodies,
         "Whose poses they hold, or all (default: " + std::string(replay::default_bodies) + ")")
      ->type_name("LIST")
      ->needs(output);
  app.add_option("--plugin", options.plugin, "Plug-in to load (default: the one that comes along)")
      ->type_name("FILE.so");
}

// Lines are shown where somebody sees them and nothing else is written.
std::ostream* progress_terminal(const replay::Options& options) {
  const bool taken = replay::is_standard_stream(options.results) && ::isatty(STDOUT_FILENO) != 0;
  return ::isatty(STDERR_FILENO) != 0 && !taken ? &std::cerr : nullptr;
}

int run(int argc, char** argv) {
  replay::Options options;
  options.motion = replay::default_motion();
  options.plugin = replay::default_plugin();
  CLI::App app(description, "orvek23-replay");
  declare(app, options);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& fault) {
    if (fault.get_exit_code() == 0) return app.exit(fault);  // --help, --version
    report(fault);
    return 1;
  }
  std::ostream& summary = replay::is_standard_stream(options.results) ? std::cerr : std::cout;
  replay::run(options, summary, progress_terminal(options));
  if (!std::cout.flush()) throw std::runtime_error("standard output: cannot be written");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);  // else the standard input is read letter by letter
  try {
    return run(argc, argv);
  } catch (const std::exception& fault) {
    report(fault);
    return 1;
  }
}
