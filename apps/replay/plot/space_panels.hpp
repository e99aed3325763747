#pragma once

#include "apps/replay/plot/motion_trace.hpp"
#include "apps/replay/plot/sheet.hpp"

namespace replay {

/// Adds the two panels that show space.
///
/// From the side: stick figures to scale, along a horizontal direction of the world. Where the
/// robot travels they stand where it was, with the paths of the centre of mass and the soles. Where
/// it stays about, or goes so far that figures would be tiny, they stand side by side. From above:
/// footholds and the path of the centre of mass, x against y.
void add_space_panels(Sheet& sheet, const MotionTrace& trace, ViewChoice view);

}  // namespace replay
