#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <Eigen/Core>

#include "motion/csv_reader.hpp"
#include "motion/motion_columns.hpp"

namespace tavo::motion {

/// One number a coordinate, or a joint, in their order. They are kept in place: hosts that are
/// compiled for wider vectors allocate in other ways than this library, and neither may free what
/// the other has allocated.
using Coordinates = Eigen::Matrix<double, Eigen::Dynamic, 1, Eigen::ColMajor, 28, 1>;

/// Six numbers a body, of at most all 23.
using Wrenches = Eigen::Matrix<double, Eigen::Dynamic, 1, Eigen::ColMajor, 6 * 23, 1>;

/// One row of a motion.
struct Sample {
  std::size_t line;         ///< Of the file, from 1.
  double time;              ///< s
  Eigen::Vector3d p_world;  ///< Origin of the root, m.
  Eigen::Matrix3d R_world;  ///< Axes of the root.
  Coordinates q;            ///< rad, joint-angle order.
  Wrenches wrenches;        ///< For each wrench body: force (N), moment (N m), body frame.
  /// Rates that the file gives, in coordinate order (m/s, rad/s); NaN where it gives none, for its
  /// own numbers are finite.
  Coordinates velocity;
  Coordinates acceleration;  ///< The same (m/s2, rad/s2).
};

/// How a motion file is to be read where it may be read in several ways.
struct MotionOptions {
  std::optional<char> separator;  ///< Of the fields: comma, semicolon or tab.
  bool ignore_unknown = false;    ///< Unknown columns are passed over.
};

/// A motion as a CSV file: time, the root's pose, all joint angles, any rates, any body's external
/// wrench.
class MotionFile {
 public:
  /// Opens the file, "-" for standard input, and finds its columns. Throws InputError;
  /// std::invalid_argument if the robot has more than 22 joints or 23 bodies.
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
  Coordinates values(const Columns& columns) const;
  Coordinates given(const std::vector<MotionColumns::Rate>& rates) const;
  Wrenches wrenches() const;

  CsvReader csv_;
  MotionColumns columns_;
  std::vector<double> row_;
  std::optional<double> last_time_;
};

}  // namespace tavo::motion
