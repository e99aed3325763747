#include "quantities/forces.hpp"

#include <Eigen/Geometry>

#include "quantities/composite.hpp"

namespace tavo::quantities {
namespace {

using internal::RootForce;
using Forces = std::array<RootForce, nb_bodies>;

RootForce at(const Vector3& point, const Vector3& force) {
  return {point.cross(force), force};
}

Vector3 upwards_in_root(const State& state) {
  return state.root().R.transpose() * Vector3(0, 0, gravity);
}

/// Force on body i that its acceleration and gravity ask for.
RootForce body_force(const State& state, int i, const Vector3& up) {
  const BodyState& body = state.body(i);
  RootForce force = at(body.com, state.model().mass(i) * (body.com_a + up));
  if (!state.model().is_point_mass(i)) {
    const Matrix3 I = internal::inertia_at_com(state, i);
    force.n += I * body.dw + body.w.cross(I * body.w);
  }
  return force;
}

RootForce sum_of_body_forces(const State& state) {
  const Vector3 up = upwards_in_root(state);
  RootForce sum;
  for (int i = 0; i < nb_bodies; ++i) sum += body_force(state, i, up);
  return sum;
}

}  // namespace

ForceParts force_parts(const State& state) {
  const Vector3 up = upwards_in_root(state);
  Forces weight, drift, inertia;
  for (int i = 0; i < nb_bodies; ++i) {
    const BodyState& body = state.body(i);
    const double m = state.model().mass(i);
    weight[i] = at(body.com, m * up);
    drift[i] = at(body.com, m * body.com_drift);
    inertia[i] = at(body.com, m * (body.com_a - body.com_drift));
    if (!state.model().is_point_mass(i)) {
      const Matrix3 I = internal::inertia_at_com(state, i);
      drift[i].n += I * body.dw_drift + body.w.cross(I * body.w);
      inertia[i].n += I * (body.dw - body.dw_drift);
    }
  }
  using internal::project;
  return {project(state, weight), project(state, drift), project(state, inertia)};
}

Coordinates wrench_part(const State& state, unsigned long i, const Wrench& wrench_body) {
  const int body = Model::checked(i);
  Vector6 wrench;
  wrench << wrench_body.force, wrench_body.moment;
  const RootForce force = internal::in_root(state, body, wrench);
  Coordinates result = Coordinates::Zero();
  result.head<3>() = -force.f;
  result.segment<3>(3) = -force.n;
  for (int k = body; k > 0; k = state.model().parent(k)) {
    result[coordinate_of(k)] = -force.along(state.motions().col(coordinate_of(k)));
  }
  return result;
}

Coordinates wrench_part(const State& state, const BodyWrenches& wrenches) {
  Forces forces;
  for (int i = 0; i < nb_bodies; ++i) forces[i] = internal::in_root(state, i, wrenches.col(i));
  return -internal::project(state, forces);
}

Coordinates inverse_dynamics(const State& state) {
  const Vector3 up = upwards_in_root(state);
  Forces forces;
  for (int i = 0; i < nb_bodies; ++i) forces[i] = body_force(state, i, up);
  return internal::project(state, forces);
}

Coordinates inverse_dynamics(const State& state, const BodyWrenches& wrenches) {
  return inverse_dynamics(state) + wrench_part(state, wrenches);
}

Wrench root_wrench(const State& state) {
  const RootForce sum = sum_of_body_forces(state);
  return {sum.f, sum.n};
}

Wrench root_wrench(const State& state, const BodyWrenches& wrenches) {
  RootForce sum = sum_of_body_forces(state);
  for (int i = 0; i < nb_bodies; ++i) {
    const RootForce wrench = internal::in_root(state, i, wrenches.col(i));
    sum.n -= wrench.n;
    sum.f -= wrench.f;
  }
  return {sum.f, sum.n};
}

}  // namespace tavo::quantities
