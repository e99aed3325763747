#include "apps/replay/plot/series.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "apps/replay/plot/sheet.hpp"

namespace replay {

void write_series(std::ostream& out, const std::vector<ValueRange>& ranges, std::size_t index) {
  for (const ValueRange& range : ranges) {
    auto [first, second] = range.values[index];
    if (std::isnan(first.value)) {
      out << "\n";
      continue;
    }
    if (second.time < first.time) std::swap(first, second);
    out << first.time << " " << first.value << "\n";
    if (second.time > first.time) out << second.time << " " << second.value << "\n";
  }
}

Interval reach(const std::vector<ValueRange>& ranges, std::size_t index) {
  Interval all{0, 0};
  for (const ValueRange& range : ranges) {
    const auto& [low, high] = range.values[index];
    if (low.value < all.low) all.low = low.value;
    if (high.value > all.high) all.high = high.value;
  }
  return all;
}

Axis time_axis(const MotionTrace& trace) {
  const double start = trace.first_time();
  Interval times{start, trace.last_time()};
  if (!(times.length() > 0)) times = resized(times, 1);
  return round_axis("time", "s", times, Sheet::panel_width, Direction::across, &start);
}

}  // namespace replay
