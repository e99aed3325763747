#pragma once

/// @file
/// The forces of a motion, linear in the bodies' inertial parameters.

#include <quantities/state.hpp>
#include <quantities/types.hpp>

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

}  // namespace tavo::quantities
