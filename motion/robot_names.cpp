#include "motion/robot_names.hpp"

namespace tavo::motion {

std::vector<std::string> RobotNames::coordinates() const {
  std::vector<std::string> names = {"vx", "vy", "vz", "wx", "wy", "wz"};
  names.insert(names.end(), joints.begin(), joints.end());
  return names;
}

RobotNames names_of(const tavo::RigidBodySystem& system) {
  RobotNames names;
  for (unsigned long i = 0; i < system.getNbDofs(); ++i) {
    names.joints.push_back(system.getJointAngleName(i));
  }
  for (unsigned long i = 0; i < system.getNbBodies(); ++i) {
    names.bodies.push_back(system.getBodyName(i));
  }
  return names;
}

}  // namespace tavo::motion
