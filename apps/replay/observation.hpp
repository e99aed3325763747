#pragma once

#include <array>
#include <host/rigid_body_system.hpp>
#include <optional>
#include <quantities/balance.hpp>
#include <quantities/dynamics.hpp>
#include <quantities/forces.hpp>
#include <quantities/frames.hpp>
#include <quantities/momentum.hpp>
#include <quantities/state.hpp>
#include <vector>

#include <Eigen/Core>

#include "motion/rates.hpp"
#include "motion/soles.hpp"

namespace replay {
namespace motion = tavo::motion;
namespace quantities = tavo::quantities;

/// One sample, with what is derived in double precision from the results that the plug-in's getters
/// show: read once, then asked by the summary, the signals and the picture.
class Observation {
 public:
  /// Of a system whose kinematics are computed; the states' wrenches act on `wrench_bodies`.
  Observation(tavo::RigidBodySystem& system, const std::vector<unsigned long>& wrench_bodies);

  /// Takes in a state whose results the system's getters show.
  void update(const motion::State& state);

  const tavo::RigidBodySystem& system() const { return system_; }
  /// Poses and, as they were formed in double, rates.
  const quantities::State& state() const { return state_; }
  const std::vector<unsigned long>& wrench_bodies() const { return wrench_bodies_; }
  /// All external wrenches, as the motion has them.
  quantities::BodyWrenches wrenches() const { return feet_wrenches_ + other_wrenches_; }

  /// What the root would have to be held with for the motion to be as it is, about its origin, in
  /// its axes: what gravity and the motion ask for, less the external wrenches. A motion whose
  /// wrenches are those of the ground leaves nothing.
  quantities::Wrench root_wrench() const;

  /// Of one foot, in the order of foot_bodies. A foot stands while it carries a twentieth of the
  /// robot's weight; in a motion that has no wrench for it, while its sole is on the ground, z = 0,
  /// to 3 mm.
  bool stands(std::size_t foot) const { return feet_[foot].stands; }
  /// Of the feet that stand, on the ground.
  const quantities::SupportPolygon& support() const { return support_; }

  /// On the ground: of the motion, beside the wrenches on other bodies than the feet.
  std::optional<Eigen::Vector3d> zero_moment_point() const;
  /// On the ground: of the feet's wrenches.
  std::optional<Eigen::Vector3d> centre_of_pressure() const;
  /// Distance of the zero-moment point from the support polygon's border, inside positive (m);
  /// nothing if no foot stands or the motion does not press on the ground.
  std::optional<double> margin() const;
  /// On the ground; nothing if the centre of mass is not above it.
  std::optional<Eigen::Vector3d> capture_point() const;

 private:
  struct Foot {
    quantities::Sole sole;
    bool has_wrench;
    bool stands;
  };

  void find_support();
  bool is_loaded(const Foot& foot) const;

  const tavo::RigidBodySystem& system_;
  std::vector<unsigned long> wrench_bodies_;
  quantities::State state_;
  std::array<Foot, motion::foot_bodies.size()> feet_;
  quantities::BodyWrenches feet_wrenches_ = quantities::BodyWrenches::Zero();
  quantities::BodyWrenches other_wrenches_ = quantities::BodyWrenches::Zero();
  quantities::SupportPolygon support_;
};

}  // namespace replay
