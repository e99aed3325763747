#pragma once

#include <array>
#include <cstddef>

#include "algorithms/first_moment.hpp"
#include "algorithms/fwd_kin_iX1.hpp"
#include "lanes/blocks.hpp"
#include "lanes/groups.hpp"
#include "lanes/joint_calculation.hpp"
#include "lanes/state.hpp"
#include "spatial/pose.hpp"

/// Joint positions, then kinematics relative to the root: the recursion of
/// algorithms/fwd_kin_iX1.hpp from group to group, the rest of it by blocks.
namespace metapod::lanes {

///   q       one entry a coordinate
///   J       6 rows by columns; only the columns of the joints are written
///   poses   of all bodies in the root's frame, 12 floats each; that of the root is not written
///   mc_sum  first moment of mass (kg m), root frame
template <class Model>
ORVEK23_WHOLE void root_kinematics(State<Model>& state, const InertiaTable<Model>& inertias,
                                   const float* q, float* J, float* poses, float* mc_sum) {
  joint_transforms(state, q);

  using Transform = Spatial::TransformT<Spatial::RotationMatrix>;
  PerGroup<Model, Transform> iX1;
  iX1[0] = broadcast(Transform(Spatial::RotationMatrix::identity(), {}));
  outward<Model>([&](auto g) {
    Stored<OnLanes<Transform>> scratch;
    const auto X = *state.sXp.template of_group<g>() * *of_parents<Model, g>(iX1, scratch);
    iX1[g] = X;
    store_lanes<used_lanes<Model, g>>(
        Spatial::pose_of(X), of_lanes<Model, g>([&](auto id) { return poses + pose_size * id; }));
  });

  Moments<Model> moments;
  for_blocks<Model>([&](std::size_t first) {
    const TransformsOnBlock X = load_transforms<Model>(poses, first);
    store_moments<Model>(inertias, X, first, moments);
    store_lanes(metapod::internal::jacobian_column(X), in_block<Model>([&](std::size_t k) {
                  return J + 6 * (Model::dof_numbers[0] + first - 1 + k);
                }));
  });
  sum_moments<Model>(inertias, moments, mc_sum);
}

/// First moment of mass (kg m) of all bodies but excluded_id, root frame.
template <class Model>
ORVEK23_WHOLE void partial_first_moment(const InertiaTable<Model>& inertias, const float* poses,
                                        int excluded_id, float* mc_sum) {
  Moments<Model> moments;
  for_blocks<Model>([&](std::size_t first) {
    store_moments<Model>(inertias, load_transforms<Model>(poses, first), first, moments);
  });
  if (excluded_id > 0 && excluded_id < Model::nb_bodies) {
    moments[static_cast<std::size_t>(excluded_id)] = -Lanes{};  // adding -0 changes nothing
  }
  sum_moments<Model>(inertias, moments, mc_sum);
}

}  // namespace metapod::lanes
