#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "motion/csv_reader.hpp"
#include "motion/robot_names.hpp"

namespace tavo::motion {

/// Columns of a file by their numbers, from 0. Empty: the file does not have them.
using Columns = std::vector<std::size_t>;

/// Where each quantity of a motion stands in its file.
struct MotionColumns {
  std::size_t time;    ///< Column of the time.
  Columns position;    ///< x, y, z.
  Columns angles;      ///< roll, pitch, yaw; empty if there is a quaternion.
  Columns quaternion;  ///< qw, qx, qy, qz; empty if there are angles.
  Columns joints;      ///< In joint-angle order.
  /// d.NAME or dd.NAME of one coordinate, or of the root's six together.
  struct Rate {
    std::size_t coordinate;  ///< The first of them.
    Columns columns;         ///< One or six.
  };
  std::vector<Rate> velocity;      ///< Those that the file gives.
  std::vector<Rate> acceleration;  ///< Those that the file gives.
  /// The external wrench on a body.
  struct Wrench {
    unsigned long body;  ///< Its id.
    Columns columns;     ///< BODY.fx .. BODY.nz.
  };
  std::vector<Wrench> wrenches;      ///< In body order.
  std::vector<std::string> ignored;  ///< Names of the columns that are none of these.
};

/// A column that no motion has, nor is any of its columns spelled nearly so.
class UnknownColumn : public InputError {
 public:
  using InputError::InputError;
};

/// Finds the columns by their names, in any order; apps/replay/README.md lists them. Throws
/// InputError: a column unknown (UnknownColumn) or twice, columns missing, the root's orientation
/// in two forms. With `ignore_unknown`, unknown columns are passed over.
MotionColumns find_columns(CsvReader& csv, const RobotNames& names, bool ignore_unknown);

}  // namespace tavo::motion
