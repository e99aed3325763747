#pragma once

#include <array>
#include <cstddef>
#include <host/rigid_body_system.hpp>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include <Eigen/Core>
#include <Eigen/Geometry>

#include "apps/replay/motion_file.hpp"

namespace replay {

/// What a motion amounts to, gathered sample by sample.
class Summary {
 public:
  explicit Summary(const tavo::RigidBodySystem& system);

  /// Takes in a sample and the results that the system's getters show for it.
  void add(const Sample& sample, const tavo::RigidBodySystem& system);

  std::size_t samples() const { return samples_; }

  /// Writes one line a subject:
  /// - root: horizontal distance from the first to the last position, and along the path;
  /// - centre of mass: its range on each world axis;
  /// - foot clearance: the largest height above the ground, z = 0, of the point of a sole below the
  ///   ankle, which is fixed to the foot;
  /// - joint torques: the largest magnitude, then the joints that come next, each at its largest.
  void print(std::ostream& out) const;

 private:
  /// The largest value so far, and when it came.
  struct Peak {
    double value = -std::numeric_limits<double>::infinity();
    double time = 0;
    void add(double candidate, double at);
  };
  struct Foot {
    std::string name;
    unsigned long body;
    Peak clearance;
  };
  struct Joint {
    std::string name;
    Peak torque;
  };

  void add_root(const Sample& sample);
  void print_torques(std::ostream& out) const;

  std::size_t samples_ = 0;
  double first_time_ = 0, last_time_ = 0;
  Eigen::Vector2d first_root_, last_root_;
  double root_path_ = 0;
  Eigen::AlignedBox3d com_range_;
  std::array<Foot, 2> feet_;
  std::vector<Joint> joints_;
};

}  // namespace replay
