#pragma once

#include <vector>

#include <Eigen/Core>

#include "apps/replay/plot/thinned.hpp"

namespace replay {

/// Where a foot stood, from the moment it came down until it was lifted, or had slid or turned away
/// from there.
struct Foothold {
  Eigen::Vector3d sole;   // the point below the ankle, m
  Eigen::Vector3d ahead;  // where the toes point; a unit vector
  void merge(const Foothold&) {}
};

/// The places where one foot stands, in the order in which it comes there.
class Footholds {
 public:
  /// Takes in a sample. The foothold is the mean over the time that the foot stands; a new one
  /// begins when sole or toes are more than a centimetre from where it began.
  void add(bool stands, const Foothold& now);

  /// All of them, the one where the foot stands now included.
  std::vector<Foothold> all() const;

 private:
  void leave();
  Foothold mean() const;

  Thinned<Foothold> left_behind_{200};
  Foothold first_{Eigen::Vector3d::Zero(), Eigen::Vector3d::Zero()};
  Foothold sum_{Eigen::Vector3d::Zero(), Eigen::Vector3d::Zero()};
  double samples_ = 0;  // in sum_
};

}  // namespace replay
