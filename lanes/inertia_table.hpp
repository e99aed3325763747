#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "lanes/components.hpp"
#include "lanes/groups.hpp"
#include "lanes/lanes.hpp"
#include "lanes/schedule.hpp"
#include "model/load_time_tables.hpp"
#include "spatial/bits_as.hpp"
#include "spatial/inertia.hpp"

namespace metapod::lanes {

/// The bodies' inertias as the passes load them: a copy of the model's table, one a process, and to
/// be set with it. Entry by entry the layout is that of every instruction set.
template <class Model>
class InertiaTable {
 public:
  static constexpr std::size_t nb_bodies = Model::nb_bodies;
  /// Blocks of bodies may reach beyond the last.
  using PerBody = std::array<float, nb_bodies + 8>;

  /// Those of the robot's table of facts: ready before anything is loaded.
  constexpr explicit InertiaTable(const std::array<Spatial::Inertia, nb_bodies>& inertias) {
    for (std::size_t g = 0; g < by_group_.size(); ++g) {
      for (std::size_t lane = 0; lane < nb_lanes; ++lane) {
        int id = schedule<Model>.groups[g][lane];
        for (std::size_t k = 0; id == nobody; ++k) id = schedule<Model>.groups[g][k];
        put(g, lane, inertias[static_cast<std::size_t>(id)]);
      }
    }
    for (std::size_t i = 0; i < nb_bodies; ++i) put_com(i, inertias[i]);
  }

  void set(std::size_t i, const Spatial::Inertia& inertia) {
    const Place& place = schedule<Model>.places[i];
    put(static_cast<std::size_t>(place.group), static_cast<std::size_t>(place.lane), inertia);
    put_com(i, inertia);
  }

  template <std::size_t g>
  OnLanes<Spatial::Inertia> of_group() const {
    ComponentArray<OnLanes<Spatial::Inertia>> e;
    unrolled<e.size()>([&](auto k) { e[k] = load_row<Lanes>(by_group_[g][k].data()); });
    return from_components<OnLanes<Spatial::Inertia>>(e);
  }
  template <std::size_t g>
  OnLanes<Spatial::Inertia, Wide> of_group_in_both_halves() const {
    ComponentArray<OnLanes<Spatial::Inertia, Wide>> e;
    unrolled<e.size()>([&](auto k) { e[k] = load_in_both_halves(by_group_[g][k].data()); });
    return from_components<OnLanes<Spatial::Inertia, Wide>>(e);
  }
  Spatial::Inertia root() const {
    std::array<float, 10> e;
    for (std::size_t k = 0; k < e.size(); ++k) e[k] = by_group_[0][k][0];
    return from_components<Spatial::Inertia>(e);
  }
  /// By id: masses (kg) and centres of mass h / m (m, body frame).
  const float* m() const { return m_.data(); }
  const PerBody& com(std::size_t axis) const { return com_[axis]; }

 private:
  using Rows = std::array<std::array<float, nb_lanes>, 10>;

  constexpr void put(std::size_t g, std::size_t lane, const Spatial::Inertia& inertia) {
    const auto e = components(inertia);
    for (std::size_t k = 0; k < e.size(); ++k) by_group_[g][k][lane] = e[k];
  }
  constexpr void put_com(std::size_t i, const Spatial::Inertia& inertia) {
    m_[i] = inertia.m();
    for (int axis = 0; axis < 3; ++axis) {
      com_[static_cast<std::size_t>(axis)][i] = quotient(inertia.h()[axis], inertia.m());
    }
  }

  /// h / m, also for the massless bodies of a table: the language has no division by zero in
  /// constants.
  static constexpr float quotient(float h, float m) {
    if (std::is_constant_evaluated() && m == 0) {
      using Limits = std::numeric_limits<float>;
      if (!(h < 0 || h > 0)) return Limits::quiet_NaN();
      return (h < 0) == (Spatial::bits_as<std::int32_t>(m) < 0) ? Limits::infinity()
                                                                : -Limits::infinity();
    }
    return h / m;
  }

  std::array<Rows, nb_groups<Model>> by_group_{};
  PerBody m_{};
  std::array<PerBody, 3> com_{};
};

}  // namespace metapod::lanes
