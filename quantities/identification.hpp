#pragma once

/// @file
/// Inertial parameters from motions and measured torques: the regressor, what can be identified,
/// and least squares with uncertainties.

#include <cstddef>
#include <quantities/state.hpp>
#include <quantities/types.hpp>
#include <vector>

#include <Eigen/Core>

namespace tavo::quantities {

/// Ten inertial parameters a body, body 0 first: see InertialParameters.
inline constexpr int nb_parameters = 10 * nb_bodies;
/// 28 x 230.
using Regressor = Eigen::Matrix<double, nb_dofs, nb_parameters>;
/// 230 parameters.
using Parameters = Eigen::Matrix<double, nb_parameters, 1>;

/// The parameters that a model has.
Parameters parameters(const Model& model);

/// Writes Y with Y pi = inverse_dynamics(state) for the parameters pi of any bodies on this tree:
/// the 28 generalized forces, linear in them. Needs State::update; masses and centres of mass of
/// the state's model play no part. Atkeson, An, Hollerbach 1986, section 2; Khalil, Dombre 2002,
/// section 9.6.
void regressor(const State& state, Regressor& Y);

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

}  // namespace tavo::quantities
