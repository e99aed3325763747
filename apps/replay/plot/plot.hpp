#pragma once

#include <filesystem>
#include <host/rigid_body_system.hpp>
#include <string>
#include <vector>

#include "apps/common/output_file.hpp"
#include "apps/replay/plot/motion_trace.hpp"
#include "apps/replay/plot/sheet.hpp"
#include "motion/motion_file.hpp"

namespace replay {
namespace motion = tavo::motion;

/// The picture of a motion, drawn by gnuplot. Every member throws std::runtime_error if there can
/// be no picture; what can be known beforehand, the constructor finds out.
class Plot {
 public:
  /// `path` ends in .svg or .png; the kinematics of the system are computed, all joint angles zero;
  /// the samples carry wrenches on `wrench_bodies`.
  Plot(const std::filesystem::path& path, ViewChoice view, const tavo::RigidBodySystem& system,
       const std::vector<unsigned long>& wrench_bodies);

  /// Takes in a sample and the results that the system's getters show for it.
  void add(const motion::Sample& sample, const tavo::RigidBodySystem& system) {
    trace_.add(sample, system);
  }

  /// Draws the picture and makes it appear under its name. Without it nothing is left.
  void commit(const std::string& motion);

 private:
  PictureFormat format_;
  ViewChoice view_;
  apps::OutputFile file_;
  MotionTrace trace_;
};

}  // namespace replay
