#pragma once

#include <string>
#include <vector>

#include <Eigen/Core>

namespace replay {

/// Which horizontal axis of the world runs to the right in the picture of the figures.
enum class ViewChoice { automatic, x, y };

/// A look at the world from the side: a horizontal direction runs to the right, z upwards.
class View {
 public:
  /// `degrees`: from x to y.
  explicit View(int degrees);

  /// Along the direction, and up (m).
  Eigen::Vector2d operator()(const Eigen::Vector3d& point) const;

  /// How near to the eye a point is, m.
  double nearness(const Eigen::Vector3d& point) const;

  /// The direction in words, "x" or "45° left of x".
  std::string name() const;

  bool is_along_x() const { return degrees_ == 0; }

 private:
  int degrees_;
  Eigen::Vector2d right_;
};

/// Gathers the horizontal direction in which a set of points moves most.
class Travel {
 public:
  /// The same points, some time later.
  void add(const std::vector<Eigen::Vector3d>& points);

  /// Along the first principal axis of the points' paths, each about its own mean, if there is one
  /// that stands out, else along x. Axes nearly x or y count as these, others are taken to 5
  /// degrees.
  View view(ViewChoice choice) const;

 private:
  double samples_ = 0;
  std::vector<Eigen::Vector2d> mean_;
  Eigen::Matrix2d scatter_ = Eigen::Matrix2d::Zero();
};

}  // namespace replay
