#pragma once

#include <array>
#include <cstddef>

#include "algorithms/body_blocks.hpp"
#include "algorithms/first_moments.hpp"
#include "algorithms/joint_transforms.hpp"
#include "algorithms/lane_groups.hpp"
#include "algorithms/lanes.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/inertia.hpp"
#include "spatial/lanes.hpp"
#include "spatial/paths.hpp"
#include "spatial/records.hpp"
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
/// Reads Model::inertias; reads and writes no node.
///   sXp     on lanes, as joint calculation leaves it
///   iX1     one transform a body. Entry 0 is the identity on entry and is not written.
///   J       6 rows, angular first, frame 1; only the columns of the joints are written.
///   mc_sum  kg m, frame 1; overwritten.
namespace metapod {

namespace internal {

template <class Model>
struct FwdKiniX1State {
  const JointTransforms<Model>& sXp;
  PerGroup<Model, BodyTransform> iX1;
};

template <class Model, std::size_t g>
struct FwdKiniX1Visitor {
  ORVEK23_INLINE static void discover(Model&, FwdKiniX1State<Model>& state,
                                      BodyTransform* const& iX1) {
    const auto X = *state.sXp.template of_group<g>() * of_parents<Model, g>(state.iX1);
    state.iX1[g] = X;
    store<Model, g>(
        X, [&](auto id) -> auto& { return iX1[id]; });
  }
};

/// The bodies' Jacobian columns, angular first: the axis a is row 2 of E; the linear part r x a is
/// formed in the body's frame, where a is z, as Eᵀ (u x z) = Eᵀ (u_y, -u_x, 0) with u = E r.
template <class S>
ORVEK23_INLINE std::array<S, 6> jacobian_columns(
    const Spatial::TransformT<Spatial::RotationMatrixT<S>>& iX1) {
  const auto& E = iX1.E();
  const auto u = E * iX1.r();
  const auto axis = E.row(2);
  const auto linear = E.transposed_times({u.y(), -u.x(), S{}});
  return {axis.x(), axis.y(), axis.z(), linear.x(), linear.y(), linear.z()};
}

}  // namespace internal

/// The recursion runs from group to group; what follows from a body's iX1 alone is computed for
/// as many bodies at a time as there are lanes.
template <class Model>
struct fwd_kin_iX1 {
  template <class Path = Spatial::Baseline>
  ORVEK23_INLINE static void run(Model& model, const internal::JointTransforms<Model>& sXp,
                                 internal::BodyTransform* iX1, float* J, Spatial::Vector3& mc_sum) {
    internal::FwdKiniX1State<Model> state{sXp, {}};
    state.iX1[0] = internal::broadcast(iX1[0]);
    internal::outward_traversal<internal::FwdKiniX1Visitor, Model>::run(model, state, iX1);

    internal::Moments<Model> moments;
    using Block = typename Path::Block;
    internal::for_blocks<Model, Block>([&](auto first) ORVEK23_INLINE_LAMBDA {
      Path::template Function<&of_block<Block>>::call(iX1 + first, Model::inertias.data() + first,
                                                      J + 6 * NodeOf<Model, first>::first_dof,
                                                      moments.data() + first);
    });
    Spatial::Lanes sum = internal::root_moment<Model>();
    Spatial::unrolled<Model::nb_bodies - 1>(
        [&](auto n) ORVEK23_INLINE_LAMBDA { sum = sum + moments[n + 1]; });
    mc_sum = {sum[0], sum[1], sum[2]};
  }

 private:
  /// Columns and moments of a block of bodies. Not inlined: one function for all.
  template <class S>
  static void of_block(const internal::BodyTransform* iX1, const Spatial::Inertia* inertias,
                       float* J, Spatial::Lanes* moments) {
    const auto X = internal::load_block<Model, S>(iX1);
    internal::store_moments<Model>(inertias, X, moments);
    Spatial::store_lanes(internal::jacobian_columns(X),
                         internal::in_block<Model, S>([&](std::size_t k) { return J + 6 * k; }));
  }
};

}  // namespace metapod
