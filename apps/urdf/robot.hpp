#pragma once

#include <host/rigid_body_system.hpp>
#include <optional>
#include <string>
#include <vector>

#include <Eigen/Core>

namespace urdf_export {

/// What ties a body to its parent: the body's pose in the parent at joint angle zero, and the axis
/// in the body's own frame.
struct Joint {
  std::string name, parent;
  Eigen::Matrix3d R_parent;  // columns: the body's axes in the parent, orthonormal
  Eigen::Vector3d p_parent;  // m
  Eigen::Vector3d axis_body;
};

struct Body {
  std::string name;
  std::optional<Joint> joint;  // none for the root
  float mass;                  // kg
  Eigen::Vector3f com_body;    // m; not finite if mass is 0
};

/// The bodies, parents first, as the getters show them. Leaves the system with all joint angles at
/// zero and its bodies' world poses overwritten.
std::vector<Body> read_robot(tavo::RigidBodySystem& system);

}  // namespace urdf_export
