#pragma once

#include <filesystem>
#include <host/rigid_body_system.hpp>
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

  /// Adds a line with what the system's getters show. `time`: s.
  void add(double time, const tavo::RigidBodySystem& system);

  /// Makes the file appear under its name. Without it nothing is left.
  void commit() { file_.commit(); }

 private:
  apps::OutputFile file_;
  std::vector<Signal> signals_;
  std::vector<float> row_;
  std::string line_;
};

}  // namespace replay
