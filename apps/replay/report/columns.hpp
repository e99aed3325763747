#pragma once

#include <string>
#include <vector>

#include "apps/replay/signals.hpp"

namespace replay {

/// A signal that the page shows.
struct ReportSignal {
  Signal signal;
  std::string unit;
  bool in_scene;   ///< Wanted at single samples: to draw the robot, and as its state.
  bool in_curves;  ///< Drawn over time: no peak may get lost.
};

/// What the page is made of; report/README.md lists the columns. `observed`: of a system whose
/// kinematics are computed.
std::vector<ReportSignal> report_signals(const Observation& observed);

}  // namespace replay
