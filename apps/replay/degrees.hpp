#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "motion/motion_file.hpp"

namespace replay {
namespace motion = tavo::motion;

/// Notices joint angles that were probably written in degrees.
class DegreesGuess {
 public:
  void add(const motion::Sample& sample);

  /// What to tell the user; nothing unless most samples have a joint beyond a full turn.
  std::optional<std::string> hint(const std::vector<std::string>& joints) const;

 private:
  std::size_t samples_ = 0, beyond_ = 0;
  double largest_ = 0;
  std::size_t largest_joint_ = 0;
};

}  // namespace replay
