#pragma once

#include <string>

namespace replay {

/// Runs a gnuplot script and returns what it draws on its standard output. Throws
/// std::runtime_error if gnuplot is not installed or reports a fault.
std::string run_gnuplot(const std::string& script);

/// `text` as a string of gnuplot's language that stands for just that; without control characters.
std::string gnuplot_quoted(const std::string& text);

}  // namespace replay
