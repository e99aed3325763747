#pragma once

#include "algorithms/traversal.hpp"
#include "model/joint.hpp"
#include "spatial/motion_subspace.hpp"
#include "spatial/rotation.hpp"
#include "spatial/sincos.hpp"
#include "spatial/transform.hpp"
#include "spatial/vector.hpp"

/// Joint calculation: from the coordinates q and rates dq (one entry a coordinate, root first)
/// every joint's transform and velocity. Featherstone 2008, section 4.4.
///
///   Xj  = jcalc(q)
///   vj  = S dq
///   sXp = Xj Xt
///
/// No node reads what another node's visit wrote.
namespace metapod::internal {

/// A node's six coordinates, rates or accelerations.
template <int first, class Vector>
Spatial::RootCoordinates root_coordinates(const Vector& x) {
  return {x[first], x[first + 1], x[first + 2], x[first + 3], x[first + 4], x[first + 5]};
}

/// World to body: E = Rᵀ with R = Rz(q5) Ry(q4) Rx(q3), r = (q0, q1, q2).
inline Spatial::TransformT<Spatial::RotationMatrix> free_flyer_transform(
    const Spatial::RootCoordinates& q) {
  const auto [s3, c3] = Spatial::sin_cos(q[3]);
  const auto [s4, c4] = Spatial::sin_cos(q[4]);
  const auto [s5, c5] = Spatial::sin_cos(q[5]);
  return {Spatial::RotationMatrix::from_rows(
              {c4 * c5, c4 * s5, -s4}, {s3 * s4 * c5 - c3 * s5, s3 * s4 * s5 + c3 * c5, s3 * c4},
              {c3 * s4 * c5 + s3 * s5, c3 * s4 * s5 - s3 * c5, c3 * c4}),
          {q[0], q[1], q[2]}};
}

/// Positions only; vj keeps its value. Writes Xj and sXp.
template <class Model, int N>
struct JcalcPosVisitor {
  template <class Q>
  static void discover(Model& model, const Q& q) {
    using Node = NodeOf<Model, N>;
    Node& i = node<N>(model);
    if constexpr (Node::parent == no_parent) {
      i.joint.Xj = free_flyer_transform(root_coordinates<Node::first_dof>(q));
      i.sXp = i.joint.Xj * Node::Xt;
    } else {
      const auto [s, c] = Spatial::sin_cos(q[Node::first_dof]);
      const Spatial::RotationMatrixAboutZ turn(c, s);
      i.joint.Xj = {turn, Spatial::Vector3{}};
      // The origin of a joint frame that only turns is that of its placement.
      i.sXp = {turn * Node::Xt.E(), Node::Xt.r()};
    }
  }

  template <class Q>
  static void finish(Model&, const Q&) {}
};

/// Positions and velocities. Writes Xj, sXp and vj.
template <class Model, int N>
struct JcalcVisitor {
  template <class Q>
  static void discover(Model& model, const Q& q, const Q& dq) {
    using Node = NodeOf<Model, N>;
    JcalcPosVisitor<Model, N>::discover(model, q);
    auto& joint = node<N>(model).joint;
    if constexpr (Node::parent == no_parent) {
      joint.vj = joint.S * root_coordinates<Node::first_dof>(dq);
    } else {
      // The linear part stays the zero of construction.
      joint.vj = {{0, 0, dq[Node::first_dof]}, joint.vj.v()};
    }
  }

  template <class Q>
  static void finish(Model&, const Q&, const Q&) {}
};

}  // namespace metapod::internal
