#pragma once

#include <ostream>
#include <sstream>
#include <string>

namespace replay {

enum class PictureFormat { svg, png };

struct Interval {
  double low, high;
  double length() const { return high - low; }
};

/// The interval of that length about the middle of this one.
Interval resized(const Interval& interval, double length);

/// 1, 2 or 5 times a power of ten, not below `least`.
double round_step(double least);

/// A gnuplot script for a sheet of panels, one below the other, each with its legend to the right
/// of it. Sizes are px of the SVG picture; a PNG has twice as many.
class Sheet {
 public:
  static constexpr double panel_width = 664;

  struct Axis {
    std::string title;  // empty: that of the panel below holds for both
    Interval range;
    double step = 0;  // between marks; 0: gnuplot chooses
  };

  Sheet();

  /// Begins the next panel: what is written to script() until the next one belongs to it.
  void begin_panel(const std::string& title, double height, const Axis& x, const Axis& y);

  std::ostream& script() { return body_; }

  /// The whole script, the sheet's title included.
  std::string finished(const std::string& title, PictureFormat format) const;

  /// The lines that choose how the picture is written.
  static std::string terminal(PictureFormat format, double height);

 private:
  std::ostringstream body_;
  double bottom_;  // of what is filled, from the top
};

}  // namespace replay
