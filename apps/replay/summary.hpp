#pragma once

#include <array>
#include <cstddef>
#include <host/rigid_body_system.hpp>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <Eigen/Core>
#include <Eigen/Geometry>

#include "apps/replay/observation.hpp"
#include "motion/rates.hpp"
#include "motion/soles.hpp"

namespace replay {
namespace motion = tavo::motion;

/// What a motion amounts to, gathered sample by sample.
class Summary {
 public:
  /// Of a system whose kinematics are computed; the motion brings wrenches on `wrench_bodies`.
  Summary(const tavo::RigidBodySystem& system, const std::vector<unsigned long>& wrench_bodies);

  /// Takes in a sample and what is observed of it. One with results that are not finite is left
  /// out, and the first such result named.
  std::optional<std::string> add(const motion::Sample& sample, const Observation& observed);

  /// Those that are left out, too.
  std::size_t samples() const { return samples_; }

  /// Writes one line a subject:
  /// - samples: all, and how many are left out of what follows;
  /// - root: horizontal distance from the first to the last position, and along the path;
  /// - centre of mass: its range on each world axis;
  /// - foot clearance: the largest height above the ground, z = 0, of the point of a sole below the
  ///   ankle, which is fixed to the foot;
  /// - joint torques: the largest magnitude, then the joints that come next, each at its largest;
  /// - external wrenches: the bodies that have them, and what is left for the root.
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
  struct Magnitude {
    double largest = 0, sum = 0;
    void add(double value);
  };

  std::optional<std::string> first_not_finite(const tavo::RigidBodySystem& system,
                                              const quantities::Wrench& residual) const;
  void add_root(const motion::Sample& sample);
  int decimals_of_time() const;
  std::string at(double time) const;
  void print_torques(std::ostream& out) const;
  void print_wrenches(std::ostream& out) const;

  std::size_t samples_ = 0, left_out_ = 0;
  double first_time_ = 0, last_time_ = 0;
  std::optional<Eigen::Vector2d> first_root_;
  Eigen::Vector2d last_root_;
  double root_path_ = 0;
  Eigen::AlignedBox3d com_range_;
  std::array<Foot, motion::foot_bodies.size()> feet_;
  std::vector<Joint> joints_;
  std::vector<std::string> wrench_bodies_;
  Magnitude residual_force_, residual_moment_;
};

}  // namespace replay
