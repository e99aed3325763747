#pragma once

#include <cstddef>
#include <vector>

#include "apps/replay/csv_reader.hpp"
#include "apps/replay/robot_names.hpp"

namespace replay {

/// Columns of a file by their numbers, from 0. Empty: the file does not have them.
using Columns = std::vector<std::size_t>;

/// Where each quantity of a motion stands in its file.
struct MotionColumns {
  std::size_t time;
  Columns position;            // x, y, z
  Columns angles, quaternion;  // roll, pitch, yaw or qw, qx, qy, qz: one of them is empty
  Columns joints;              // in joint-angle order
  /// d.NAME or dd.NAME of one coordinate, or of the root's six together.
  struct Rate {
    std::size_t coordinate;  // the first of them
    Columns columns;
  };
  std::vector<Rate> velocity, acceleration;
  struct Wrench {
    unsigned long body;
    Columns columns;  // BODY.fx .. BODY.nz
  };
  std::vector<Wrench> wrenches;  // in body order
};

/// Finds the columns by their names, in any order; apps/replay/README.md lists them. Throws
/// InputError: a column unknown, twice or missing, the root's orientation in two forms.
MotionColumns find_columns(const CsvReader& csv, const RobotNames& names);

}  // namespace replay
