#pragma once

#include "apps/replay/plot/motion_trace.hpp"
#include "apps/replay/plot/sheet.hpp"

namespace replay {

/// Adds the panel with the margin of the zero-moment point over time, unless there never is one.
void add_margin_panel(Sheet& sheet, const MotionTrace& trace);

}  // namespace replay
