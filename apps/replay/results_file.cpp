#include "apps/replay/results_file.hpp"

#include <charconv>
#include <utility>

namespace replay {
namespace {

template <class Number>
void append(std::string& line, Number value) {
  char digits[32];
  line.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

}  // namespace

ResultsFile::ResultsFile(const std::filesystem::path& path, std::vector<Signal> signals)
    : file_(path), signals_(std::move(signals)) {
  std::string header = "time";
  for (const Signal& signal : signals_) {
    for (const std::string& column : signal.columns) header += "," + column;
  }
  file_.write(header + "\n");
}

void ResultsFile::add(double time, const tavo::RigidBodySystem& system) {
  row_.clear();
  for (const Signal& signal : signals_) signal.read(system, row_);
  line_.clear();
  append(line_, time);
  for (const float value : row_) {
    line_ += ',';
    append(line_, value);
  }
  line_ += '\n';
  file_.write(line_);
}

}  // namespace replay
