#pragma once

#include <array>
#include <cstddef>

#include "algorithms/joint_transforms.hpp"
#include "algorithms/lane_groups.hpp"
#include "algorithms/lanes.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/components.hpp"
#include "spatial/lanes.hpp"
#include "spatial/motion_subspace.hpp"
#include "spatial/rotation.hpp"
#include "spatial/sincos.hpp"
#include "spatial/transform.hpp"

/// Joint calculation: from the coordinates q and rates dq (one entry a coordinate, root first)
/// every joint's transform and velocity. Featherstone 2008, section 4.4.
///
///   Xj  = jcalc(q)
///   vj  = S dq
///   sXp = Xj Xt
///
/// No node reads what another node's visit wrote. sXp is also left on lanes, for the next pass.
namespace metapod {

namespace internal {

/// The root's six coordinates, rates or accelerations.
template <class Vector>
ORVEK23_INLINE Spatial::RootCoordinates root_coordinates(const Vector& x) {
  return {x[0], x[1], x[2], x[3], x[4], x[5]};
}

/// World to body: E = Rᵀ with R = Rz(q5) Ry(q4) Rx(q3), r = (q0, q1, q2).
/// s, c: the sines and cosines of q3, q4, q5.
ORVEK23_INLINE Spatial::TransformT<Spatial::RotationMatrix> free_flyer_transform(
    const Spatial::RootCoordinates& q, const Spatial::SinCos& angles) {
  const auto& [s, c] = angles;
  const float s3 = s[0], s4 = s[1], s5 = s[2], c3 = c[0], c4 = c[1], c5 = c[2];
  return {Spatial::RotationMatrix::from_rows(
              {c4 * c5, c4 * s5, -s4}, {s3 * s4 * c5 - c3 * s5, s3 * s4 * s5 + c3 * c5, s3 * c4},
              {c3 * s4 * c5 + s3 * s5, c3 * s4 * s5 - s3 * c5, c3 * c4}),
          {q[0], q[1], q[2]}};
}

/// Sines and cosines of all joint angles: the root's, then a group's nodes'.
template <class Model>
using JointAngles = std::array<Spatial::SinCos, nb_groups<Model>>;

/// Xt of a group's nodes, as the constants that Xt is loaded from.
template <class Model, std::size_t g>
ORVEK23_INLINE auto constant_placements() {
  using T = typename NodeLike<Model, g>::PlacementType;
  static constexpr auto rows = [] {
    std::array<std::array<float, Spatial::nb_lanes>, Spatial::Components<T>::size> e{};
    const auto placements = for_nodes<Model, g>(
        [](auto id) { return Spatial::components(NodeOf<Model, id>::placement()); });
    for (std::size_t k = 0; k < e.size(); ++k) {
      for (std::size_t lane = 0; lane < Spatial::nb_lanes; ++lane) {
        e[k][lane] = placements[lane < placements.size() ? lane : 0][k];
      }
    }
    return e;
  }();
  Spatial::ComponentArray<OnLanes<T>> lanes;
  Spatial::unrolled<rows.size()>(
      [&](auto k) ORVEK23_INLINE_LAMBDA { lanes[k] = Spatial::load_four(rows[k].data()); });
  return Spatial::from_components<OnLanes<T>>(lanes);
}

/// Positions only; vj keeps its value. Writes Xj and sXp.
template <class Model, std::size_t g>
struct JcalcPosVisitor {
  ORVEK23_INLINE static void discover(Model& model, const JointAngles<Model>& angles,
                                      JointTransforms<Model>& sXp) {
    const Spatial::RotationMatrixAboutZT turn(angles[g].c, angles[g].s);
    // The translation of Xj stays the zero of construction.
    store<Model, g>(
        turn, [&](auto id) -> auto& { return node<id>(model).joint.Xj.E(); });
    const auto Xt = constant_placements<Model, g>();
    // The origin of a joint frame that only turns is that of its placement.
    const typename JointTransforms<Model>::template Value<g> X(turn * Xt.E(), Xt.r());
    store<Model, g>(
        X, [&](auto id) -> auto& { return node<id>(model).sXp; });
    sXp.template of_group<g>() = X;
  }
};

/// Positions and velocities. Writes Xj, sXp and vj.
template <class Model, std::size_t g>
struct JcalcVisitor {
  template <class Q>
  ORVEK23_INLINE static void discover(Model& model, const JointAngles<Model>& angles, const Q& dq,
                                      JointTransforms<Model>& sXp) {
    JcalcPosVisitor<Model, g>::discover(model, angles, sXp);
    for_nodes<Model, g>([&](auto id) ORVEK23_INLINE_LAMBDA {
      // The linear part stays the zero of construction.
      node<id>(model).joint.vj.w() = {0, 0, dq[NodeOf<Model, id>::first_dof]};
      return id();
    });
  }
};

}  // namespace internal

template <class Model>
struct jcalc {
  using Transforms = internal::JointTransforms<Model>;

  /// Positions of the root alone.
  template <class Q>
  ORVEK23_INLINE static void run_root(Model& model, const Q& q) {
    write_root(model, q, Spatial::sin_cos(std::array{root_angles(q)})[0]);
  }

  /// Positions.
  template <class Q>
  ORVEK23_INLINE static void run(Model& model, const Q& q, Transforms& sXp) {
    const auto angles = joint_angles(q);
    write_root(model, q, angles[0]);
    internal::outward_traversal<internal::JcalcPosVisitor, Model>::run(model, angles, sXp);
  }

  /// Positions and velocities.
  template <class Q>
  ORVEK23_INLINE static void run(Model& model, const Q& q, const Q& dq, Transforms& sXp) {
    const auto angles = joint_angles(q);
    write_root(model, q, angles[0]);
    auto& joint = node<0>(model).joint;
    joint.vj = joint.S * internal::root_coordinates(dq);
    internal::outward_traversal<internal::JcalcVisitor, Model>::run(model, angles, dq, sXp);
  }

 private:
  template <class Q>
  ORVEK23_INLINE static Spatial::Lanes root_angles(const Q& q) {
    return Spatial::Lanes{q[3], q[4], q[5], q[5]};
  }

  template <class Q>
  ORVEK23_INLINE static internal::JointAngles<Model> joint_angles(const Q& q) {
    std::array<Spatial::Lanes, internal::nb_groups<Model>> angles;
    angles[0] = root_angles(q);
    Spatial::unrolled<angles.size() - 1>([&](auto n) ORVEK23_INLINE_LAMBDA {
      angles[n + 1] = internal::coordinates<Model, n + 1>(q);
    });
    return Spatial::sin_cos(angles);
  }

  template <class Q>
  ORVEK23_INLINE static void write_root(Model& model, const Q& q, const Spatial::SinCos& angles) {
    auto& root = node<0>(model);
    root.joint.Xj = internal::free_flyer_transform(internal::root_coordinates(q), angles);
    root.sXp = root.joint.Xj * NodeOf<Model, 0>::Xt;
  }
};

}  // namespace metapod
