#pragma once

#include <filesystem>
#include <string>

namespace tavo::motion {

/// In place of a file's name, "-" is the standard input or output.
inline bool is_standard_stream(const std::filesystem::path& path) {
  return path == "-";
}

/// What messages call a file that is read, or written.
inline std::string input_name(const std::filesystem::path& path) {
  return is_standard_stream(path) ? "standard input" : path.string();
}
inline std::string output_name(const std::filesystem::path& path) {
  return is_standard_stream(path) ? "standard output" : path.string();
}

}  // namespace tavo::motion
