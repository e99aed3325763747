#include "quantities/identification.hpp"

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

#include <Eigen/Geometry>
#include <Eigen/QR>

#include "quantities/forces.hpp"

namespace tavo::quantities {
namespace {

using Eigen::Index, Eigen::MatrixXd, Eigen::VectorXd;

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

Unknowns all_parameters() {
  return Unknowns::Identity(nb_parameters, nb_parameters);
}

Unknowns masses_of(const Model& model, const std::vector<unsigned long>& bodies) {
  Unknowns unknowns = Unknowns::Zero(nb_parameters, static_cast<Index>(bodies.size()));
  for (std::size_t k = 0; k < bodies.size(); ++k) {
    const int i = Model::checked(bodies[k]);
    const Vector3& c = model.com(i);
    unknowns.col(static_cast<Index>(k)).segment<10>(10 * i) << 1, c,  //
        c.y() * c.y() + c.z() * c.z(), -c.x() * c.y(), c.x() * c.x() + c.z() * c.z(),
        -c.x() * c.z(), -c.y() * c.z(), c.x() * c.x() + c.y() * c.y();
  }
  return unknowns;
}

Identification::Identification(Unknowns unknowns, Measured measured)
    : unknowns_(std::move(unknowns)), first_row_(measured == Measured::joints ? 6 : 0), filled_(0) {
  const Index k = unknowns_.cols();
  if (k == 0) throw std::invalid_argument("no unknowns to identify");
  for (Index c = 0; c < k; ++c) {
    if (!unknowns_.col(c).allFinite() || unknowns_.col(c).isZero(0)) {
      throw std::invalid_argument("unknown " + std::to_string(c) + " is zero or not finite");
    }
  }
  rows_ = MatrixXd::Zero(2 * (k + 1) + 10 * nb_dofs, k + 1);
  squares_ = VectorXd::Zero(k);
  change_ = MatrixXd::Zero(nb_dofs, k);
}

void Identification::add(const State& state, const JointVector& measured_torques,
                         const BodyWrenches& wrenches) {
  if (!measured_torques.allFinite() || !wrenches.allFinite()) {
    throw std::invalid_argument("a measured torque or wrench is not finite");
  }
  const Index rows = nb_dofs - first_row_, k = unknowns_.cols();
  if (filled_ + rows > rows_.rows()) compress();
  regressor(state, Y_);
  Coordinates difference = -inverse_dynamics(state, wrenches);
  difference.tail<nb_joints>() += measured_torques;
  change_.noalias() = Y_ * unknowns_;
  squares_ += change_.colwise().squaredNorm().transpose();
  rows_.block(filled_, 0, rows, k) = change_.bottomRows(rows);
  rows_.block(filled_, k, rows, 1) = difference.tail(rows);
  filled_ += rows;
  ++samples_;
}

// An orthogonal transformation changes no sum of squares, so the triangular factor stands for all
// rows that went into it.
void Identification::compress() {
  const Index size = rows_.cols();
  const Eigen::HouseholderQR<MatrixXd> qr(rows_.topRows(filled_));
  const Index kept = std::min(size, filled_);
  rows_.topRows(kept) = qr.matrixQR().topRows(kept).triangularView<Eigen::Upper>();
  filled_ = kept;
}

Identification::Result Identification::solve(double tolerance) const {
  const Index k = unknowns_.cols();
  const Index forces = static_cast<Index>(samples_) * (nb_dofs - first_row_);
  if (forces <= k) {
    throw std::domain_error(std::to_string(forces) + " measured forces do not determine " +
                            std::to_string(k) + " unknowns and their noise");
  }
  const MatrixXd A = rows_.topLeftCorner(filled_, k);
  const VectorXd b = rows_.col(k).head(filled_);
  // Columns are scaled by what an unknown does to all 28 forces, so that dependence does not hang
  // on units, and an unknown that the measured ones do not feel is a column of rounding errors:
  // small.
  const VectorXd scale = squares_.cwiseSqrt().cwiseInverse();
  const Eigen::ColPivHouseholderQR<MatrixXd> qr(A * scale.asDiagonal());
  const VectorXd pivots = qr.matrixQR().diagonal().cwiseAbs();
  Index rank = 0;
  while (rank < pivots.size() && pivots[rank] > tolerance) ++rank;

  Result result;
  result.samples = samples_;
  result.rank = rank;
  const auto R = qr.matrixQR().topLeftCorner(rank, rank).triangularView<Eigen::Upper>();
  const VectorXd rotated = qr.householderQ().adjoint() * b;
  VectorXd leaders = R.solve(rotated.head(rank));
  result.residual =
      std::sqrt(rotated.tail(filled_ - rank).squaredNorm() / static_cast<double>(forces - rank));
  const MatrixXd R_inverse = R.solve(MatrixXd::Identity(rank, rank));
  VectorXd deviations = result.residual * R_inverse.rowwise().norm();
  // How the columns that are left out follow from the leaders.
  MatrixXd followers = R.solve(qr.matrixQR().topRightCorner(rank, k - rank));

  const auto order = qr.colsPermutation().indices();
  result.unknowns = VectorXd::Zero(k);
  result.deviations = VectorXd::Constant(k, std::numeric_limits<double>::infinity());
  result.combinations = MatrixXd::Zero(rank, k);
  for (Index i = 0; i < rank; ++i) {
    const double s = scale[order[i]];
    result.unknowns[order[i]] = s * leaders[i];
    result.combinations(i, order[i]) = 1;
    double followed = 0;
    for (Index c = 0; c < k - rank; ++c) {
      const double s_follower = scale[order[rank + c]];
      // Below the tolerance a weight is rounding.
      if (std::abs(followers(i, c)) <= 10 * tolerance) continue;
      result.combinations(i, order[rank + c]) = s * followers(i, c) / s_follower;
      followed = std::max(followed, std::abs(followers(i, c)));
    }
    if (followed == 0) result.deviations[order[i]] = s * deviations[i];
    leaders[i] *= s;
    deviations[i] *= s;
  }
  result.values = leaders;
  result.value_deviations = deviations;
  return result;
}

}  // namespace tavo::quantities
