#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <Eigen/Core>

#include "apps/replay/csv_reader.hpp"

namespace replay {

/// What the robot calls its parts: joints in joint-angle order, bodies in body order.
struct RobotNames {
  std::vector<std::string> joints;
  std::vector<std::string> bodies;
};

/// One row of a motion.
struct Sample {
  double time;               // s
  Eigen::Vector3d p_world;   // origin of the root, m
  Eigen::Matrix3d R_world;   // axes of the root
  Eigen::VectorXd q;         // rad, joint-angle order
  Eigen::VectorXd wrenches;  // for each of wrench_bodies(): force (N), moment (N m), body frame
};

/// A motion as a CSV file: time, the root's pose, all joint angles, any body's external wrench.
/// Columns are found by name, in any order; apps/replay/README.md lists them.
class MotionFile {
 public:
  /// Opens the file and assigns its columns. Throws InputError: a column unknown, twice or missing.
  MotionFile(const std::string& path, const RobotNames& names);

  /// The bodies that have wrench columns, in body order.
  const std::vector<unsigned long>& wrench_bodies() const { return wrench_bodies_; }

  /// The next sample; nothing at the end. Throws InputError if the row is not usable, if time does
  /// not increase, or if there is no sample at all.
  std::optional<Sample> next();

 private:
  void assign_columns(const std::vector<std::string>& channels);
  void require_columns(const std::vector<std::string>& channels) const;
  void find_wrench_bodies(const std::vector<std::string>& channels);
  std::size_t first_wrench_channel() const;
  double value(std::size_t channel) const { return row_[*column_of_[channel]]; }
  Eigen::VectorXd values(std::size_t first_channel, std::size_t count) const;

  CsvReader csv_;
  std::size_t joint_count_;
  std::vector<std::optional<std::size_t>> column_of_;  // by channel
  std::vector<unsigned long> wrench_bodies_;
  std::vector<double> row_;
  std::optional<double> last_time_;
};

}  // namespace replay
