#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "apps/common/output_file.hpp"
#include "apps/replay/signals.hpp"

namespace replay {

/// The results as a CSV file: time, then the columns of the signals, one line a sample. Numbers
/// stand in the shortest form that reads back to the same value.
class ResultsFile {
 public:
  ResultsFile(const std::filesystem::path& path, std::vector<Signal> signals);

  /// Adds a line with what is observed. `time`: s. If it holds a number that is not finite, other
  /// than nan for what may be missing, the place of the first is returned: file, line, column.
  std::optional<std::string> add(double time, const Observation& observed);

  /// Makes the file appear under its name. Without it nothing is left.
  void commit() { file_.commit(); }

 private:
  bool is_good(std::size_t column) const;

  std::filesystem::path path_;
  apps::OutputFile file_;
  std::vector<Signal> signals_;
  std::vector<std::string> columns_;
  std::vector<bool> may_be_missing_;  // of each column
  std::size_t rows_ = 0;
  std::vector<float> row_;
  std::string line_;
};

}  // namespace replay
