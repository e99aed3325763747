#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "lanes/blocks.hpp"
#include "lanes/joint_calculation.hpp"
#include "lanes/lanes.hpp"
#include "lanes/records.hpp"
#include "lanes/state.hpp"
#include "spatial/pose.hpp"

/// The root's transform, then the world poses of all bodies: products of two poses, row by row, for
/// two bodies at a time in the halves. No lane moves but for one cross product.
namespace metapod::lanes {

namespace internal {

/// [R | p] in every lane: R(i, k) is entry 4 i + k; p_i stands in lane 3 of entry 4 i + 3, with -0
/// in the others: adding -0 changes nothing.
using PoseOnLanes = std::array<Wide, pose_size>;

inline PoseOnLanes spread(const float* pose) {
  PoseOnLanes e;
  unrolled<3>([&](auto i) {
    unrolled<3>([&](auto k) { e[4 * i + k] = all_lanes<Wide>(pose[4 * i + k]); });
    const Lanes p{-0.0f, -0.0f, -0.0f, pose[4 * i + 3]};
    e[4 * i + 3] = joined(p, p);
  });
  return e;
}

/// a × b in lanes 0 to 2.
template <class S>
S cross(const S& a, const S& b) {
  const auto yzx = [](const S& x) { return shuffled<1, 2, 0, 3>(x, x); };
  return yzx(a * yzx(b) - yzx(a) * b);
}

/// Rows of the product of poses A B. Two rows of the rotation are products, the third is their
/// cross product, cheaper and equal to rounding.
inline std::array<Wide, 3> product(const PoseOnLanes& A, const std::array<Wide, 3>& B) {
  const auto row = [&](std::size_t i) {
    return A[4 * i] * B[0] + A[4 * i + 1] * B[1] + A[4 * i + 2] * B[2] + A[4 * i + 3];
  };
  const Wide row0 = row(0), row1 = row(1);
  return {row0, row1, shuffled<0, 1, 2, 7>(cross(row0, row1), row(2))};
}

}  // namespace internal

///   q              one entry a coordinate; the root's are read
///   poses_in_root  12 floats each
///   poses          in the world; all are written
template <class Model>
ORVEK23_WHOLE void world_poses(State<Model>& state, const float* q, const float* poses_in_root,
                               float* poses) {
  root_transform(state, q);
  const auto root = Spatial::pose_of(*state.sXp.template of_group<0>());
  for (std::size_t k = 0; k < pose_size; ++k) poses[k] = root[k][0];

  const internal::PoseOnLanes A = internal::spread(poses);
  for (std::size_t i = 1; i < Model::nb_bodies; i += 2) {
    const std::size_t j = std::min<std::size_t>(i + 1, Model::nb_bodies - 1);
    const auto row = [&](std::size_t k) {
      return joined(load_row<Lanes>(poses_in_root + pose_size * i + 4 * k),
                    load_row<Lanes>(poses_in_root + pose_size * j + 4 * k));
    };
    const auto rows = internal::product(A, {row(0), row(1), row(2)});
    unrolled<3>([&](auto k) {
      store_first<4>(poses + pose_size * i + 4 * k, half<0>(rows[k]));
      store_first<4>(poses + pose_size * j + 4 * k, half<1>(rows[k]));
    });
  }
}

}  // namespace metapod::lanes
