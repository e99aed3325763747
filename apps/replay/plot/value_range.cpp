#include "apps/replay/plot/value_range.hpp"

#include <cmath>
#include <limits>

namespace replay {

ValueRange::LowHigh value_at(double time, double value) {
  const ValueRange::At at{time,
                          std::isfinite(value) ? value : std::numeric_limits<double>::quiet_NaN()};
  return {at, at};
}

void ValueRange::merge(const ValueRange& later) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    auto& [low, high] = values[i];
    const auto& [later_low, later_high] = later.values[i];
    if (std::isnan(low.value) || later_low.value < low.value) low = later_low;
    if (std::isnan(high.value) || later_high.value > high.value) high = later_high;
  }
}

}  // namespace replay
