#pragma once

#include <string>
#include <vector>

#include "apps/replay/observation.hpp"

namespace replay {

/// A body where its joint's angle is zero.
struct TableBody {
  std::string name;
  int parent;                  ///< -1 for the root
  quantities::Pose in_parent;  ///< of the root: the identity
  Eigen::Vector3d com;         ///< in its own frame, m
  double mass;                 ///< kg
};

/// The robot as a page draws it. `observed`: of a system whose kinematics are computed, all joint
/// angles zero.
std::vector<TableBody> body_table(const Observation& observed);

}  // namespace replay
