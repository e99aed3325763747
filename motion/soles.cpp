#include "motion/soles.hpp"

namespace tavo::motion {

KT::Math::Position3D sole_point(const KT::Math::Transform& foot_pose_world, float ahead,
                                float left) {
  constexpr float ankle_height = 0.045f;
  return foot_pose_world * KT::Math::Position3D(-ankle_height, -left, ahead);
}

}  // namespace tavo::motion
