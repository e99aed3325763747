#pragma once

#include <string>
#include <vector>

#include "apps/replay/plot/figures.hpp"
#include "apps/replay/plot/motion_trace.hpp"
#include "apps/replay/plot/space_panel.hpp"
#include "apps/replay/plot/view.hpp"

namespace replay {

/// Which figures are drawn, and where they stand in the picture: where the robot was, if it travels
/// and the figures are large enough to be read; else side by side.
class Arrangement {
 public:
  Arrangement(const MotionTrace& trace, ViewChoice choice);
  Arrangement(const Arrangement&) = delete;  // figures point to postures
  Arrangement& operator=(const Arrangement&) = delete;

  const View& view() const { return view_; }
  const std::vector<Posture>& postures() const { return postures_; }
  const std::vector<Figure>& figures() const { return figures_; }
  bool in_place() const { return in_place_; }
  const Scene& scene() const { return scene_; }

  /// Shows something else, or to another scale.
  void set_scene(const Scene& scene) { scene_ = scene; }

  /// The width of a figure's place, side by side, m.
  double place() const;

 private:
  void stand_in_place(const Skeleton& skeleton);
  void stand_side_by_side(const Skeleton& skeleton, bool stays);

  const View view_;
  std::vector<Posture> postures_;
  std::vector<Figure> figures_;
  bool in_place_ = true;
  Scene scene_;
};

}  // namespace replay
