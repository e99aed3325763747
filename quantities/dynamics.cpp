#include "quantities/dynamics.hpp"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include <Eigen/Cholesky>

#include "quantities/composite.hpp"
#include "quantities/forces.hpp"
#include "quantities/frames.hpp"

namespace tavo::quantities {
namespace {

constexpr int most_constraints = 6 * static_cast<int>(most_held_bodies);
using Constraints =
    Eigen::Matrix<double, Eigen::Dynamic, nb_dofs, Eigen::RowMajor, most_constraints, nb_dofs>;
using ConstraintVector = Eigen::Matrix<double, Eigen::Dynamic, 1, 0, most_constraints, 1>;
using ConstraintMatrix =
    Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, 0, most_constraints, most_constraints>;

void check(const JointVector& rotors) {
  for (int j = 0; j < nb_joints; ++j) {
    if (!(rotors[j] >= 0) || !std::isfinite(rotors[j])) {
      throw std::invalid_argument("rotor inertia of joint angle " + std::to_string(j) + " is " +
                                  std::to_string(rotors[j]) + " kg m2");
    }
  }
}

void check(const std::vector<unsigned long>& held) {
  if (held.size() > most_held_bodies) {
    throw std::invalid_argument(std::to_string(held.size()) + " bodies are held, at most " +
                                std::to_string(most_held_bodies) + " can be");
  }
  for (auto body = held.begin(); body != held.end(); ++body) {
    Model::checked(*body);
    if (std::find(held.begin(), body, *body) != body) {
      throw std::invalid_argument("body " + std::to_string(*body) + " is held twice");
    }
  }
}

/// A Cholesky factor whose smallest pivot is that far below the largest is one of rounding errors.
template <class Factor>
bool is_regular(const Factor& factor) {
  if (factor.info() != Eigen::Success) return false;
  const double largest = factor.matrixLLT().diagonal().maxCoeff();
  return factor.matrixLLT().diagonal().minCoeff() > 1e-7 * largest;
}

}  // namespace

// H(k, l) = S_l . I_i S_k for every ancestor l of k = k(i): no change of frame on the way up, since
// all is written in the root's.
MassMatrix mass_matrix(const State& state) {
  const auto inertias = internal::composite_inertias(state);
  const Jacobian& S = state.motions();
  MassMatrix H = MassMatrix::Zero();
  const auto write = [&](int k, const Vector6& momentum, int i) {
    for (; i > 0; i = state.model().parent(i)) {
      const int l = coordinate_of(i);
      H(l, k) = H(k, l) = S.col(l).dot(momentum);
    }
    for (int l = 0; l < 6; ++l) H(l, k) = H(k, l) = S.col(l).dot(momentum);
  };
  for (int k = 0; k < 6; ++k) write(k, inertias[0] * S.col(k), 0);
  for (int i = 1; i < nb_bodies; ++i) {
    const int k = coordinate_of(i);
    write(k, inertias[i] * S.col(k), i);
  }
  return H;
}

ForwardDynamics forward_dynamics(const State& state, const JointVector& torques,
                                 const BodyWrenches& wrenches, const JointVector& rotors,
                                 const std::vector<unsigned long>& held) {
  check(rotors);
  check(held);
  MassMatrix H = mass_matrix(state);
  H.diagonal().tail<nb_joints>() += rotors;
  const Eigen::LLT<MassMatrix> factor(H);
  if (!is_regular(factor)) throw std::domain_error("mass matrix is singular: larger rotors needed");

  const ForceParts parts = force_parts(state);
  Coordinates force = -(parts.gravity + parts.velocity + wrench_part(state, wrenches));
  force.tail<nb_joints>() += torques;
  ForwardDynamics motion{factor.solve(force), BodyWrenches::Zero()};
  if (held.empty()) return motion;

  // J ddq + drift = 0 with ddq = free + H^-1 J^T w: the held bodies' wrenches w, moment first.
  const Eigen::Index rows = 6 * static_cast<Eigen::Index>(held.size());
  Constraints J(rows, nb_dofs);
  ConstraintVector drift(rows);
  for (std::size_t c = 0; c < held.size(); ++c) {
    const Eigen::Index row = 6 * static_cast<Eigen::Index>(c);
    J.middleRows<6>(row) = jacobian(state, {held[c]}, Frame::body);
    drift.segment<6>(row) = spatial_drift(state, {held[c]}, Frame::body);
  }
  Eigen::Matrix<double, nb_dofs, Eigen::Dynamic, 0, nb_dofs, most_constraints> response =
      J.transpose();
  factor.solveInPlace(response);
  ConstraintMatrix compliance(rows, rows);
  compliance.noalias() = J.lazyProduct(response);
  // Rows of angles and of lengths differ by orders of magnitude: scaled, a small pivot means that
  // bodies hold each other.
  const ConstraintVector scale = compliance.diagonal().cwiseSqrt().cwiseInverse();
  compliance = scale.asDiagonal() * compliance * scale.asDiagonal();
  const Eigen::LLT<ConstraintMatrix> held_factor(compliance);
  if (!is_regular(held_factor)) {
    throw std::domain_error("the held bodies cannot all be held: their joints leave no freedom");
  }
  ConstraintVector w = -(drift + J * motion.ddq);
  w = scale.asDiagonal() * w;
  held_factor.solveInPlace(w);
  w = scale.asDiagonal() * w;
  motion.ddq += response * w;
  for (std::size_t c = 0; c < held.size(); ++c) {
    const Eigen::Index row = 6 * static_cast<Eigen::Index>(c);
    motion.held.col(static_cast<int>(held[c])) << w.segment<3>(row + 3), w.segment<3>(row);
  }
  return motion;
}

}  // namespace tavo::quantities
