#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <Eigen/Core>

#include "motion/csv_reader.hpp"
#include "motion/motion_columns.hpp"

namespace tavo::motion {

/// One row of a motion.
struct Sample {
  std::size_t line;          // of the file, from 1
  double time;               // s
  Eigen::Vector3d p_world;   // origin of the root, m
  Eigen::Matrix3d R_world;   // axes of the root
  Eigen::VectorXd q;         // rad, joint-angle order
  Eigen::VectorXd wrenches;  // for each of wrench_bodies(): force (N), moment (N m), body frame
  // Rates that the file gives, in coordinate order; NaN where it gives none, for its own numbers
  // are finite.
  Eigen::VectorXd velocity;      // m/s, rad/s
  Eigen::VectorXd acceleration;  // m/s2, rad/s2
};

/// How a motion file is to be read where it may be read in several ways.
struct MotionOptions {
  std::optional<char> separator;  // of the fields: ',', ';' or '\t'; else the header tells
  bool ignore_unknown = false;    // columns that no motion has are passed over, not refused
};

/// A motion as a CSV file: time, the root's pose, all joint angles, any rates, any body's external
/// wrench.
class MotionFile {
 public:
  /// Opens the file, "-" for standard input, and finds its columns. Throws InputError.
  MotionFile(const std::string& path, const RobotNames& names, const MotionOptions& options = {});

  /// The bodies that have wrench columns, in body order.
  std::vector<unsigned long> wrench_bodies() const;

  /// Names of the columns that are passed over, in the file's order.
  const std::vector<std::string>& ignored() const { return columns_.ignored; }

  /// The next sample; nothing at the end. Throws InputError if the row is not usable, if time does
  /// not increase, or if there is no sample at all.
  std::optional<Sample> next();

  /// Share of the file that is read, 0 to 1, if its size is known.
  std::optional<double> share_read() const { return csv_.share_read(); }

 private:
  double checked_time();
  Eigen::Matrix3d orientation() const;
  Eigen::VectorXd values(const Columns& columns) const;
  Eigen::VectorXd given(const std::vector<MotionColumns::Rate>& rates) const;
  Eigen::VectorXd wrenches() const;

  CsvReader csv_;
  MotionColumns columns_;
  std::vector<double> row_;
  std::optional<double> last_time_;
};

}  // namespace tavo::motion
