#pragma once

/// @file
/// Balance: centre of pressure (from wrenches), zero-moment point (from motion), support polygon
/// and margin, capture point and divergent component.

#include <array>
#include <optional>
#include <quantities/state.hpp>
#include <quantities/types.hpp>
#include <vector>

#include <Eigen/Core>

namespace tavo::quantities {

/// A plane in some frame, with coordinates on it: along the frame's x axis as far as the plane
/// allows (its y axis if the plane is square to x), and to the left of that. On level ground they
/// are x and y.
class Plane {
 public:
  /// Through `point` (m), square to `normal` (any length), which points to the side where the robot
  /// is. Throws std::invalid_argument if the normal is zero or anything is not finite.
  Plane(const Vector3& point, const Vector3& normal);
  /// Level ground at z = height, m.
  static Plane ground(double height = 0) { return {{0, 0, height}, Vector3::UnitZ()}; }

  /// A point of it, m.
  const Vector3& point() const { return point_; }
  /// Its normal, of length 1.
  const Vector3& normal() const { return normal_; }
  /// Coordinates of x's projection on the plane, from the plane's point, m.
  Eigen::Vector2d coordinates(const Vector3& x) const;
  /// The point of the plane with these coordinates.
  Vector3 at(const Eigen::Vector2d& coordinates) const;

 private:
  Vector3 point_, normal_, ahead_, left_;
};

/// The part of a body that can stand: a convex area within these corners.
class Sole {
 public:
  /// Corners in the body's frame, m, in any order. Throws std::invalid_argument for a body that is
  /// not there, fewer than three corners, corners that are not finite or all on one line.
  /// Allocates.
  Sole(unsigned long body, std::vector<Vector3> corners);

  /// The body that it is a part of.
  unsigned long body() const { return body_; }
  /// Its corners, body frame, m.
  const std::vector<Vector3>& corners() const { return corners_; }
  /// The plane of the first corners that span one, in the body's frame; its normal points to the
  /// side of the body's origin, where the rest of the body is.
  const Plane& plane() const { return plane_; }

 private:
  unsigned long body_;
  std::vector<Vector3> corners_;
  Plane plane_;
};

/// Least force against a plane, N, for which a point of pressure is told.
inline constexpr double least_pressing_force = 1e-3;

/// Centre of pressure of one foot on its own sole, world frame, m: where the moment of its wrench,
/// column sole.body(), has no part along the sole. Nothing while the foot presses with less than
/// least_pressing_force. Needs State::update. Sardain, Bessonnet 2004, section II.
std::optional<Vector3> centre_of_pressure(const State& state, const Sole& sole,
                                          const BodyWrenches& wrenches);

/// Centre of pressure of all wrenches together on one plane of the world (m): of both feet, on
/// level ground. Nothing while they press with less than least_pressing_force. Needs State::update.
std::optional<Vector3> centre_of_pressure(const State& state, const Plane& plane_world,
                                          const BodyWrenches& wrenches);

/// Zero-moment point on a plane of the world, m, from the motion alone: where gravity and the
/// forces of inertia have no moment along the plane. It equals the centre of pressure if the
/// ground's are the only wrenches; others (a hand on a wall) are given. Nothing if the motion
/// presses with less than least_pressing_force: in flight. Needs State::update. Vukobratovic,
/// Borovac 2004; Kajita et al. 2014, section 3.
std::optional<Vector3> zero_moment_point(const State& state,
                                         const Plane& plane_world = Plane::ground());
/// The same beside other wrenches on the robot than the ground's.
std::optional<Vector3> zero_moment_point(const State& state, const Plane& plane_world,
                                         const BodyWrenches& others);

/// Convex hull, on a plane of the world, of the soles that stand. Never allocates.
///
///   polygon.clear();
///   polygon.add(state, left);     // whichever stand
///   double m = polygon.margin(*zero_moment_point(state));
class SupportPolygon {
 public:
  static constexpr std::size_t capacity = 64;  ///< corners of all soles together

  /// Nothing stands.
  explicit SupportPolygon(const Plane& plane_world = Plane::ground()) : plane_(plane_world) {}

  /// Nothing stands any more.
  void clear() { size_ = 0; }
  /// Adds a sole, its corners projected on the plane. Needs State::update. Throws
  /// std::invalid_argument, changing nothing, beyond the capacity.
  void add(const State& state, const Sole& sole);

  /// Number of corners: 0 if nothing stands.
  std::size_t size() const { return size_; }
  /// Corner i < size(), counterclockwise seen from the robot's side, world frame, m.
  Vector3 corner(std::size_t i) const { return plane_.at(corners_[i]); }

  /// Distance (m) of the point's projection from the polygon's border: positive inside, negative
  /// outside, minus infinity if nothing stands.
  double margin(const Vector3& point_world) const;

 private:
  void take_hull();

  Plane plane_;
  std::array<Eigen::Vector2d, 2 * capacity> corners_;
  std::size_t size_ = 0;
};

// The linear inverted pendulum. Need State::update.

/// Its natural frequency sqrt(g / height), rad/s, with the centre of mass `height` above the plane,
/// measured along the vertical. Throws std::domain_error if it is not above, std::invalid_argument
/// if the plane is upright. Kajita et al. 2001.
double natural_frequency(const State& state, const Plane& plane_world = Plane::ground());

/// Divergent component of motion c + c' / omega, world frame, m; omega (rad/s) positive, else
/// std::domain_error. Englsberger, Ott, Albu-Schaeffer 2015, equation 1.
Vector3 divergent_component(const State& state, double omega);

/// Instantaneous capture point on a plane, world frame, m: below (or above) c + c' / omega, with
/// the plane's natural frequency. Throws like natural_frequency. Pratt et al. 2006, section III.
Vector3 capture_point(const State& state, const Plane& plane_world = Plane::ground());

}  // namespace tavo::quantities
