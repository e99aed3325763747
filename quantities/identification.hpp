#pragma once

/// @file
/// Inertial parameters from motions and measured torques: what can be identified, and least squares
/// with uncertainties. All of it is compiled by the host, not in the library: matrices whose size
/// Eigen learns at run time must be made and freed by code compiled for the same instruction set.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <quantities/forces.hpp>
#include <quantities/regressor.hpp>
#include <quantities/state.hpp>
#include <quantities/types.hpp>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <Eigen/Core>
#include <Eigen/QR>

namespace tavo::quantities {

/// What to look for: each column of a 230 x k matrix is a change of the parameters by one unit of
/// an unknown.
using Unknowns = Eigen::Matrix<double, nb_parameters, Eigen::Dynamic>;

/// All 230 parameters, one unknown each. Allocates.
Unknowns all_parameters();

/// The mass of some bodies, kg, each growing like a point mass at its own centre of mass. Throws
/// std::invalid_argument for a body that is not there. Allocates.
Unknowns masses_of(const Model& model, const std::vector<unsigned long>& bodies);

/// Which torques were measured.
enum class Measured {
  joints,           ///< the 22 joint torques
  joints_and_root,  ///< also the root's six: zero, if all wrenches were measured
};

/// Least squares for the unknowns, collected sample by sample: the difference between measured
/// forces and those of the model is Y U x. Memory does not grow with the number of samples.
/// Gautier, Khalil 1990; Khalil, Dombre 2002, section 12.3.
class Identification {
 public:
  /// What came out. Sizes: k unknowns, r of them in combinations that the samples tell.
  struct Result {
    std::size_t samples;  ///< how many were added
    /// r: how many combinations of the unknowns the samples tell apart.
    Eigen::Index rank;
    /// k unknowns: of those that only count together, all weight is put on as few as possible; the
    /// others are zero.
    Eigen::VectorXd unknowns;
    /// k standard deviations of these, from the residual; infinite for unknowns that the samples
    /// tell only together with others, whose value alone means nothing.
    Eigen::VectorXd deviations;
    /// r x k: the combinations that are identifiable. Row i is 1 at one unknown, its leader, and
    /// has the weights with which the dependent ones join it.
    Eigen::MatrixXd combinations;
    Eigen::VectorXd values;            ///< r values of the combinations
    Eigen::VectorXd value_deviations;  ///< and their standard deviations
    /// Standard deviation of a measured force, N m (N), as the residual shows it.
    double residual;
  };

  /// Looks for k >= 1 unknowns. Throws std::invalid_argument if there are none or a column is zero
  /// or not finite. Allocates.
  explicit Identification(Unknowns unknowns, Measured measured = Measured::joints);

  /// A sample: joint torques measured in this state (N m) with these wrenches on the bodies. Needs
  /// State::update. Throws std::invalid_argument, changing nothing, if a value is not finite. May
  /// allocate.
  void add(const State& state, const JointVector& measured_torques,
           const BodyWrenches& wrenches = BodyWrenches::Zero());

  /// The best fit of all samples. `tolerance`: two columns count as dependent when what tells them
  /// apart is that much smaller than themselves; above the noise of single-precision poses. Throws
  /// std::domain_error if there are not more forces than unknowns. Allocates.
  Result solve(double tolerance = 1e-5) const;

 private:
  void compress();

