#pragma once

namespace replay {

/// The robot has no outlines: its soles are taken to reach from behind the ankle to ahead of it,
/// and as far to either side (m).
inline constexpr float sole_heel = -0.035f, sole_toe = 0.075f, sole_half_width = 0.025f;

}  // namespace replay
