#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <ostream>
#include <string>

namespace replay {

/// One line on a terminal, refreshed, that says how far a run is: from its third second on, and
/// gone when this object goes.
class Progress {
 public:
  using Clock = std::chrono::steady_clock;

  /// The run starts. Without a terminal nothing is ever shown.
  explicit Progress(std::ostream* terminal, std::function<Clock::time_point()> now = Clock::now);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// `share`: of the input, 0 to 1, if known. Cheap: the line changes five times a second.
  void show(std::size_t samples, std::optional<double> share);

 private:
  std::ostream* terminal_;
  std::function<Clock::time_point()> now_;
  Clock::time_point due_;
  std::string line_;  // as it stands on the terminal
};

}  // namespace replay
