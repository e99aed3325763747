#pragma once

#include "apps/replay/plot/motion_trace.hpp"
#include "apps/replay/plot/sheet.hpp"

namespace replay {

/// Adds the two panels that show space, to one scale on all their axes: stick figures from the
/// side (x against z) with the paths of the centre of mass and the soles; footholds and the path
/// of the centre of mass from above (x against y).
void add_space_panels(Sheet& sheet, const MotionTrace& trace);

}  // namespace replay
