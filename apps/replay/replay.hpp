#pragma once

#include <filesystem>
#include <ostream>

namespace replay {

struct Options {
  std::filesystem::path motion;
  std::filesystem::path plugin;
  std::filesystem::path results;  // empty: none are written
  bool mass_matrix = false;
};

/// Runs the motion through the plug-in, writes the results and prints the summary. Throws a
/// std::exception whose one line says what is wrong; then no results are left.
void run(const Options& options, std::ostream& terminal);

}  // namespace replay