  Unknowns unknowns_;
  Parameters model_parameters_ = Parameters::Zero();
  int first_row_;
  std::size_t samples_ = 0;
  Eigen::MatrixXd
      rows_;  ///< triangular factor of all rows so far, then the rows since; last column: forces
  Eigen::Index filled_;
  Eigen::VectorXd squares_;  ///< of what each unknown does to all 28 forces, over all samples
  Eigen::MatrixXd change_;   ///< of one sample
  Regressor Y_ = Regressor::Zero();
};

inline Unknowns all_parameters() {
  return Unknowns::Identity(nb_parameters, nb_parameters);
}

inline Unknowns masses_of(const Model& model, const std::vector<unsigned long>& bodies) {
  Unknowns unknowns = Unknowns::Zero(nb_parameters, static_cast<Eigen::Index>(bodies.size()));
  for (std::size_t k = 0; k < bodies.size(); ++k) {
    const int i = Model::checked(bodies[k]);
    const Vector3& c = model.com(i);
    unknowns.col(static_cast<Eigen::Index>(k)).segment<10>(10 * i) << 1, c,  //
        c.y() * c.y() + c.z() * c.z(), -c.x() * c.y(), c.x() * c.x() + c.z() * c.z(),
        -c.x() * c.z(), -c.y() * c.z(), c.x() * c.x() + c.y() * c.y();
  }
  return unknowns;
}

inline Identification::Identification(Unknowns unknowns, Measured measured)
    : unknowns_(std::move(unknowns)), first_row_(measured == Measured::joints ? 6 : 0), filled_(0) {
  const Eigen::Index k = unknowns_.cols();
  if (k == 0) throw std::invalid_argument("no unknowns to identify");
  for (Eigen::Index c = 0; c < k; ++c) {
    if (!unknowns_.col(c).allFinite() || unknowns_.col(c).isZero(0)) {
      throw std::invalid_argument("unknown " + std::to_string(c) + " is zero or not finite");
    }
  }
  rows_ = Eigen::MatrixXd::Zero(2 * (k + 1) + 10 * nb_dofs, k + 1);
  squares_ = Eigen::VectorXd::Zero(k);
  change_ = Eigen::MatrixXd::Zero(nb_dofs, k);
}

inline void Identification::add(const State& state, const JointVector& measured_torques,
                                const BodyWrenches& wrenches) {
  if (!measured_torques.allFinite() || !wrenches.allFinite()) {
    throw std::invalid_argument("a measured torque or wrench is not finite");
  }
  const Eigen::Index rows = nb_dofs - first_row_, k = unknowns_.cols();
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
inline void Identification::compress() {
  const Eigen::Index size = rows_.cols();
  const Eigen::HouseholderQR<Eigen::MatrixXd> qr(rows_.topRows(filled_));
  const Eigen::Index kept = std::min(size, filled_);
  rows_.topRows(kept) = qr.matrixQR().topRows(kept).triangularView<Eigen::Upper>();
  filled_ = kept;
}

inline Identification::Result Identification::solve(double tolerance) const {
  const Eigen::Index k = unknowns_.cols();
  const Eigen::Index forces = static_cast<Eigen::Index>(samples_) * (nb_dofs - first_row_);
  if (forces <= k) {
    throw std::domain_error(std::to_string(forces) + " measured forces do not determine " +
                            std::to_string(k) + " unknowns and their noise");
  }
  const Eigen::MatrixXd A = rows_.topLeftCorner(filled_, k);
  const Eigen::VectorXd b = rows_.col(k).head(filled_);
  // Columns are scaled by what an unknown does to all 28 forces, so that dependence does not hang
  // on units, and an unknown that the measured ones do not feel is a column of rounding errors:
  // small.
  const Eigen::VectorXd scale = squares_.cwiseSqrt().cwiseInverse();
  const Eigen::ColPivHouseholderQR<Eigen::MatrixXd> qr(A * scale.asDiagonal());
  const Eigen::VectorXd pivots = qr.matrixQR().diagonal().cwiseAbs();
  Eigen::Index rank = 0;
  while (rank < pivots.size() && pivots[rank] > tolerance) ++rank;

  Result result;
  result.samples = samples_;
  result.rank = rank;
  const auto R = qr.matrixQR().topLeftCorner(rank, rank).triangularView<Eigen::Upper>();
  const Eigen::VectorXd rotated = qr.householderQ().adjoint() * b;
  const auto solved = [&R](const Eigen::MatrixXd& rhs) -> Eigen::MatrixXd {
    return rhs.size() > 0 ? R.solve(rhs) : rhs;  // Eigen's solver touches what an empty one has not
  };
  Eigen::VectorXd leaders = solved(rotated.head(rank));
  result.residual =
      std::sqrt(rotated.tail(filled_ - rank).squaredNorm() / static_cast<double>(forces - rank));
  const Eigen::MatrixXd R_inverse = solved(Eigen::MatrixXd::Identity(rank, rank));
  Eigen::VectorXd deviations = result.residual * R_inverse.rowwise().norm();
  // How the columns that are left out follow from the leaders.
  Eigen::MatrixXd followers = solved(qr.matrixQR().topRightCorner(rank, k - rank));

  const auto order = qr.colsPermutation().indices();
  result.unknowns = Eigen::VectorXd::Zero(k);
  result.deviations = Eigen::VectorXd::Constant(k, std::numeric_limits<double>::infinity());
  result.combinations = Eigen::MatrixXd::Zero(rank, k);
  for (Eigen::Index i = 0; i < rank; ++i) {
    const double s = scale[order[i]];
    result.unknowns[order[i]] = s * leaders[i];
    result.combinations(i, order[i]) = 1;
    double followed = 0;
    for (Eigen::Index c = 0; c < k - rank; ++c) {
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
