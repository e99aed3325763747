#include "apps/replay/plot/view.hpp"

#include <cmath>
#include <cstdlib>
#include <numbers>

#include <Eigen/Eigenvalues>

namespace replay {
namespace {

using Eigen::Vector2d;

constexpr double degree = std::numbers::pi / 180;

}  // namespace

View::View(int degrees)
    : degrees_(degrees),
      right_(degrees == 90 ? Vector2d(0, 1)
                           : Vector2d(std::cos(degrees * degree), std::sin(degrees * degree))) {}

Vector2d View::operator()(const Eigen::Vector3d& point) const {
  return {right_.dot(point.head<2>()), point.z()};
}

double View::nearness(const Eigen::Vector3d& point) const {
  return right_.y() * point.x() - right_.x() * point.y();
}

std::string View::name() const {
  if (degrees_ == 0) return "x";
  if (degrees_ == 90) return "y";
  return std::to_string(std::abs(degrees_)) + "° " + (degrees_ > 0 ? "left" : "right") + " of x";
}

// Means and scatter are updated sample by sample (Knuth 1998, section 4.2.2).
void Travel::add(const std::vector<Eigen::Vector3d>& points) {
  if (mean_.empty()) mean_.assign(points.size(), Vector2d::Zero());
  ++samples_;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Vector2d before = points[i].head<2>() - mean_[i];
    mean_[i] += before / samples_;
    const Vector2d after = points[i].head<2>() - mean_[i];
    scatter_ += before * after.transpose();
  }
}

View Travel::view(ViewChoice choice) const {
  if (choice != ViewChoice::automatic) return View(choice == ViewChoice::x ? 0 : 90);
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix2d> axes((scatter_ + scatter_.transpose()) / 2);
  const Vector2d& size = axes.eigenvalues();  // the smaller one first
  if (!(size(1) > 1.5 * size(0)) || !std::isfinite(size(1))) return View(0);
  const Vector2d axis = axes.eigenvectors().col(1);
  const int degrees =
      5 * static_cast<int>(std::lround(std::atan(axis.y() / axis.x()) / degree / 5));
  if (std::abs(degrees) <= 10) return View(0);
  return View(std::abs(degrees) >= 80 ? 90 : degrees);
}

}  // namespace replay
