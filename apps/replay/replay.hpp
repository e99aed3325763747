#pragma once

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>

#include "apps/replay/plot/view.hpp"
#include "apps/replay/selection.hpp"
#include "motion/motion_file.hpp"

namespace replay {

struct Options {
  std::filesystem::path motion;  // "-": standard input
  tavo::motion::MotionOptions reading;
  std::filesystem::path plugin;             // not a bare file name, which would be searched for
  std::filesystem::path results;            // empty: none are written; "-": standard output
  Selection selection;                      // what the results hold
  std::filesystem::path plot;               // empty: none is drawn
  ViewChoice view = ViewChoice::automatic;  // of the picture
  std::filesystem::path report;             // empty: none is written
  std::filesystem::path report_template;    // what the report is made from
  std::filesystem::path limits;             // of the joints, for the report; empty: not known
};

/// Runs the motion through the plug-in, writes the results, prints the summary and draws the
/// picture. `terminal`, if any, shows meanwhile how far it is; `warn` gets what the user should
/// know of a run that went well, a line each. Throws a std::exception whose one line says what is
/// wrong; then no results are left, but if the last, the drawing, fails.
void run(const Options& options, std::ostream& summary, std::ostream* terminal,
         const std::function<void(const std::string&)>& warn);

}  // namespace replay
