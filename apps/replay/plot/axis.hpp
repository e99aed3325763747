#pragma once

#include <string>
#include <vector>

namespace replay {

struct Interval {
  double low, high;
  double length() const { return high - low; }
};

/// The interval of that length about the middle of this one.
Interval resized(const Interval& interval, double length);

/// A place on an axis that is marked, and the text beside it.
struct Mark {
  double at;
  std::string text;
};

struct Axis {
  std::string title;  // empty: that of the panel below holds for both
  Interval range;
  std::vector<Mark> marks;
};

enum class Direction { across, up };

/// Width of a text as it is drawn (px), near enough to keep others away from it.
double text_width(const std::string& text);

/// Where numbers are counted from that are large beside the range they move in: `start`; else from
/// 0.
double origin_of(const Interval& range, double start);

/// An axis of `px` that shows `range`, with round marks as close as their texts allow, two or more
/// if there is room. Numbers of too many digits are counted from `origin`, by default a round
/// number; the title then says so.
Axis round_axis(const std::string& name, const std::string& unit, const Interval& range, double px,
                Direction direction, const double* origin = nullptr);

}  // namespace replay
