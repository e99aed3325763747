#pragma once

#include <utility>

#include "algorithms/first_moment.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/rotation.hpp"
#include "spatial/transform.hpp"
#include "spatial/vector.hpp"

/// Kinematics relative to the root body (frame 1): poses, Jacobian, first moment of mass.
///
/// Body i with parent p, for i = 1, 2, ... (Featherstone 2008, sections 4.1 and 2.8; the columns
/// are those of a geometric Jacobian with its reference point at the root's origin):
///   iX1    = iXp pX1
///   J_i    = 1Xi S_i            S_i is a unit turn about the body's z axis
///   mc_sum = mc_sum + m_i c_i   c_i the centre of mass, in frame 1
///
/// Reads sXp, so joint calculation runs first, and Model::inertias; writes no node.
///   iX1     one transform a body. Entry 0 is the identity on entry and is not written.
///   J       6 rows, angular first, frame 1; only the columns of the joints are written.
///   mc_sum  kg m, frame 1; overwritten.
namespace metapod {

namespace internal {

using BodyTransform = Spatial::TransformT<Spatial::RotationMatrix>;

template <class Model, int N>
struct FwdKiniX1Visitor {
  template <class Jacobian>
  static void discover(Model& model, BodyTransform* iX1, Jacobian& J, Spatial::Vector3& mc_sum) {
    using Node = NodeOf<Model, N>;
    const BodyTransform X = node<N>(model).sXp * iX1[Node::parent];
    iX1[N] = X;
    write_column<Node::first_dof>(X, J);
    mc_sum = mc_sum + first_moment(X, Model::inertias[N]);
  }

 private:
  /// The axis a is row 2 of E; the linear part r x a is formed in the body's frame, where a is z,
  /// as Eᵀ (u x z) = Eᵀ (u_y, -u_x, 0) with u = E r.
  template <int k, class Jacobian>
  static void write_column(const BodyTransform& X, Jacobian& J) {
    const Spatial::Vector3 u = X.E() * X.r();
    const Spatial::Vector3 axis = X.E().row(2);
    const Spatial::Vector3 linear = u.y() * X.E().row(0) - u.x() * X.E().row(1);
    for (int i = 0; i < 3; ++i) {
      J(i, k) = axis[i];
      J(3 + i, k) = linear[i];
    }
  }
};

}  // namespace internal

template <class Model>
struct fwd_kin_iX1 {
  template <class Jacobian>
  static void run(Model& model, internal::BodyTransform* iX1, Jacobian& J,
                  Spatial::Vector3& mc_sum) {
    mc_sum = Model::inertias[0].h();
    [&]<int... n>(std::integer_sequence<int, n...>) {
      (internal::FwdKiniX1Visitor<Model, n + 1>::discover(model, iX1, J, mc_sum), ...);
    }
    (std::make_integer_sequence<int, Model::nb_bodies - 1>{});
  }
};

}  // namespace metapod
