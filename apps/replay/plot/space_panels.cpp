#include "apps/replay/plot/space_panels.hpp"

#include <algorithm>

#include "apps/replay/plot/above_panel.hpp"
#include "apps/replay/plot/side_panel.hpp"

namespace replay {
namespace {

// Where both panels have the same axis, what is above each other there is the same place.
void align(Arrangement& side, Scene& above) {
  Scene of_side = side.scene();
  Eigen::AlignedBox2d both = above.seen;
  both.min().x() = std::min(both.min().x(), of_side.seen.min().x());
  both.max().x() = std::max(both.max().x(), of_side.seen.max().x());
  const double scale = std::min(of_side.scale, fitting_scale(both.sizes(), most_height));
  for (Scene* scene : {&of_side, &above}) {
    scene->seen.min().x() = both.min().x();
    scene->seen.max().x() = both.max().x();
    scene->scale = scale;
  }
  side.set_scene(of_side);
}

}  // namespace

void add_space_panels(Sheet& sheet, const MotionTrace& trace, ViewChoice view) {
  Arrangement arrangement(trace, view);
  Scene above = scene_from_above(trace, arrangement);
  if (arrangement.in_place() && arrangement.view().is_along_x()) align(arrangement, above);
  add_side_panel(sheet, trace, arrangement);
  add_above_panel(sheet, trace, arrangement, above);
}

}  // namespace replay
