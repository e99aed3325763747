#include "apps/replay/plot/figures.hpp"

#include <cmath>
#include <numbers>

#include "apps/replay/plot/colours.hpp"

namespace replay {
namespace {

using Eigen::Vector2d, Eigen::Vector3d;

double radius(const Skeleton::Ball& ball, const std::vector<Vector3d>& points) {
  return (points[ball.rim] - points[ball.centre]).norm();
}

// How far apart the points of two postures are in the x-z plane, in the mean (m).
double distance(const Posture& a, const Posture& b) {
  double sum = 0;
  for (std::size_t i = 0; i < a.points.size(); ++i) {
    sum += (from_side(b.points[i]) - from_side(a.points[i])).norm();
  }
  return sum / static_cast<double>(a.points.size());
}

// Each is more than `least` away from the one before it, but for the last: it ends the motion, at
// least half as far away.
std::vector<const Posture*> spaced(const std::vector<Posture>& postures, double least) {
  std::vector<const Posture*> chosen;
  for (const Posture& posture : postures) {
    if (chosen.empty() || distance(*chosen.back(), posture) > least) chosen.push_back(&posture);
  }
  if (chosen.empty() || chosen.back() == &postures.back()) return chosen;
  if (distance(*chosen.back(), postures.back()) > least / 2) {
    chosen.push_back(&postures.back());
  } else if (chosen.size() > 1) {
    chosen.back() = &postures.back();
  }
  return chosen;
}

}  // namespace

std::vector<Figure> chosen_figures(const std::vector<Posture>& postures, std::size_t limit) {
  double least = 0.02;  // closer figures could not be told apart
  std::vector<const Posture*> chosen = spaced(postures, least);
  while (chosen.size() > limit) chosen = spaced(postures, least *= 1.05);
  std::vector<Figure> figures;
  for (const Posture* posture : chosen) {
    const double left = static_cast<double>(chosen.size() - figures.size() - 1);
    figures.push_back({posture, 1 - 0.7 * left / static_cast<double>(chosen.size())});
  }
  return figures;
}

Eigen::AlignedBox2d bounds_from_side(const Skeleton& skeleton, const Figure& figure) {
  const std::vector<Vector3d>& points = figure.posture->points;
  Eigen::AlignedBox2d bounds;
  for (const Vector3d& point : points) bounds.extend(from_side(point));
  for (const Skeleton::Ball& ball : skeleton.balls()) {
    const Vector2d reach = Vector2d::Constant(radius(ball, points));
    bounds.extend(from_side(points[ball.centre]) - reach);
    bounds.extend(from_side(points[ball.centre]) + reach);
  }
  return bounds;
}

Vector2d top_of_head(const Skeleton& skeleton, const Figure& figure) {
  const std::vector<Vector3d>& points = figure.posture->points;
  const Skeleton::Ball& head = skeleton.balls().front();
  return from_side(points[head.centre]) + Vector2d(0, radius(head, points));
}

void write_figure(std::ostream& data, const Skeleton& skeleton, const Figure& figure) {
  const std::vector<Vector3d>& points = figure.posture->points;
  const auto write = [&data, &figure](const Vector2d& point, Side side) {
    data << point.x() << " " << point.y() << " " << tint(colour_of(side), figure.share) << "\n";
  };
  for (const Side side : {Side::left, Side::middle, Side::right}) {  // the nearest last
    for (const Skeleton::Bar& bar : skeleton.bars()) {
      if (bar.side != side) continue;
      write(from_side(points[bar.from]), side);
      write(from_side(points[bar.to]), side);
      data << "\n";
    }
  }
  for (const Skeleton::Ball& ball : skeleton.balls()) {
    constexpr int pieces = 24;
    for (int i = 0; i <= pieces; ++i) {
      const double angle = 2 * std::numbers::pi * i / pieces;
      const Vector2d to_rim = radius(ball, points) * Vector2d(std::sin(angle), std::cos(angle));
      write(from_side(points[ball.centre]) + to_rim, Side::middle);
    }
    data << "\n";
  }
}

}  // namespace replay
