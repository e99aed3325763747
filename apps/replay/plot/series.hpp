#pragma once

#include <cstddef>
#include <ostream>
#include <vector>

#include "apps/replay/plot/axis.hpp"
#include "apps/replay/plot/motion_trace.hpp"

namespace replay {

/// Writes value `index` over time, a line each: time, value. Where there is none the curve is
/// broken.
void write_series(std::ostream& out, const std::vector<ValueRange>& ranges, std::size_t index);

/// What value `index` reaches, 0 included.
Interval reach(const std::vector<ValueRange>& ranges, std::size_t index);

/// The axis that panels over time share.
Axis time_axis(const MotionTrace& trace);

}  // namespace replay
