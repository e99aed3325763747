#pragma once

#include <cstddef>
#include <ostream>
#include <vector>

#include <Eigen/Geometry>

#include "apps/replay/plot/motion_trace.hpp"
#include "apps/replay/plot/view.hpp"

namespace replay {

/// A posture to draw: in a share of the full colours, the later, the darker; moved to the right.
struct Figure {
  const Posture* posture;
  double share;
  double shift = 0;  // m
};

/// `limit` postures, in order of time, that show what the motion is made of: the first, the last,
/// the one with the centre of mass lowest and the one with it highest, if they stand out; then,
/// again and again, the one that is least like those chosen, the earliest of several. What is left
/// of the limit goes to the longest times between.
/// Postures that stand in the same picture (`view`) are not chosen nearer than 2 cm, in the mean of
/// their points, and darken with time; without a view they are to stand side by side.
std::vector<Figure> chosen_figures(const std::vector<Posture>& postures, std::size_t limit,
                                   const View* view);

/// The room that a figure takes as it is seen, m.
Eigen::AlignedBox2d bounds(const Skeleton& skeleton, const Figure& figure, const View& view);

/// The ball that is its head, as it is seen, m.
struct Disc {
  Eigen::Vector2d centre;
  double radius;
};
Disc head(const Skeleton& skeleton, const Figure& figure, const View& view);

/// A figure's lines go to layers, one upon the other. To `under` go the far ones of limbs that
/// coincide: drawn in wide lines they are seen beside the near ones.
enum class Layer { under, far, middle, near };

/// The figure's part in a layer as gnuplot's data, right up colour: pieces of line with empty lines
/// between them.
void write_figure(std::ostream& data, const Skeleton& skeleton, const Figure& figure,
                  const View& view, Layer layer);

}  // namespace replay
