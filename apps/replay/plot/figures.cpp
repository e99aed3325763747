#include "apps/replay/plot/figures.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "apps/replay/plot/colours.hpp"

namespace replay {
namespace {

using Eigen::Vector2d, Eigen::Vector3d;

double radius(const Skeleton::Ball& ball, const std::vector<Vector3d>& points) {
  return (points[ball.rim] - points[ball.centre]).norm();
}

// How much two postures differ (m): as they are seen, in the mean of their points; or else the
// point that differs most.
double distance(const Posture& a, const Posture& b, const View* view) {
  double sum = 0, most = 0;
  for (std::size_t i = 0; i < a.points.size(); ++i) {
    const Vector3d way = b.points[i] - a.points[i];
    sum += view ? (*view)(way).norm() : 0;
    most = std::max(most, way.norm());
  }
  return view ? sum / static_cast<double>(a.points.size()) : most;
}

class Choice {
 public:
  Choice(const std::vector<Posture>& postures, const View* view)
      : postures_(postures),
        view_(view),
        away_(postures.size(), std::numeric_limits<double>::infinity()) {}

  void take(std::size_t index) {
    chosen_.push_back(index);
    for (std::size_t i = 0; i < postures_.size(); ++i) {
      away_[i] = std::min(away_[i], distance(postures_[index], postures_[i], view_));
    }
  }

  void take_if_away(std::size_t index, double least) {
    if (away_[index] > least) take(index);
  }

  // Of nearly equals the earliest, at the peak that it leads to.
  bool take_farthest(double least) {
    const double farthest = *std::max_element(away_.begin(), away_.end());
    if (!(farthest > least)) return false;
    std::size_t i = 0;
    while (away_[i] < 0.9 * farthest) ++i;
    while (i + 1 < away_.size() && away_[i + 1] >= away_[i]) ++i;
    take(i);
    return true;
  }

  // The one in the middle of the longest time between two.
  bool take_between() {
    std::sort(chosen_.begin(), chosen_.end());
    std::size_t best = 0, longest = 1;
    for (std::size_t i = 1; i < chosen_.size(); ++i) {
      const std::size_t gap = chosen_[i] - chosen_[i - 1];
      if (gap > longest) {
        longest = gap;
        best = chosen_[i - 1] + gap / 2;
      }
    }
    if (longest < 2) return false;
    take(best);
    return true;
  }

  std::size_t size() const { return chosen_.size(); }

  std::vector<std::size_t> in_order() {
    std::sort(chosen_.begin(), chosen_.end());
    return chosen_;
  }

 private:
  const std::vector<Posture>& postures_;
  const View* view_;
  std::vector<double> away_;  // of each posture, from the nearest one that is chosen
  std::vector<std::size_t> chosen_;
};

std::size_t lowest(const std::vector<Posture>& postures, double sign) {
  const auto found = std::min_element(
      postures.begin(), postures.end(),
      [sign](const Posture& a, const Posture& b) { return sign * a.com.z() < sign * b.com.z(); });
  return static_cast<std::size_t>(found - postures.begin());
}

// The right one unless the left one is clearly nearer to the eye.
Side near_side(const Skeleton& skeleton, const std::vector<Vector3d>& points, const View& view) {
  double left_is_nearer = 0;
  for (const Skeleton::Bar& bar : skeleton.bars()) {
    const double nearness = view.nearness(points[bar.to]);
    left_is_nearer += bar.side == Side::left ? nearness : bar.side == Side::right ? -nearness : 0;
  }
  return left_is_nearer > 0.1 ? Side::left : Side::right;
}

// Whether a bar of the other side is in front of this one, to some millimetres.
bool is_covered(const Skeleton::Bar& bar, Side near, const Skeleton& skeleton,
                const std::vector<Vector3d>& points, const View& view) {
  const auto coincide = [&points, &view](std::size_t a, std::size_t b) {
    return view(points[a] - points[b]).norm() < 0.006;
  };
  return std::any_of(
      skeleton.bars().begin(), skeleton.bars().end(), [&](const Skeleton::Bar& other) {
        return other.side == near && coincide(bar.from, other.from) && coincide(bar.to, other.to);
      });
}

}  // namespace

std::vector<Figure> chosen_figures(const std::vector<Posture>& postures, std::size_t limit,
                                   const View* view) {
  if (postures.empty()) return {};
  const double least = view ? 0.02 : 0.01;
  Choice choice(postures, view);
  choice.take(0);
  if (view) {
    choice.take_if_away(postures.size() - 1, least);
  } else if (postures.size() > 1) {
    choice.take(postures.size() - 1);
  }
  for (const double sign : {1.0, -1.0}) {
    const std::size_t extreme = lowest(postures, sign);
    const double rise = std::min(std::abs(postures[extreme].com.z() - postures.front().com.z()),
                                 std::abs(postures[extreme].com.z() - postures.back().com.z()));
    if (rise > 0.02) choice.take_if_away(extreme, least);
  }
  while (choice.size() < limit && choice.take_farthest(least)) {
  }
  while (!view && choice.size() < limit && choice.take_between()) {
  }
  std::vector<Figure> figures;
  for (const std::size_t i : choice.in_order()) {
    const double left = static_cast<double>(choice.size() - figures.size() - 1);
    figures.push_back(
        {&postures[i], view ? 1 - 0.7 * left / static_cast<double>(choice.size()) : 1});
  }
  return figures;
}

Disc head(const Skeleton& skeleton, const Figure& figure, const View& view) {
  const std::vector<Vector3d>& points = figure.posture->points;
  const Skeleton::Ball& ball = skeleton.balls().front();
  return {view(points[ball.centre]) + Vector2d(figure.shift, 0), radius(ball, points)};
}

Eigen::AlignedBox2d bounds(const Skeleton& skeleton, const Figure& figure, const View& view) {
  const Disc ball = head(skeleton, figure, view);
  const Vector2d reach = Vector2d::Constant(ball.radius);
  Eigen::AlignedBox2d bounds(ball.centre - reach, ball.centre + reach);
  for (const Vector3d& point : figure.posture->points) {
    bounds.extend(view(point) + Vector2d(figure.shift, 0));
  }
  return bounds;
}

void write_figure(std::ostream& data, const Skeleton& skeleton, const Figure& figure,
                  const View& view, Layer layer) {
  const std::vector<Vector3d>& points = figure.posture->points;
  const auto write = [&data, &figure](const Vector2d& point, Side side) {
    data << point.x() + figure.shift << " " << point.y() << " "
         << tint(colour_of(side), figure.share) << "\n";
  };
  const Side near = near_side(skeleton, points, view);
  for (const Skeleton::Bar& bar : skeleton.bars()) {
    const Layer of_bar = bar.side == Side::middle                        ? Layer::middle
                         : bar.side == near                              ? Layer::near
                         : is_covered(bar, near, skeleton, points, view) ? Layer::under
                                                                         : Layer::far;
    if (of_bar != layer) continue;
    write(view(points[bar.from]), bar.side);
    write(view(points[bar.to]), bar.side);
    data << "\n";
  }
  if (layer != Layer::middle) return;
  for (const Skeleton::Ball& ball : skeleton.balls()) {
    constexpr int pieces = 24;
    for (int i = 0; i <= pieces; ++i) {
      const double angle = 2 * std::numbers::pi * i / pieces;
      const Vector2d to_rim = radius(ball, points) * Vector2d(std::sin(angle), std::cos(angle));
      write(view(points[ball.centre]) + to_rim, Side::middle);
    }
    data << "\n";
  }
}

}  // namespace replay
