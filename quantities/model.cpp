#include "quantities/model.hpp"

#include <cmath>
#include <stdexcept>
#include <string>

namespace tavo::quantities {
namespace {

void require(bool holds, const std::string& message) {
  if (!holds) throw std::invalid_argument(message);
}

void require_mass(double mass, int i) {
  require(std::isfinite(mass) && mass > 0, "mass of body " + std::to_string(i) + " is " +
                                               std::to_string(mass) + " kg, not positive");
}

/// The body's own centre of mass, exactly as the system holds it: seen from a pose that is the
/// identity.
Vector3 com_in_body(RigidBodySystem& system, unsigned long i) {
  const KT::Math::Transform pose = system.getPose(i);
  system.setPose(i, KT::Math::Transform());
  const KT::Math::Position3D com = system.getComPosition(i);
  system.setPose(i, pose);
  return Eigen::Vector3f(com.x, com.y, com.z).cast<double>();
}

}  // namespace

Model::Model(RigidBodySystem& system) {
  require(system.getNbBodies() == nb_bodies && system.getNbDofs() == nb_joints,
          "system has " + std::to_string(system.getNbBodies()) + " bodies and " +
              std::to_string(system.getNbDofs()) + " joint angles, 23 and 22 needed");
  const auto parents = system.getParentsVector();
  const auto coordinates = system.getDofIndexesVector();
  for (int i = 0; i < nb_bodies; ++i) {
    parents_[i] = static_cast<int>(parents[i]);
    require(i == 0 ? parents_[i] < 0 : parents_[i] >= 0 && parents_[i] < i,
            "parent of body " + std::to_string(i) + " is " + std::to_string(parents_[i]));
    require(
        coordinates[i] == (i == 0 ? 0 : coordinate_of(i)),
        "first coordinate of body " + std::to_string(i) + " is " + std::to_string(coordinates[i]));
    const double mass = static_cast<double>(system.getMass(static_cast<unsigned long>(i)));
    require_mass(mass, i);
    bodies_[i] = {mass, com_in_body(system, i), Matrix3::Zero(), true};
  }
  total_mass_ = sum_of_masses();
}

void Model::set_body_inertia(unsigned long i, double mass, const Vector3& com,
                             const Matrix3& inertia_at_com) {
  Body& body = bodies_[checked(i)];
  require_mass(mass, static_cast<int>(i));
  require(com.allFinite() && inertia_at_com.allFinite() &&
              inertia_at_com.isApprox(inertia_at_com.transpose(), 1e-6),
          "inertia of body " + std::to_string(i) + " is not finite and symmetric");
  body = {mass, com, inertia_at_com, inertia_at_com.isZero(0)};
  total_mass_ = sum_of_masses();
}

InertialParameters Model::parameters(int i) const {
  const Body& body = bodies_[i];
  const Vector3 h = body.mass * body.com;
  const Matrix3 I = body.inertia_at_com + h.dot(body.com) * Matrix3::Identity() -
                    h * body.com.transpose();  // parallel axes
  InertialParameters p;
  p << body.mass, h, I(0, 0), I(1, 0), I(1, 1), I(2, 0), I(2, 1), I(2, 2);
  return p;
}

int Model::checked(unsigned long i) {
  if (i >= nb_bodies) {  // the message is made only where it is needed: loops call this
    throw std::invalid_argument("no body " + std::to_string(i) + ": there are 23");
  }
  return static_cast<int>(i);
}

double Model::sum_of_masses() const {
  double sum = 0;
  for (const Body& body : bodies_) sum += body.mass;
  return sum;
}

}  // namespace tavo::quantities
