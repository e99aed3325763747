#include "apps/replay/plot/motion_trace.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace replay {
namespace motion = tavo::motion;
namespace {

using Eigen::Vector3d;

constexpr double none = std::numeric_limits<double>::quiet_NaN();

bool is_finite(const Posture& posture) {
  return posture.com.allFinite() &&
         std::all_of(posture.points.begin(), posture.points.end(),
                     [](const Vector3d& point) { return point.allFinite(); });
}

// Whether no corner is more than a centimetre outside the other polygon. Corners cannot be compared
// one by one: rounding decides which comes first, and whether one on a straight border is one.
bool is_within(const quantities::SupportPolygon& inner, const quantities::SupportPolygon& outer) {
  for (std::size_t i = 0; i < inner.size(); ++i) {
    if (outer.margin(inner.corner(i)) < -0.01) return false;
  }
  return true;
}

}  // namespace

MotionTrace::MotionTrace(const tavo::RigidBodySystem& system) : skeleton_(system) {
  for (std::size_t i = 0; i < feet_.size(); ++i) {
    feet_[i].body = system.getBodyId(motion::foot_bodies[i]);
  }
}

void MotionTrace::add(double time, const Observation& observed) {
  if (samples_++ == 0) first_time_ = time;
  last_time_ = time;
  add_posture(time, observed);
  add_support(observed.support());
  margins_.add({{value_at(time, observed.margin().value_or(none))}});
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
  posture.zmp = observed.zero_moment_point();
  posture.cop = observed.centre_of_pressure();
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

// A polygon that comes to stand anew is kept as it first was.
void MotionTrace::add_support(const quantities::SupportPolygon& polygon) {
  if (is_within(polygon, support_) && is_within(support_, polygon)) return;
  support_ = polygon;
  Support support;
  for (std::size_t i = 0; i < polygon.size(); ++i) support.corners.push_back(polygon.corner(i));
  if (!support.corners.empty()) supports_.add(std::move(support));
}

void MotionTrace::add_torques(double time, const tavo::RigidBodySystem& system) {
  ValueRange range;
  const tavo::JointRange torques = system.getJointAnglesTorque();
  for (const float* torque = torques.first; torque != torques.second; ++torque) {
    range.values.push_back(value_at(time, *torque));
  }
  torques_.add(std::move(range));
}

}  // namespace replay
