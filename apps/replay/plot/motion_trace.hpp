#pragma once

#include <array>
#include <cstddef>
#include <host/rigid_body_system.hpp>
#include <optional>
#include <vector>

#include <Eigen/Core>

#include "apps/replay/observation.hpp"
#include "apps/replay/plot/axis.hpp"
#include "apps/replay/plot/footholds.hpp"
#include "apps/replay/plot/skeleton.hpp"
#include "apps/replay/plot/thinned.hpp"
#include "apps/replay/plot/value_range.hpp"
#include "apps/replay/plot/view.hpp"
#include "motion/soles.hpp"

namespace replay {
namespace motion = tavo::motion;

/// The robot at one time; of several merged, at the first of their times.
struct Posture {
  double time;          // s
  Eigen::Vector3d com;  // m, world
  std::array<Eigen::Vector3d, motion::foot_bodies.size()>
      soles;                            // the points below the ankles, m, world
  std::vector<Eigen::Vector3d> points;  // of the skeleton, m, world
  // On the ground, m; nothing while nothing presses on it.
  std::optional<Eigen::Vector3d> zmp = std::nullopt, cop = std::nullopt;
  void merge(const Posture&) {}
};

/// A support polygon: its corners, in order, m.
struct Support {
  std::vector<Eigen::Vector3d> corners;
  void merge(const Support&) {}
};

/// What the picture of a motion shows, gathered sample by sample in bounded memory.
class MotionTrace {
 public:
  explicit MotionTrace(const tavo::RigidBodySystem& system);

  /// Takes in what is observed of a sample, but results that are not finite. `time`: s.
  void add(double time, const Observation& observed);

  std::size_t samples() const { return samples_; }
  double first_time() const { return first_time_; }
  double last_time() const { return last_time_; }
  const Skeleton& skeleton() const { return skeleton_; }
  /// In order of time, the first and the last of the motion included, and those with the centre of
  /// mass lowest and highest.
  std::vector<Posture> postures() const;
  /// From where the motion is best seen.
  View view(ViewChoice choice) const { return travel_.view(choice); }
  /// In joint-angle order, N m.
  const std::vector<ValueRange>& torques() const { return torques_.items(); }
  /// One value: the margin, m.
  const std::vector<ValueRange>& margins() const { return margins_.items(); }
  /// Of one foot, in the order of foot_bodies.
  std::vector<Foothold> footholds(std::size_t foot) const { return feet_[foot].footholds.all(); }
  /// Support polygons of both feet together, in the order in which they came.
  const std::vector<Support>& supports() const { return supports_.items(); }

 private:
  struct Foot {
    unsigned long body;
    Footholds footholds;
  };

  void add_posture(double time, const Observation& observed);
  void add_support(const quantities::SupportPolygon& polygon);
  void add_torques(double time, const tavo::RigidBodySystem& system);

  Skeleton skeleton_;
  std::array<Foot, motion::foot_bodies.size()> feet_;
  std::size_t samples_ = 0;
  double first_time_ = 0, last_time_ = 0;
  Thinned<Posture> postures_{600};
  std::optional<Posture> lowest_, highest_, last_posture_;
  Travel travel_;
  Thinned<ValueRange> torques_{300}, margins_{300};
  Thinned<Support> supports_{200};
  quantities::SupportPolygon support_;  // the last one
};

/// What times are counted from in the picture, s: the start, if they count from long before.
inline double time_origin(const MotionTrace& trace) {
  return origin_of({trace.first_time(), trace.last_time()}, trace.first_time());
}

}  // namespace replay
