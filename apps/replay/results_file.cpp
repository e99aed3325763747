#include "apps/replay/results_file.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "motion/append_number.hpp"
#include "motion/standard_streams.hpp"

namespace replay {
namespace motion = tavo::motion;
ResultsFile::ResultsFile(const std::filesystem::path& path, std::vector<Signal> signals)
    : path_(path), file_(path), signals_(std::move(signals)) {
  for (const Signal& signal : signals_) {
    columns_.insert(columns_.end(), signal.columns.begin(), signal.columns.end());
  }
  std::string header = "time";
  for (const std::string& column : columns_) header += "," + column;
  file_.write(header + "\n");
}

std::optional<std::string> ResultsFile::add(double time, const tavo::RigidBodySystem& system) {
  row_.clear();
  for (const Signal& signal : signals_) signal.read(system, row_);
  line_.clear();
  motion::append_number(line_, time);
  for (const float value : row_) {
    line_ += ',';
    motion::append_number(line_, value);
  }
  line_ += '\n';
  file_.write(line_);
  ++rows_;
  const auto fault =
      std::find_if_not(row_.begin(), row_.end(), [](float value) { return std::isfinite(value); });
  if (fault == row_.end()) return std::nullopt;
  const auto column = static_cast<std::size_t>(fault - row_.begin());
  return motion::output_name(path_) + ", line " + std::to_string(rows_ + 1) + ", column " +
         std::to_string(column + 2) + " (" + columns_[column] + ")";
}

}  // namespace replay
