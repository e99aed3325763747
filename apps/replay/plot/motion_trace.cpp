#include "apps/replay/plot/motion_trace.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace replay {
namespace motion = tavo::motion;
namespace {

using Eigen::Vector3d;

bool is_finite(const Posture& posture) {
  return posture.com.allFinite() &&
         std::all_of(posture.points.begin(), posture.points.end(),
                     [](const Vector3d& point) { return point.allFinite(); });
}

}  // namespace

void TorqueRange::merge(const TorqueRange& later) {
  for (std::size_t i = 0; i < joints.size(); ++i) {
    auto& [low, high] = joints[i];
    const auto& [later_low, later_high] = later.joints[i];
    if (std::isnan(low.value) || later_low.value < low.value) low = later_low;
    if (std::isnan(high.value) || later_high.value > high.value) high = later_high;
  }
}

MotionTrace::MotionTrace(const tavo::RigidBodySystem& system) : skeleton_(system) {
  for (std::size_t i = 0; i < feet_.size(); ++i) {
    feet_[i].body = system.getBodyId(motion::foot_bodies[i]);
  }
}

void MotionTrace::add(double time, const Observation& observed) {
  if (samples_++ == 0) first_time_ = time;
  last_time_ = time;
  add_posture(time, observed);
  add_torques(time, observed.system());
}

void MotionTrace::add_posture(double time, const Observation& observed) {
  const tavo::RigidBodySystem& system = observed.system();
  Posture posture{time, as_vector(system.getComPosition()), {}, skeleton_.points(system)};
  if (!is_finite(posture)) return;
  for (std::size_t i = 0; i < feet_.size(); ++i) {
    const KT::Math::Transform& pose = system.getPose(feet_[i].body);
    const Vector3d sole = as_vector(motion::sole_point(pose));
    const Vector3d ahead = as_vector(motion::sole_point(pose, 1)) - sole;
    posture.soles[i] = sole;
    feet_[i].footholds.add(observed.stands(i), {sole, ahead});
  }
  travel_.add(posture.points);
  if (!lowest_ || posture.com.z() < lowest_->com.z()) lowest_ = posture;
  if (!highest_ || posture.com.z() > highest_->com.z()) highest_ = posture;
  last_posture_ = posture;
  postures_.add(std::move(posture));
}

std::vector<Posture> MotionTrace::postures() const {
  std::vector<Posture> postures = postures_.items();
  for (const std::optional<Posture>& extreme : {lowest_, highest_, last_posture_}) {
    if (!extreme) continue;
    const auto later =
        std::lower_bound(postures.begin(), postures.end(), extreme->time,
                         [](const Posture& posture, double time) { return posture.time < time; });
    if (later == postures.end() || later->time > extreme->time) postures.insert(later, *extreme);
  }
  return postures;
}

void MotionTrace::add_torques(double time, const tavo::RigidBodySystem& system) {
  TorqueRange range;
  const tavo::JointRange torques = system.getJointAnglesTorque();
  for (const float* torque = torques.first; torque != torques.second; ++torque) {
    const bool finite = std::isfinite(*torque);
    const TorqueRange::At at{time, finite ? *torque : std::numeric_limits<double>::quiet_NaN()};
    range.joints.push_back({at, at});
  }
  torques_.add(std::move(range));
}

}  // namespace replay
