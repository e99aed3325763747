#pragma once

#include "algorithms/traversal.hpp"
#include "spatial/rotation.hpp"
#include "spatial/sincos.hpp"
#include "spatial/transform.hpp"

/// Joint calculation: from the coordinates q and rates dq (one entry a coordinate, root first)
/// every joint's transform and velocity. Featherstone 2008, section 4.4.
///
/// Body i, in any order of the bodies:
///   Xj  = jcalc(q_i)
///   vj  = S dq_i
///   sXp = Xj Xt
///
/// Reads Xt and the root's S; writes Xj and sXp, JcalcVisitor also vj. A joint's vj has no linear
/// part and its Xj no translation: those zeros are the constructor's.
namespace metapod::internal {

/// World to the free-flying body: E = Rᵀ with R = Rz(yaw) Ry(pitch) Rx(roll), r = p_world.
template <class S>
constexpr Spatial::TransformT<Spatial::RotationMatrixT<S>> free_flyer_transform(
    const Spatial::Vector3T<S>& p_world, const Spatial::SinCosT<S>& roll,
    const Spatial::SinCosT<S>& pitch, const Spatial::SinCosT<S>& yaw) {
  const auto& [s3, c3] = roll;
  const auto& [s4, c4] = pitch;
  const auto& [s5, c5] = yaw;
  return {Spatial::RotationMatrixT<S>::from_rows(
              {c4 * c5, c4 * s5, -s4}, {s3 * s4 * c5 - c3 * s5, s3 * s4 * s5 + c3 * c5, s3 * c4},
              {c3 * s4 * c5 + s3 * s5, c3 * s4 * s5 - s3 * c5, c3 * c4}),
          p_world};
}

/// Positions only; vj keeps its value.
template <class Model, int N>
struct JcalcPosVisitor {
  using Node = NodeOf<Model, N>;

  template <class Q>
  static void discover(Model& model, const Q& q) {
    using Spatial::sin_cos;
    auto& i = node<N>(model);
    constexpr int k = Node::first_dof;
    if constexpr (Node::parent == no_parent) {
      i.joint.Xj = free_flyer_transform({q[k], q[k + 1], q[k + 2]}, sin_cos(q[k + 3]),
                                        sin_cos(q[k + 4]), sin_cos(q[k + 5]));
    } else {
      const auto [s, c] = sin_cos(q[k]);
      i.joint.Xj = {{c, s}, {}};
    }
    i.sXp = i.joint.Xj * Node::placement();
  }
  template <class Q>
  static void finish(Model&, const Q&) {}
};

/// Positions and velocities.
template <class Model, int N>
struct JcalcVisitor {
  using Node = NodeOf<Model, N>;

  template <class Q, class Rates>
  static void discover(Model& model, const Q& q, const Rates& dq) {
    JcalcPosVisitor<Model, N>::discover(model, q);
    auto& joint = node<N>(model).joint;
    constexpr int k = Node::first_dof;
    if constexpr (Node::parent == no_parent) {
      joint.vj = joint.S * std::array{dq[k], dq[k + 1], dq[k + 2], dq[k + 3], dq[k + 4], dq[k + 5]};
    } else {
      joint.vj.w() = {{}, {}, dq[k]};
    }
  }
  template <class Q, class Rates>
  static void finish(Model&, const Q&, const Rates&) {}
};

}  // namespace metapod::internal
