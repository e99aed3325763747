#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "apps/common/output_file.hpp"
#include "apps/replay/report/limits.hpp"
#include "apps/replay/report/recording.hpp"

namespace replay {

/// The data that the page's script reads, as JSON without any '<', so that no title ends the script
/// or opens a comment. What is in it: report/README.md.
std::string report_data(const Recording& recording, const std::vector<JointLimits>& limits,
                        const std::string& title);

/// The page of a motion: a template with the data in it.
class ReportPage {
 public:
  /// Reads the template and makes sure that `path` can be written. Throws std::runtime_error; where
  /// there is no template the message says how to get it.
  ReportPage(const std::filesystem::path& path, const std::filesystem::path& page_template);

  /// Makes the page appear under its name. Without it nothing is left.
  void commit(const std::string& data);

 private:
  std::string before_, after_;  // of the template, around the place of the data
  apps::OutputFile file_;
};

}  // namespace replay
