#include "quantities/balance.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

#include <Eigen/Geometry>

#include "quantities/forces.hpp"
#include "quantities/momentum.hpp"

namespace tavo::quantities {
namespace {

using Eigen::Vector2d;

/// Where on the plane the wrench (about the frame's origin) has no moment along the plane.
std::optional<Vector3> point_of_pressure(const Plane& plane, const Wrench& wrench) {
  const double pressing = plane.normal().dot(wrench.force);
  if (!(pressing >= least_pressing_force)) return std::nullopt;
  const Vector3 moment = wrench.moment - plane.point().cross(wrench.force);
  return Vector3(plane.point() + plane.normal().cross(moment) / pressing);
}

/// From a frame to the one that `pose` stands in, moments about the origins.
Wrench moved(const Pose& pose, const Wrench& wrench) {
  const Vector3 force = pose.R * wrench.force;
  return {force, pose.R * wrench.moment + pose.p.cross(force)};
}

double cross(const Vector2d& a, const Vector2d& b) {
  return a.x() * b.y() - a.y() * b.x();
}

double distance_to_segment(const Vector2d& x, const Vector2d& a, const Vector2d& b) {
  const Vector2d along = b - a;
  const double length2 = along.squaredNorm();
  const double t = length2 > 0 ? std::clamp((x - a).dot(along) / length2, 0.0, 1.0) : 0.0;
  return (x - a - t * along).norm();
}

void check_corners(const std::vector<Vector3>& corners, unsigned long body) {
  const std::string sole = "sole of body " + std::to_string(body);
  if (corners.size() < 3) {
    throw std::invalid_argument(sole + " has " + std::to_string(corners.size()) +
                                " corners, 3 needed");
  }
  for (const Vector3& corner : corners) {
    if (!corner.allFinite()) throw std::invalid_argument(sole + " has a corner that is not finite");
  }
}

Plane plane_of(const std::vector<Vector3>& corners, unsigned long body) {
  check_corners(corners, body);
  for (std::size_t i = 2; i < corners.size(); ++i) {
    const Vector3 a = corners[1] - corners[0], b = corners[i] - corners[0];
    const Vector3 normal = a.cross(b);
    if (normal.norm() > 1e-9 * a.norm() * b.norm()) {
      const bool away = normal.dot(corners[0]) > 0;
      return {corners[0], away ? Vector3(-normal) : normal};
    }
  }
  throw std::invalid_argument("sole of body " + std::to_string(body) +
                              " has all corners on one line");
}

}  // namespace

Plane::Plane(const Vector3& point, const Vector3& normal) : point_(point) {
  const double length = normal.norm();
  if (!point.allFinite() || !std::isfinite(length) || length == 0) {
    throw std::invalid_argument("plane has no point or no normal");
  }
  normal_ = normal / length;
  const Vector3 axis = std::abs(normal_.x()) < 0.9 ? Vector3::UnitX() : Vector3::UnitY();
  ahead_ = (axis - axis.dot(normal_) * normal_).normalized();
  left_ = normal_.cross(ahead_);
}

Vector2d Plane::coordinates(const Vector3& x) const {
  const Vector3 d = x - point_;
  return {ahead_.dot(d), left_.dot(d)};
}

Vector3 Plane::at(const Vector2d& coordinates) const {
  return point_ + coordinates.x() * ahead_ + coordinates.y() * left_;
}

Sole::Sole(unsigned long body, std::vector<Vector3> corners)
    : body_(static_cast<unsigned long>(Model::checked(body))),
      corners_(std::move(corners)),
      plane_(plane_of(corners_, body)) {}

std::optional<Vector3> centre_of_pressure(const State& state, const Sole& sole,
                                          const BodyWrenches& wrenches) {
  const int i = static_cast<int>(sole.body());
  const std::optional<Vector3> on_sole =
      point_of_pressure(sole.plane(), {wrenches.col(i).head<3>(), wrenches.col(i).tail<3>()});
  if (!on_sole) return std::nullopt;
  return state.pose(i) * *on_sole;
}

std::optional<Vector3> centre_of_pressure(const State& state, const Plane& plane_world,
                                          const BodyWrenches& wrenches) {
  Wrench sum;
  for (int i = 0; i < nb_bodies; ++i) {
    if (wrenches.col(i).isZero(0)) continue;
    const Wrench wrench =
        moved(state.pose(i), {wrenches.col(i).head<3>(), wrenches.col(i).tail<3>()});
    sum.force += wrench.force;
    sum.moment += wrench.moment;
  }
  return point_of_pressure(plane_world, sum);
}

std::optional<Vector3> zero_moment_point(const State& state, const Plane& plane_world) {
  return point_of_pressure(plane_world, moved(state.root(), root_wrench(state)));
}

std::optional<Vector3> zero_moment_point(const State& state, const Plane& plane_world,
                                         const BodyWrenches& others) {
  return point_of_pressure(plane_world, moved(state.root(), root_wrench(state, others)));
}

void SupportPolygon::add(const State& state, const Sole& sole) {
  if (size_ + sole.corners().size() > capacity) {
    throw std::invalid_argument("support polygon would have more than " + std::to_string(capacity) +
                                " corners");
  }
  const Pose pose = state.pose(static_cast<int>(sole.body()));
  for (const Vector3& corner : sole.corners()) {
    corners_[size_++] = plane_.coordinates(pose * corner);
  }
  take_hull();
}

// Lower border from left to right, then upper border back, dropping every corner that does not turn
// left (Andrew 1979). The hull is built behind the points, then moved to the front.
void SupportPolygon::take_hull() {
  const auto points = corners_.begin();
  const std::ptrdiff_t n = static_cast<std::ptrdiff_t>(size_);
  std::sort(points, points + n, [](const Vector2d& a, const Vector2d& b) {
    return a.x() < b.x() || (a.x() == b.x() && a.y() < b.y());
  });
  std::array<Vector2d, capacity + 1> hull;
  std::size_t kept = 0;
  const auto add_point = [&](const Vector2d& p, std::size_t fixed) {
    while (kept >= fixed + 2 && cross(hull[kept - 1] - hull[kept - 2], p - hull[kept - 1]) <= 0) {
      --kept;
    }
    hull[kept++] = p;
  };
  for (std::ptrdiff_t i = 0; i < n; ++i) add_point(points[i], 0);
  const std::size_t right = kept - 1;
  for (std::ptrdiff_t i = n - 2; i >= 0; --i) add_point(points[i], right);
  size_ = std::max<std::size_t>(kept - 1, 1);  // the last closes the border
  std::copy_n(hull.begin(), size_, points);
}

double SupportPolygon::margin(const Vector3& point_world) const {
  const Vector2d x = plane_.coordinates(point_world);
  double nearest = std::numeric_limits<double>::infinity();
  bool inside = size_ >= 3;
  for (std::size_t i = 0; i < size_; ++i) {
    const Vector2d &a = corners_[i], &b = corners_[(i + 1) % size_];
    nearest = std::min(nearest, distance_to_segment(x, a, b));
    inside = inside && cross(b - a, x - a) >= 0;
  }
  return inside ? nearest : -nearest;
}

double natural_frequency(const State& state, const Plane& plane_world) {
  const double rise = plane_world.normal().z();
  if (std::abs(rise) < 1e-6) throw std::invalid_argument("plane is upright: nothing stands on it");
  const double height = plane_world.normal().dot(com_position(state) - plane_world.point()) / rise;
  if (!(height > 0)) {
    throw std::domain_error("centre of mass is " + std::to_string(height) + " m above the plane");
  }
  return std::sqrt(gravity / height);
}

Vector3 divergent_component(const State& state, double omega) {
  if (!(omega > 0)) {
    throw std::domain_error("natural frequency is " + std::to_string(omega) +
                            " rad/s, not positive");
  }
  return com_position(state) + com_velocity(state) / omega;
}

Vector3 capture_point(const State& state, const Plane& plane_world) {
  const Vector3 x = divergent_component(state, natural_frequency(state, plane_world));
  const Vector3& normal = plane_world.normal();
  return x - normal.dot(x - plane_world.point()) / normal.z() * Vector3::UnitZ();
}

}  // namespace tavo::quantities
