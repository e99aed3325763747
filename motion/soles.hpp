#pragma once

#include <array>
#include <ktmath/ktmath.hpp>

namespace tavo::motion {

/// The bodies that are feet. One that stands flat has its x axis up, y to the right, z ahead.
inline constexpr std::array<const char*, 2> foot_bodies = {"LAnkleRoll", "RAnkleRoll"};

/// The point of a sole in the world, m: `ahead` and `left` of the point below the ankle. The model
/// knows the sole's height only; how far it reaches is not a property of the robot here.
KT::Math::Position3D sole_point(const KT::Math::Transform& foot_pose_world, float ahead = 0,
                                float left = 0);

}  // namespace tavo::motion
