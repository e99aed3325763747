#include "apps/replay/plot/axis.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "apps/replay/decimals.hpp"

namespace replay {
namespace {

constexpr double text_height = 16;  // px

// The multiple of `step`, relative to the origin.
std::string mark_text(double value, double step) {
  if (std::abs(value) < step / 2) return "0";
  if (step < 1e-5 || std::abs(value) >= 1e6) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", value);
    return text;
  }
  return fixed_text(value, decimals_of(step));
}

std::vector<Mark> marks_at(double step, const Interval& range, double origin) {
  std::vector<Mark> marks;
  const double first = std::ceil((range.low - origin) / step - 1e-6);
  const double last = std::floor((range.high - origin) / step + 1e-6);
  for (double i = first; i <= last && marks.size() < 100; ++i) {
    marks.push_back({origin + i * step, mark_text(i * step, step)});
  }
  return marks;
}

// What a mark takes of the axis; 1.3 times as much looks well.
double room(const std::vector<Mark>& marks, Direction direction) {
  double widest = 0;
  for (const Mark& mark : marks) widest = std::max(widest, text_width(mark.text) + 8);
  return direction == Direction::up ? text_height : widest;
}

// A round number that leaves little of those in the range.
double round_origin(const Interval& range) {
  const double power = std::pow(10, std::ceil(std::log10(range.length())));
  return std::floor(range.low / power) * power;
}

}  // namespace

Interval resized(const Interval& interval, double length) {
  const double middle = interval.low + interval.length() / 2;
  return {middle - length / 2, middle + length / 2};
}

double text_width(const std::string& text) {
  double letters = 0;
  for (const char c : text) {  // a character's first byte in UTF-8
    if ((static_cast<unsigned char>(c) & 0xC0U) != 0x80U) ++letters;
  }
  return 7.3 * letters;
}

double origin_of(const Interval& range, double start) {
  constexpr std::size_t longest = 7;  // characters of a mark
  const double largest = std::max(std::abs(range.low), std::abs(range.high));
  return fixed_text(largest, decimals_of(range.length() / 10)).size() > longest ? start : 0;
}

Axis round_axis(const std::string& name, const std::string& unit, const Interval& range, double px,
                Direction direction, const double* origin) {
  const double zero = origin_of(range, origin ? *origin : round_origin(range));
  const double comfortable = direction == Direction::up ? 2.3 : 1.5;
  std::vector<Mark> marks;
  for (double power = std::pow(10, std::ceil(std::log10(range.length()))), tries = 0; tries < 6;
       ++tries, power /= 10) {
    for (const double factor : {1.0, 0.5, 0.2}) {
      const double step = factor * power;
      const std::vector<Mark> closer = marks_at(step, range, zero);
      const double needed = room(closer, direction) * (marks.size() < 3 ? 1.0 : comfortable);
      const bool many = direction == Direction::up && marks.size() > 3 && closer.size() > 8;
      if (closer.size() > 1 && (many || step / range.length() * px < needed)) {
        tries = 6;
        break;
      }
      marks = closer;
    }
  }
  char start[40];
  std::snprintf(start, sizeof start, "%.12g", zero);
  return {name + ", " + unit + (zero != 0 ? " (0 is " + std::string(start) + ")" : ""), range,
          marks};
}

}  // namespace replay
