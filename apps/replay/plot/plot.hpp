#pragma once

#include <filesystem>
#include <host/rigid_body_system.hpp>
#include <string>

#include "apps/common/output_file.hpp"
#include "apps/replay/plot/motion_trace.hpp"
#include "apps/replay/plot/sheet.hpp"

namespace replay {

/// The picture of a motion, drawn by gnuplot. Every member throws std::runtime_error if there can
/// be no picture; what can be known beforehand, the constructor finds out.
class Plot {
 public:
  /// `path` ends in .svg or .png; the kinematics of the system are computed, all joint angles zero.
  Plot(const std::filesystem::path& path, ViewChoice view, const tavo::RigidBodySystem& system);

  /// Takes in what is observed of a sample. `time`: s.
  void add(double time, const Observation& observed) { trace_.add(time, observed); }

  /// Draws the picture and makes it appear under its name. Without it nothing is left.
  void commit(const std::string& motion);

 private:
  PictureFormat format_;
  ViewChoice view_;
  apps::OutputFile file_;
  MotionTrace trace_;
};

}  // namespace replay
