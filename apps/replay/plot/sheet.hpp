#pragma once

#include <ostream>
#include <sstream>
#include <string>

#include "apps/replay/plot/axis.hpp"

namespace replay {

enum class PictureFormat { svg, png };

/// A gnuplot script for a sheet of panels, one below the other, each with its legend to the right
/// of it. Sizes are px of the SVG picture; a PNG has twice as many.
class Sheet {
 public:
  static constexpr double panel_width = 640;

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
