#include "quantities/regressor.hpp"

#include <Eigen/Geometry>

namespace tavo::quantities {
namespace {

/// L(a) with L(a) (xx, yx, yy, zx, zy, zz) = I a for a symmetric I.
Eigen::Matrix<double, 3, 6> times_inertia(const Vector3& a) {
  Eigen::Matrix<double, 3, 6> L;
  L << a.x(), a.y(), 0, a.z(), 0, 0,  //
      0, a.x(), a.y(), 0, a.z(), 0,   //
      0, 0, 0, a.x(), a.y(), a.z();
  return L;
}

Matrix3 cross_matrix(const Vector3& a) {
  Matrix3 m;
  m << 0, -a.z(), a.y(), a.z(), 0, -a.x(), -a.y(), a.x(), 0;
  return m;
}

/// 6 x 10: moment about the body's origin, then force, per parameter, in the body's frame. With w,
/// dw and the classical acceleration a of the origin (gravity taken off):
///   f = m a + dw x h + w x (w x h)        n = I dw + w x I w + h x a
Eigen::Matrix<double, 6, 10> body_regressor(const Vector3& w, const Vector3& dw, const Vector3& a) {
  const Matrix3 W = cross_matrix(w);
  Eigen::Matrix<double, 6, 10> K = Eigen::Matrix<double, 6, 10>::Zero();
  K.block<3, 3>(0, 1) = -cross_matrix(a);
  K.block<3, 6>(0, 4) = times_inertia(dw) + W * times_inertia(w);
  K.block<3, 1>(3, 0) = a;
  K.block<3, 3>(3, 1) = cross_matrix(dw) + W * W;
  return K;
}

}  // namespace

Parameters parameters(const Model& model) {
  Parameters all;
  for (int i = 0; i < nb_bodies; ++i) all.segment<10>(10 * i) = model.parameters(i);
  return all;
}

void regressor(const State& state, Regressor& Y) {
  Y.setZero();
  const Vector3 up = state.root().R.transpose() * Vector3(0, 0, gravity);
  const Jacobian& S = state.motions();
  for (int i = 0; i < nb_bodies; ++i) {
    const BodyState& body = state.body(i);
    const Matrix3 E = body.pose.R.transpose();
    const Vector3& p = body.pose.p;
    const Vector3 a = body.a + up + body.dw.cross(p) + body.w.cross(body.v + body.w.cross(p));
    const Eigen::Matrix<double, 6, 10> K = body_regressor(E * body.w, E * body.dw, E * a);
    const Eigen::Matrix<double, 3, 10> f = body.pose.R * K.bottomRows<3>();
    const Eigen::Matrix<double, 3, 10> n = body.pose.R * K.topRows<3>() + cross_matrix(p) * f;
    Y.block<3, 10>(0, 10 * i) = f;
    Y.block<3, 10>(3, 10 * i) = n;
    for (int j = i; j > 0; j = state.model().parent(j)) {
      const int k = coordinate_of(j);
      Y.block<1, 10>(k, 10 * i) =
          S.col(k).head<3>().transpose() * n + S.col(k).tail<3>().transpose() * f;
    }
  }
}

}  // namespace tavo::quantities
