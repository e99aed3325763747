#include "quantities/composite.hpp"

#include <Eigen/Geometry>

namespace tavo::quantities::internal {

Vector6 CompositeInertia::operator*(const Vector6& motion) const {
  const Vector3 w = motion.head<3>(), v = motion.tail<3>();
  Vector6 momentum;
  momentum << I * w + h.cross(v), m * v - h.cross(w);
  return momentum;
}

Matrix3 inertia_at_com(const State& state, int i) {
  const Matrix3& R = state.body(i).pose.R;
  return R * state.model().inertia_at_com(i) * R.transpose();
}

std::array<CompositeInertia, nb_bodies> composite_inertias(const State& state) {
  const Model& model = state.model();
  std::array<CompositeInertia, nb_bodies> all;
  for (int i = 0; i < nb_bodies; ++i) {
    const Vector3& c = state.body(i).com;
    const Vector3 h = model.mass(i) * c;
    all[i] = {model.mass(i), h, h.dot(c) * Matrix3::Identity() - h * c.transpose()};
    if (!model.is_point_mass(i)) all[i].I += inertia_at_com(state, i);
  }
  for (int i = nb_bodies - 1; i > 0; --i) {
    CompositeInertia& parent = all[model.parent(i)];
    parent.m += all[i].m;
    parent.h += all[i].h;
    parent.I += all[i].I;
  }
  return all;
}

RootForce& RootForce::operator+=(const RootForce& other) {
  n += other.n;
  f += other.f;
  return *this;
}

Coordinates project(const State& state, std::array<RootForce, nb_bodies>& forces) {
  Coordinates result;
  for (int i = nb_bodies - 1; i > 0; --i) {
    result[coordinate_of(i)] = forces[i].along(state.motions().col(coordinate_of(i)));
    forces[state.model().parent(i)] += forces[i];
  }
  result.head<3>() = forces[0].f;
  result.segment<3>(3) = forces[0].n;
  return result;
}

RootForce in_root(const State& state, int i, const Vector6& wrench_body) {
  const Pose& pose = state.body(i).pose;
  const Vector3 f = pose.R * wrench_body.head<3>();
  return {pose.R * wrench_body.tail<3>() + pose.p.cross(f), f};
}

}  // namespace tavo::quantities::internal
