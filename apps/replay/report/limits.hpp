#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace replay {

/// What a joint may do, as far as it is known.
struct JointLimits {
  std::string joint;
  std::optional<double> low, high;  ///< of its angle, rad
  std::optional<double> torque;     ///< of its magnitude, N m
};

/// Reads a CSV file of the columns joint, low, high and torque, each of the last three there or
/// not; a line a joint, in any order. Throws motion::InputError that names file, line and column.
std::vector<JointLimits> read_limits(const std::filesystem::path& path,
                                     const std::vector<std::string>& joints);

}  // namespace replay
