#pragma once

#include <host/rigid_body_system.hpp>
#include <vector>

#include <Eigen/Core>

#include "motion/rates.hpp"

namespace replay {
namespace motion = tavo::motion;

/// What the root would have to be held with for the motion to be as it is: the wrench that gravity
/// and the motion ask for, less the external ones. A motion whose external wrenches are those of
/// the ground leaves nothing.
///
/// Newton and Euler for the whole body, in double, from what the interface shows: the joints'
/// columns of the Jacobian, masses and centres of mass. It shows no rotational inertia about a
/// centre of mass, and the robot's bodies have none: they are point masses.
class RootResidual {
 public:
  /// Of a system whose kinematics are computed; the states' wrenches act on `wrench_bodies`.
  RootResidual(const tavo::RigidBodySystem& system, std::vector<unsigned long> wrench_bodies);

  struct Wrench {
    Eigen::Vector3d force, moment;  // N, N m, about the root's origin, in the root's axes
  };

  /// Of the state whose kinematics the system's getters show.
  Wrench of(const motion::State& state, const tavo::RigidBodySystem& system);

 private:
  struct Body {
    unsigned long parent = 0;                       // of the root: itself
    Eigen::Index joint = 0;                         // its coordinate
    double mass = 0;                                // kg
    Eigen::Vector3d com = Eigen::Vector3d::Zero();  // m, in its own frame
    // In the root's axes: spatial velocity and acceleration (gravity as an upward acceleration) of
    // the body's frame, at the root's origin (Featherstone 2008, section 5.3).
    Eigen::Vector3d w = com, v = com, dw = com, dv = com;
  };

  std::vector<unsigned long> wrench_bodies_;
  std::vector<Body> bodies_;
};

}  // namespace replay
