#include "apps/replay/degrees.hpp"

#include <cmath>
#include <numbers>
#include <sstream>

namespace replay {

void DegreesGuess::add(const motion::Sample& sample) {
  ++samples_;
  Eigen::Index joint = 0;
  const double largest = sample.q.cwiseAbs().maxCoeff(&joint);
  if (largest > 2 * std::numbers::pi) ++beyond_;
  if (largest > largest_) {
    largest_ = largest;
    largest_joint_ = static_cast<std::size_t>(joint);
  }
}

std::optional<std::string> DegreesGuess::hint(const std::vector<std::string>& joints) const {
  if (2 * beyond_ <= samples_) return std::nullopt;
  std::ostringstream text;
  text << "joint angles beyond 2 pi in " << beyond_ << " of " << samples_ << " samples ("
       << joints[largest_joint_] << " up to " << largest_ << "): they are taken as rad, are they "
       << "degrees?";
  return text.str();
}

}  // namespace replay
