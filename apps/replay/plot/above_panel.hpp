#pragma once

#include "apps/replay/plot/arrangement.hpp"
#include "apps/replay/plot/motion_trace.hpp"
#include "apps/replay/plot/sheet.hpp"

namespace replay {

/// What there is to be seen from above: x and y.
Scene scene_from_above(const MotionTrace& trace, const Arrangement& arrangement);

/// Adds the panel with footholds, support polygons, points of pressure and the path of the centre
/// of mass, x against y.
void add_above_panel(Sheet& sheet, const MotionTrace& trace, const Arrangement& arrangement,
                     const Scene& scene);

}  // namespace replay
