#include <exception>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "apps/replay/help_text.hpp"
#include "apps/replay/program_paths.hpp"
#include "apps/replay/replay.hpp"
#include "apps/replay/standard_streams.hpp"

namespace {

void report(const std::exception& fault) {
  std::cerr << "orvek23-replay: " << fault.what() << "\n";
}

void declare(CLI::App& app, replay::Options& options) {
  app.add_option("MOTION", options.motion,
                 "Motion, a CSV file; - for standard input; default: the\n"
                 "walk that comes along")
      ->option_text(" ");
  CLI::Option* const output =
      app.add_option("-o,--output", options.results,
                     "Results of all samples, a CSV file; - for standard output")
          ->option_text("FILE");
  app.add_option("--signals", options.selection.signals,
                 "What results hold; default: " + options.selection.signals + "; there are\n" +
                     replay::signal_names)
      ->option_text("LIST")
      ->needs(output);
  app.add_option("--bodies", options.selection.bodies,
                 std::string("Whose poses, or all; default:\n") + replay::default_bodies)
      ->option_text("LIST")
      ->needs(output);
  app.add_option("--plot", options.plot, "Picture of the motion, .svg or .png, drawn by gnuplot")
      ->option_text("FILE");
  app.add_option("--plugin", options.plugin, "Plug-in to load; default: the one that comes along")
      ->option_text("FILE");
  app.set_help_flag("-h,--help", "Print this and end");
  app.set_version_flag("--version", "orvek23-replay " ORVEK23_VERSION, "Print the version and end");
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
  CLI::App app("", "orvek23-replay");
  app.formatter(std::make_shared<replay::HelpText>());
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
