#pragma once

#include "apps/replay/plot/motion_trace.hpp"
#include "apps/replay/plot/sheet.hpp"

namespace replay {

/// Adds the panels with the joint torques over time, of the legs, the arms and the head: a colour
/// for each kind of joint, solid on the left and dashed on the right.
void add_torque_panels(Sheet& sheet, const MotionTrace& trace);

}  // namespace replay
