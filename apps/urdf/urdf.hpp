#pragma once

#include <string>
#include <vector>

#include "apps/urdf/robot.hpp"

namespace urdf_export {

/// What the first body hangs from. Tools disagree: apps/urdf/README.md says who needs what.
enum class Root {
  world,      ///< a massless link "world", fixed
  floating,   ///< the same, by a floating joint
  base_link,  ///< a massless link "base_link", fixed
  none        ///< nothing: the first body is the root link
};

struct Options {
  Root root = Root::world;
  std::string joint_suffix = "_joint";  ///< makes a joint's name out of its body's
  double least_inertia = 1e-9;          ///< principal moments about a centre of mass, kg m2
};

/// The robot as a URDF document.
std::string urdf(const std::vector<Body>& bodies, const Options& options = {});

}  // namespace urdf_export
