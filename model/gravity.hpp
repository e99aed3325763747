#pragma once

#include "spatial/motion.hpp"

namespace metapod {

/// Gravity as a fictitious upward acceleration of the world: the world's z points up and gravity
/// is (0, 0, -9.81) m/s². Featherstone 2008, section 5.3.
constexpr Spatial::Motion minus_g({0, 0, 0}, {0, 0, 9.81f});

}  // namespace metapod
