#include "apps/replay/results_file.hpp"

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
    may_be_missing_.resize(columns_.size(), signal.may_be_missing);
  }
  std::string header = "time";
  for (const std::string& column : columns_) header += "," + column;
  file_.write(header + "\n");
}

std::optional<std::string> ResultsFile::add(double time, const Observation& observed) {
  row_.clear();
  for (const Signal& signal : signals_) signal.read(observed, row_);
  line_.clear();
  motion::append_number(line_, time);
  for (const float value : row_) {
    line_ += ',';
    motion::append_number(line_, value);
  }
  line_ += '\n';
  file_.write(line_);
  ++rows_;
  std::size_t column = 0;
  while (column < row_.size() && is_good(column)) ++column;
  if (column == row_.size()) return std::nullopt;
  return motion::output_name(path_) + ", line " + std::to_string(rows_ + 1) + ", column " +
         std::to_string(column + 2) + " (" + columns_[column] + ")";
}

bool ResultsFile::is_good(std::size_t column) const {
  return std::isfinite(row_[column]) || (std::isnan(row_[column]) && may_be_missing_[column]);
}

}  // namespace replay
