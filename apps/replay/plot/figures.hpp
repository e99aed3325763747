#pragma once

#include <cstddef>
#include <ostream>
#include <vector>

#include <Eigen/Geometry>

#include "apps/replay/plot/motion_trace.hpp"

namespace replay {

/// A posture to draw, in a share of the full colours: the later, the darker.
struct Figure {
  const Posture* posture;
  double share;
};

/// The first posture, the last, and between them one as often as the points have moved on by an
/// even distance in the x-z plane, at most `limit` in all: figures do not pile up where the robot
/// stands.
std::vector<Figure> chosen_figures(const std::vector<Posture>& postures, std::size_t limit);

/// The room that a figure takes in the x-z plane, m.
Eigen::AlignedBox2d bounds_from_side(const Skeleton& skeleton, const Figure& figure);

/// The highest point of the ball that is its head, in the x-z plane, m.
Eigen::Vector2d top_of_head(const Skeleton& skeleton, const Figure& figure);

/// The figure seen from its right as gnuplot's data, x z colour: pieces of line with empty lines
/// between them.
void write_figure(std::ostream& data, const Skeleton& skeleton, const Figure& figure);

}  // namespace replay
