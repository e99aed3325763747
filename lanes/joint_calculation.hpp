#pragma once

#include <array>
#include <cstddef>

#include "algorithms/jcalc.hpp"
#include "lanes/groups.hpp"
#include "lanes/sincos.hpp"
#include "lanes/state.hpp"
#include "lanes/values.hpp"
#include "spatial/rotation.hpp"
#include "spatial/transform.hpp"

/// sXp = Xj Xt of all bodies, the positions of algorithms/jcalc.hpp.
namespace metapod::lanes {

namespace internal {

/// Which coordinate's sine and cosine a lane of a group computes: its node's; the root's three
/// angles go to lanes that have no node, and where there are not as many, to group 0.
template <class Model>
struct AngleLanes {
  static constexpr int first_of_root = 3, nb_of_root = 3;

  static constexpr bool root_apart = [] {
    int free = 0;
    for (std::size_t g = 1; g < nb_groups<Model>; ++g) {
      for (const int id : schedule<Model>.groups[g]) free += id == nobody;
    }
    return free < nb_of_root;
  }();
  static constexpr std::size_t first_group = root_apart ? 0 : 1;

  std::array<std::array<int, nb_lanes>, nb_groups<Model>> coordinates{};
  std::array<Place, nb_of_root> of_root{};

  constexpr AngleLanes() {
    int next = 0;
    for (std::size_t g = first_group; g < nb_groups<Model>; ++g) {
      for (std::size_t lane = 0; lane < nb_lanes; ++lane) {
        const int id = g == 0 ? nobody : schedule<Model>.groups[g][lane];
        if (id != nobody) {
          coordinates[g][lane] = Model::dof_indexes[static_cast<std::size_t>(id)];
        } else {
          const int k = next < nb_of_root ? next : nb_of_root - 1;
          coordinates[g][lane] = first_of_root + k;
          if (next < nb_of_root) of_root[k] = {static_cast<int>(g), static_cast<int>(lane)};
          ++next;
        }
      }
    }
  }
};

template <class Model>
inline constexpr AngleLanes<Model> angle_lanes{};

template <class Model>
void write_root(State<Model>& state, const float* q, const Spatial::SinCosT<float>& roll,
                const Spatial::SinCosT<float>& pitch, const Spatial::SinCosT<float>& yaw) {
  const auto Xj = metapod::internal::free_flyer_transform({q[0], q[1], q[2]}, roll, pitch, yaw);
  const Spatial::TransformT<Spatial::RotationMatrix> X =
      Xj * NodeOf<Model, 0>::Constants::placement();
  state.sXp.template of_group<0>() = broadcast(X);
}

/// Xt of a group's nodes.
template <class Model, std::size_t g>
auto placements() {
  using T = typename NodeLike<Model, g>::Placement;
  static constexpr auto rows = [] {
    std::array<std::array<float, nb_lanes>, Components<T>::size> e{};
    const auto of_lane = of_lanes<Model, g>(
        [](auto id) { return components(NodeOf<Model, id>::Constants::placement()); });
    for (std::size_t k = 0; k < e.size(); ++k) {
      for (std::size_t lane = 0; lane < nb_lanes; ++lane) e[k][lane] = of_lane[lane][k];
    }
    return e;
  }();
  ComponentArray<OnLanes<T>> lanes;
  unrolled<rows.size()>([&](auto k) { lanes[k] = load_row<Lanes>(rows[k].data()); });
  return from_components<OnLanes<T>>(lanes);
}

}  // namespace internal

/// Of the root alone.
template <class Model>
void root_transform(State<Model>& state, const float* q) {
  const SinCos angles = sin_cos(std::array{Lanes{q[3], q[4], q[5], q[5]}})[0];
  const auto of = [&](int lane) { return Spatial::SinCosT<float>{angles.s[lane], angles.c[lane]}; };
  internal::write_root(state, q, of(0), of(1), of(2));
}

/// Of all bodies.
template <class Model>
void joint_transforms(State<Model>& state, const float* q) {
  constexpr const auto& in = internal::angle_lanes<Model>;
  constexpr std::size_t first = in.first_group;
  std::array<Lanes, nb_groups<Model> - first> angles;
  unrolled<angles.size()>([&](auto n) {
    constexpr const auto& k = in.coordinates[n + first];
    angles[n] = Lanes{q[k[0]], q[k[1]], q[k[2]], q[k[3]]};
  });
  const auto of_group = sin_cos(angles);

  const auto of_root = [&](std::size_t angle) {
    const Place& place = in.of_root[angle];
    const SinCos& of = of_group[static_cast<std::size_t>(place.group) - first];
    return Spatial::SinCosT<float>{of.s[place.lane], of.c[place.lane]};
  };
  internal::write_root(state, q, of_root(0), of_root(1), of_root(2));

  outward<Model>([&](auto g) {
    const SinCos& of = of_group[g - first];
    const Spatial::RotationMatrixAboutZT<Lanes> turn(of.c, of.s);
    const auto Xt = internal::placements<Model, g>();
    // The origin of a joint frame that only turns is that of its placement.
    state.sXp.template of_group<g>() = {turn * Xt.E(), Xt.r()};
  });
}

}  // namespace metapod::lanes
