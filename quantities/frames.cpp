#include "quantities/frames.hpp"

#include <Eigen/Geometry>

namespace tavo::quantities {
namespace {

/// Change of frame for motions, from the root to the frame asked for: r is where the linear part is
/// taken, in root coordinates.
struct FromRoot {
  Matrix3 E;
  Vector3 r;

  Vector6 operator()(const Vector3& w, const Vector3& v) const {
    Vector6 m;
    m << E * w, E * (v + w.cross(r));
    return m;
  }
};

FromRoot change_of_frame(const State& state, const BodyPoint& point, Frame frame) {
  const Pose& body = state.body(Model::checked(point.body)).pose;
  switch (frame) {
    case Frame::body:
      return {body.R.transpose(), body * point.position};
    case Frame::world:
      return {state.root().R, -(state.root().R.transpose() * state.root().p)};
    case Frame::world_at_point:
      break;
  }
  return {state.root().R, body * point.position};
}

/// Spatial to classical: the linear part gains w x v.
Vector6 classical(const Vector6& spatial, const Vector6& twist) {
  Vector6 result = spatial;
  result.tail<3>() += twist.head<3>().cross(twist.tail<3>());
  return result;
}

}  // namespace

Vector3 position(const State& state, const BodyPoint& point) {
  return state.root() * (state.body(Model::checked(point.body)).pose * point.position);
}

Jacobian jacobian(const State& state, const BodyPoint& point, Frame frame) {
  const FromRoot change = change_of_frame(state, point, frame);
  const auto column = [&](int k) {
    const auto& S = state.motions();
    return change(S.col(k).head<3>(), S.col(k).tail<3>());
  };
  Jacobian J = Jacobian::Zero();
  for (int k = 0; k < 6; ++k) J.col(k) = column(k);
  for (int i = static_cast<int>(point.body); i > 0; i = state.model().parent(i)) {
    J.col(coordinate_of(i)) = column(coordinate_of(i));
  }
  return J;
}

Vector6 twist(const State& state, const BodyPoint& point, Frame frame) {
  const FromRoot change = change_of_frame(state, point, frame);
  const BodyState& body = state.body(static_cast<int>(point.body));
  return change(body.w, body.v);
}

Vector6 spatial_acceleration(const State& state, const BodyPoint& point, Frame frame) {
  const FromRoot change = change_of_frame(state, point, frame);
  const BodyState& body = state.body(static_cast<int>(point.body));
  return change(body.dw, body.a);
}

Vector6 classical_acceleration(const State& state, const BodyPoint& point, Frame frame) {
  return classical(spatial_acceleration(state, point, frame), twist(state, point, frame));
}

Vector6 spatial_drift(const State& state, const BodyPoint& point, Frame frame) {
  const FromRoot change = change_of_frame(state, point, frame);
  const BodyState& body = state.body(static_cast<int>(point.body));
  return change(body.dw_drift, body.a_drift);
}

Vector6 classical_drift(const State& state, const BodyPoint& point, Frame frame) {
  return classical(spatial_drift(state, point, frame), twist(state, point, frame));
}

}  // namespace tavo::quantities
