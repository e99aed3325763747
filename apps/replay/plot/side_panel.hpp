#pragma once

#include "apps/replay/plot/arrangement.hpp"
#include "apps/replay/plot/motion_trace.hpp"
#include "apps/replay/plot/sheet.hpp"

namespace replay {

/// Adds the panel with the figures, along the view's direction and up, to scale, with their times.
/// In place, with the paths of the centre of mass and the soles.
void add_side_panel(Sheet& sheet, const MotionTrace& trace, const Arrangement& arrangement);

}  // namespace replay
