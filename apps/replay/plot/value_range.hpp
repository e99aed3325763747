#pragma once

#include <vector>

namespace replay {

/// Values over a stretch of time: of each the smallest and the largest, with their times, so that
/// no peak is lost however long the motion.
struct ValueRange {
  struct At {
    double time;   // s
    double value;  // not a number where there is none
  };
  struct LowHigh {
    At low, high;
  };
  std::vector<LowHigh> values;
  void merge(const ValueRange& later);
};

/// A stretch of one moment; a value that is not finite counts as none.
ValueRange::LowHigh value_at(double time, double value);

}  // namespace replay
