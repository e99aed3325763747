#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "algorithms/first_moment.hpp"
#include "lanes/groups.hpp"
#include "lanes/inertia_table.hpp"
#include "lanes/lanes.hpp"
#include "lanes/records.hpp"
#include "lanes/values.hpp"
#include "spatial/rotation.hpp"
#include "spatial/transform.hpp"
#include "spatial/vector.hpp"

/// What follows from one body's pose alone is computed for neighbours in the order of the ids, as
/// many as a register has lanes (5 % of the root-relative kinematics).
namespace metapod::lanes {

/// Floats of a pose [R | p], row by row: how the host keeps it.
inline constexpr std::size_t pose_size = 12;

using TransformsOnBlock = Spatial::TransformT<Spatial::RotationMatrixT<Block>>;

/// f(first) for all bodies but the root's, block by block: bodies first, first + 1, ... in the
/// lanes. The last block overlaps the one before.
template <class Model, class F>
void for_blocks(F f) {
  constexpr std::size_t n = nb_lanes_of<Block>, nb_bodies = Model::nb_bodies;
  constexpr std::size_t last = nb_bodies > n ? nb_bodies - n : 1;
  for (std::size_t i = 1; i < last + n && i < nb_bodies; i += n) f(std::min(i, last));
}

/// Record k of a block: of body first + k, or of the last one.
template <class Model, class F>
auto in_block(F f) {
  constexpr std::size_t most = Model::nb_bodies - 2;
  return [&]<std::size_t... k>(std::index_sequence<k...>) {
    return std::array{f(std::min(k, most))...};
  }
  (std::make_index_sequence<nb_lanes_of<Block>>{});
}

/// iX1 of a block of bodies from their poses in the root's frame.
template <class Model>
TransformsOnBlock load_transforms(const float* poses, std::size_t first) {
  const auto e = load_rows<3, Block>(
      in_block<Model>([&](std::size_t k) { return poses + pose_size * (first + k); }));
  return {{{e[0], e[1], e[2]}, {e[4], e[5], e[6]}, {e[8], e[9], e[10]}}, {e[3], e[7], e[11]}};
}

/// The first moments of mass (kg m) of all bodies, in the root's frame: x, y, z and a filler.
template <class Model>
using Moments = std::array<Lanes, Model::nb_bodies + 8>;

template <class Model>
void store_moments(const InertiaTable<Model>& inertias, const TransformsOnBlock& iX1,
                   std::size_t first, Moments<Model>& moments) {
  const auto row = [&](const auto& table) { return load_row<Block>(table.data() + first); };
  const Spatial::Vector3T<Block> c(row(inertias.com(0)), row(inertias.com(1)),
                                   row(inertias.com(2)));
  const auto mc = metapod::internal::first_moment(iX1, load_row<Block>(inertias.m() + first), c);
  const auto rows = transposed<Block>(mc.x(), mc.y(), mc.z(), mc.z());
  unrolled<nb_lanes_of<Block>>(
      [&](auto k) { moments[first + k] = half<k / nb_lanes>(rows[k % nb_lanes]); });
}

/// The sum of the first moments in the order of the ids.
template <class Model>
void sum_moments(const InertiaTable<Model>& inertias, const Moments<Model>& moments,
                 float* mc_sum) {
  const Spatial::Vector3 h = inertias.root().h();
  Lanes sum{h.x(), h.y(), h.z(), 0};
  unrolled<Model::nb_bodies - 1>([&](auto n) { sum = sum + moments[n + 1]; });
  store_first<3>(mc_sum, sum);
}

}  // namespace metapod::lanes
