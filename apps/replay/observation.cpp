#include "apps/replay/observation.hpp"

#include <algorithm>
#include <cmath>

#include "apps/replay/sole_outline.hpp"

namespace replay {
namespace {

quantities::Sole sole_of(unsigned long body) {
  std::vector<Eigen::Vector3d> corners;
  for (const float ahead : {sole_heel, sole_toe}) {
    for (const float left : {-sole_half_width, sole_half_width}) {
      const KT::Math::Position3D corner =
          motion::sole_point(KT::Math::Transform(), ahead, left);  // in the body's own frame
      corners.emplace_back(corner.x, corner.y, corner.z);
    }
  }
  return {body, corners};
}

}  // namespace

Observation::Observation(tavo::RigidBodySystem& system,
                         const std::vector<unsigned long>& wrench_bodies)
    : system_(system),
      wrench_bodies_(wrench_bodies),
      state_(system),
      feet_{{{sole_of(system.getBodyId(motion::foot_bodies[0])), false, false},
             {sole_of(system.getBodyId(motion::foot_bodies[1])), false, false}}} {
  for (Foot& foot : feet_) {
    foot.has_wrench = std::count(wrench_bodies.begin(), wrench_bodies.end(), foot.sole.body()) > 0;
  }
}

void Observation::update(const motion::State& state) {
  state_.update(state.velocity, state.acceleration);
  for (std::size_t i = 0; i < wrench_bodies_.size(); ++i) {
    const unsigned long body = wrench_bodies_[i];
    const bool foot = std::any_of(feet_.begin(), feet_.end(),
                                  [body](const Foot& f) { return f.sole.body() == body; });
    (foot ? feet_wrenches_ : other_wrenches_).col(static_cast<Eigen::Index>(body)) =
        state.sample.wrenches.segment<6>(static_cast<Eigen::Index>(6 * i));
  }
  find_support();
}

void Observation::find_support() {
  support_.clear();
  for (Foot& foot : feet_) {
    foot.stands = is_loaded(foot);
    if (foot.stands) support_.add(state_, foot.sole);
  }
}

bool Observation::is_loaded(const Foot& foot) const {
  const auto body = static_cast<int>(foot.sole.body());
  const quantities::Pose pose = state_.pose(body);
  if (!pose.p.allFinite() || !pose.R.allFinite()) return false;
  if (foot.has_wrench) {
    const double weight = quantities::gravity * state_.model().mass();
    return feet_wrenches_.col(body).head<3>().norm() > 0.05 * weight;
  }
  const KT::Math::Position3D sole = motion::sole_point(system_.getPose(foot.sole.body()));
  return std::abs(sole.z) < 0.003f;
}

quantities::Wrench Observation::root_wrench() const {
  return quantities::root_wrench(state_, wrenches());
}

std::optional<Eigen::Vector3d> Observation::zero_moment_point() const {
  return quantities::zero_moment_point(state_, quantities::Plane::ground(), other_wrenches_);
}

std::optional<Eigen::Vector3d> Observation::centre_of_pressure() const {
  return quantities::centre_of_pressure(state_, quantities::Plane::ground(), feet_wrenches_);
}

std::optional<double> Observation::margin() const {
  const std::optional<Eigen::Vector3d> zmp = zero_moment_point();
  if (!zmp || support_.size() == 0) return std::nullopt;
  return support_.margin(*zmp);
}

std::optional<Eigen::Vector3d> Observation::capture_point() const {
  if (!(quantities::com_position(state_).z() > 0)) return std::nullopt;
  return quantities::capture_point(state_);
}

}  // namespace replay
