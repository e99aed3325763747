#pragma once

#include <string>
#include <vector>

#include "apps/urdf/robot.hpp"

namespace urdf_export {

/// The robot as a URDF document. Its root link `base_link` is massless and fixed to the first body.
std::string urdf(const std::vector<Body>& bodies);

}  // namespace urdf_export
