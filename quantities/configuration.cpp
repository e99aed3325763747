#include "quantities/configuration.hpp"

#include <cmath>

#include <Eigen/Geometry>

namespace tavo::quantities {

Matrix3 rotation(const Vector3& turn) {
  const double angle = turn.norm();
  if (angle == 0) return Matrix3::Identity();
  return Eigen::AngleAxisd(angle, turn / angle).toRotationMatrix();
}

Vector3 rotation_vector(const Matrix3& R) {
  const Eigen::AngleAxisd turn(R);  // its angle is in [0, pi]
  return turn.angle() * turn.axis();
}

Configuration configuration_of(const RigidBodySystem& system) {
  Configuration configuration;
  configuration.root = from_host(system.getRootPose());
  configuration.joints =
      Eigen::Map<const Eigen::Matrix<float, nb_joints, 1>>(system.getJointAnglesPos().first)
          .cast<double>();
  return configuration;
}

// The exponential of the twist (w, v): rotation exp(w), translation V v with
// V = 1 + (1 - cos t) / t^2 w x + (t - sin t) / t^3 w x w x, t = |w|.
Configuration moved(const Configuration& from, const Coordinates& displacement) {
  const Vector3 v = displacement.head<3>(), w = displacement.segment<3>(3);
  const double t = w.norm();
  // Below this the next terms of the series are smaller than rounding.
  const double a = t < 1e-4 ? 0.5 - t * t / 24 : (1 - std::cos(t)) / (t * t);
  const double b = t < 1e-4 ? 1.0 / 6 - t * t / 120 : (t - std::sin(t)) / (t * t * t);
  const Vector3 shift = v + a * w.cross(v) + b * w.cross(w.cross(v));
  Configuration to;
  // Through a unit quaternion, so that thousands of steps leave it a rotation.
  const Matrix3 R = from.root.R * rotation(w);
  to.root.R = Eigen::Quaterniond(R).normalized().toRotationMatrix();
  to.root.p = from.root * shift;
  to.joints = from.joints + displacement.tail<nb_joints>();
  return to;
}

}  // namespace tavo::quantities
