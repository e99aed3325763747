#include "quantities/momentum.hpp"

#include <Eigen/Geometry>

#include "quantities/composite.hpp"

namespace tavo::quantities {
namespace {

/// Mean over the mass, in root axes.
Vector3 mean(const State& state, const Vector3 BodyState::*value) {
  Vector3 sum = Vector3::Zero();
  for (int i = 0; i < nb_bodies; ++i) sum += state.model().mass(i) * (state.body(i).*value);
  return sum / state.model().mass();
}

/// Derivative of the momentum about the centre of mass, from the bodies' accelerations.
Vector6 momentum_rate(const State& state, const Vector3 BodyState::*dw,
                      const Vector3 BodyState::*com_a) {
  const Model& model = state.model();
  const Vector3 com = mean(state, &BodyState::com);
  Vector3 n = Vector3::Zero(), f = Vector3::Zero();
  for (int i = 0; i < nb_bodies; ++i) {
    const BodyState& body = state.body(i);
    const Vector3 force = model.mass(i) * (body.*com_a);
    f += force;
    n += (body.com - com).cross(force);
    if (!model.is_point_mass(i)) {
      const Matrix3 I = internal::inertia_at_com(state, i);
      n += I * (body.*dw) + body.w.cross(I * body.w);
    }
  }
  Vector6 rate;
  rate << state.root().R * n, state.root().R * f;
  return rate;
}

}  // namespace

Vector3 com_position(const State& state) {
  return state.root() * mean(state, &BodyState::com);
}

Vector3 com_velocity(const State& state) {
  return state.root().R * mean(state, &BodyState::com_v);
}

Vector3 com_acceleration(const State& state) {
  return state.root().R * mean(state, &BodyState::com_a);
}

Vector3 com_drift(const State& state) {
  return state.root().R * mean(state, &BodyState::com_drift);
}

LinearJacobian com_jacobian(const State& state) {
  return centroidal_momentum_matrix(state).bottomRows<3>() / state.model().mass();
}

Vector6 centroidal_momentum(const State& state) {
  const Model& model = state.model();
  const Vector3 com = mean(state, &BodyState::com);
  Vector3 angular = Vector3::Zero(), linear = Vector3::Zero();
  for (int i = 0; i < nb_bodies; ++i) {
    const BodyState& body = state.body(i);
    const Vector3 mv = model.mass(i) * body.com_v;
    linear += mv;
    angular += (body.com - com).cross(mv);
    if (!model.is_point_mass(i)) angular += internal::inertia_at_com(state, i) * body.w;
  }
  Vector6 momentum;
  momentum << state.root().R * angular, state.root().R * linear;
  return momentum;
}

// Column k is the momentum of what coordinate k moves, at a unit rate: the composite inertia times
// the motion, carried from the root's origin to the centre of mass.
Jacobian centroidal_momentum_matrix(const State& state) {
  const auto inertias = internal::composite_inertias(state);
  const Vector3 com = inertias[0].h / inertias[0].m;
  const Matrix3& R = state.root().R;
  Jacobian A;
  for (int k = 0; k < nb_dofs; ++k) {
    const Vector6 momentum = inertias[k < 6 ? 0 : k - 5] * state.motions().col(k);
    const Vector3 linear = momentum.tail<3>();
    A.col(k) << R * (momentum.head<3>() - com.cross(linear)), R * linear;
  }
  return A;
}

Vector6 centroidal_momentum_rate(const State& state) {
  return momentum_rate(state, &BodyState::dw, &BodyState::com_a);
}

Vector6 centroidal_momentum_drift(const State& state) {
  return momentum_rate(state, &BodyState::dw_drift, &BodyState::com_drift);
}

Energy energy(const State& state) {
  const Model& model = state.model();
  double twice = 0;
  for (int i = 0; i < nb_bodies; ++i) {
    const BodyState& body = state.body(i);
    twice += model.mass(i) * body.com_v.squaredNorm();
    if (!model.is_point_mass(i)) twice += body.w.dot(internal::inertia_at_com(state, i) * body.w);
  }
  return {twice / 2, model.mass() * gravity * com_position(state).z()};
}

double energy_rate(const State& state) {
  const Model& model = state.model();
  double rate = model.mass() * gravity * com_velocity(state).z();
  for (int i = 0; i < nb_bodies; ++i) {
    const BodyState& body = state.body(i);
    rate += model.mass(i) * body.com_v.dot(body.com_a);
    if (!model.is_point_mass(i)) rate += body.w.dot(internal::inertia_at_com(state, i) * body.dw);
  }
  return rate;
}

double joint_power(const State& state, const JointVector& torques) {
  return torques.dot(state.dq().tail<nb_joints>());
}

double wrench_power(const State& state, const BodyWrenches& wrenches) {
  double power = 0;
  for (int i = 0; i < nb_bodies; ++i) {
    const internal::RootForce wrench = internal::in_root(state, i, wrenches.col(i));
    power += wrench.n.dot(state.body(i).w) + wrench.f.dot(state.body(i).v);
  }
  return power;
}

}  // namespace tavo::quantities
