#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "motion/motion_file.hpp"
#include "motion/robot_names.hpp"

namespace tavo::motion {

/// Writes a motion that MotionFile reads: commas, the orientation as a quaternion, numbers in the
/// shortest form that reads back to the same value.
class MotionWriter {
 public:
  /// The samples' wrenches act on `wrench_bodies`. Whether `out` could take all is its own state.
  MotionWriter(std::ostream& out, RobotNames names, std::vector<unsigned long> wrench_bodies = {});

  /// Adds a line, after the header if it is the first: rates that the first sample gives (all six
  /// of the root or none of them) are columns, and each sample gives them. Of two quaternions the
  /// one nearer to the line before is written. Throws std::invalid_argument if the sample has sizes
  /// or rates that do not fit, and then writes nothing.
  void add(const Sample& sample);

 private:
  void write_header();
  void check(const Sample& sample) const;

  std::ostream& out_;
  RobotNames names_;
  std::vector<unsigned long> wrench_bodies_;
  std::vector<Eigen::Index> velocity_, acceleration_;  ///< that are columns
  Eigen::Vector4d last_q_ = Eigen::Vector4d::Zero();
  bool started_ = false;
  std::string line_;
};

}  // namespace tavo::motion
