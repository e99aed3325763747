#pragma once

#include <array>
#include <utility>

#include "algorithms/first_moment.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/rotation.hpp"
#include "spatial/transform.hpp"

/// Kinematics relative to the root body (frame 1): transforms, Jacobian, first moment of mass.
///
/// Body i with parent p, for i = 1, 2, ... (Featherstone 2008, sections 4.1 and 2.8; the columns
/// are those of a geometric Jacobian with its reference point at the root's origin):
///   iX1    = iXp pX1
///   J_i    = 1Xi S_i            S_i is a unit turn about the body's z axis
///   mc_sum = mc_sum + m_i c_i   c_i the centre of mass, in frame 1
///
/// Reads sXp, so joint calculation comes before it, and the model's inertias; writes no node.
///   iX1     one transform a body. Entry 0 is the identity on entry and is not written.
///   J       6 rows, angular first, frame 1; only the columns of the joints are written.
///   mc_sum  kg m, frame 1; overwritten.
namespace metapod {

namespace internal {

/// J_i, angular part first: the axis a is row 2 of E; the linear part r x a is formed in the body's
/// frame, where a is z, as Eᵀ (u x z) = Eᵀ (u_y, -u_x, 0) with u = E r.
template <class S>
constexpr std::array<S, 6> jacobian_column(
    const Spatial::TransformT<Spatial::RotationMatrixT<S>>& iX1) {
  const auto& E = iX1.E();
  const auto u = E * iX1.r();
  const auto axis = E.row(2);
  const auto linear = E.transposed_times({u.y(), -u.x(), S{}});
  return {axis.x(), axis.y(), axis.z(), linear.x(), linear.y(), linear.z()};
}

template <class Model, int N>
struct FwdKiniX1Visitor {
  template <class Transform, class Jacobian, class Vector>
  static void discover(Model& model, Transform* const& iX1, Jacobian& J, Vector& mc_sum) {
    iX1[N] = node<N>(model).sXp * iX1[NodeOf<Model, N>::parent];

    const auto J_i = jacobian_column(iX1[N]);
    for (int r = 0; r < 6; ++r) J(r, NodeOf<Model, N>::first_dof) = J_i[r];

    add_to(mc_sum, first_moment(iX1[N], model.template inertia<N>()));
  }
};

}  // namespace internal

template <class Model>
struct fwd_kin_iX1 {
  template <class Transform, class Jacobian, class Vector>
  static void run(Model& model, Transform* iX1, Jacobian& J, Vector& mc_sum) {
    const auto h = model.template inertia<0>().h();
    for (int k = 0; k < 3; ++k) mc_sum[k] = h[k];
    [&]<int... n>(std::integer_sequence<int, n...>) {
      (internal::FwdKiniX1Visitor<Model, n + 1>::discover(model, iX1, J, mc_sum), ...);
    }
    (std::make_integer_sequence<int, Model::nb_bodies - 1>{});
  }
};

}  // namespace metapod
