#pragma once

#include <array>
#include <cstddef>
#include <utility>

#include "algorithms/chains.hpp"
#include "algorithms/lane_groups.hpp"
#include "algorithms/lanes.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/components.hpp"
#include "spatial/force.hpp"
#include "spatial/lanes.hpp"
#include "spatial/motion.hpp"
#include "spatial/motion_subspace.hpp"
#include "spatial/records.hpp"

namespace metapod::internal {

/// The last n lanes come first.
template <std::size_t n, class S>
ORVEK23_INLINE S last_lanes(const S& x) {
  constexpr int first = 4 - n, second = first < 3 ? first + 1 : 3,
                third = first < 2 ? first + 2 : 3;
  return Spatial::shuffled<first, second, third, 3>(x, x);
}

/// The forces F_i = Ic_i S_i of a chain's joints, up to four side by side, carried up the chain
/// together: where the textbook walks from each joint to the root, one step here moves the forces
/// of all joints beyond a body. Lanes 4 - n .. 3 hold the joints of bodies last - n + 1 .. last.
/// Two chains that are alike go up together, one a half of wide lanes.
template <class Model, class Chain, class S, int last>
class JointForces {
 public:
  static constexpr int first = last < 3 ? 0 : last - 3;
  static constexpr std::size_t nb_dofs = Model::nb_dofs;

  /// F_i = Ic_i S_i, H_ii = S_iᵀ F_i.
  ORVEK23_INLINE JointForces(const Model& model, const PerGroup<Model, Spatial::Inertia>& Ic,
                             float* H) {
    const auto subspace = Spatial::from_components<Subspace>(
        Spatial::load_lanes<6, S>(subspaces(model, std::make_index_sequence<4 * Chain::size>{})));
    set(in_halves([&](auto h) ORVEK23_INLINE_LAMBDA { return gathered<places<h>>(Ic); }) *
        subspace);
    const S diagonal = subspace.transposed_times(get());
    for_halves([&](auto h) ORVEK23_INLINE_LAMBDA {
      Spatial::unrolled<nb_joints<first>>([&](auto n) ORVEK23_INLINE_LAMBDA {
        H[(k<h, first> + n) * (nb_dofs + 1)] = Spatial::half<h>(diagonal)[4 - nb_joints<first> + n];
      });
    });
  }

  /// F = jXc* F for the joints from body c on, j the parent of c; H_ij = Fᵀ S_j and H_ji likewise.
  template <int c, class Transform, class AncestorSubspace>
  ORVEK23_INLINE void carry_up(Model& model, const Transform& jXc, const AncestorSubspace& S_j,
                               float* H) {
    constexpr int low = c < first ? first : c;
    constexpr std::size_t n = nb_joints<low>;
    carry_from<4 - n>(jXc);
    if constexpr (c == 0) {
      Spatial::unrolled<6>([&](auto a) ORVEK23_INLINE_LAMBDA { F_[a] = last_lanes<n>(F_[a]); });
      store(F_, [&](auto h) ORVEK23_INLINE_LAMBDA {
        return joint_F<h, low>(model, std::make_index_sequence<n>{});
      });
    } else {
      const S H_j = last_lanes<n>(S_j.transposed_times(get()));
      for_halves([&](auto h) ORVEK23_INLINE_LAMBDA {
        constexpr std::size_t k_j = k<h, c - 1>;
        const Spatial::Lanes row = Spatial::half<h>(H_j);
        Spatial::store_first<n>(H + k_j * nb_dofs + k<h, low>, row);
        Spatial::unrolled<n>(
            [&](auto i) ORVEK23_INLINE_LAMBDA { H[(k<h, low> + i) * nb_dofs + k_j] = row[i()]; });
      });
    }
  }

 private:
  using Force = OnLanes<Spatial::Force, S>;
  using Subspace = OnLanes<Spatial::ConstraintMotionAxisZ, S>;

  template <std::size_t half, int n>
  static constexpr int id = Chain::begins[half] + n;
  template <std::size_t half, int n>
  static constexpr std::size_t k = NodeOf<Model, id<half, n>>::first_dof;
  template <int from>
  static constexpr std::size_t nb_joints = static_cast<std::size_t>(last - from) + 1;

  /// The body in a lane; unused lanes have the first.
  static constexpr int body(std::size_t lane) {
    const int n = last - 3 + static_cast<int>(lane);
    return n < first ? first : n;
  }

  template <std::size_t half>
  static constexpr Places places = [] {
    Places p{};
    for (std::size_t lane = 0; lane < 4; ++lane) {
      p[lane] =
          lane_schedule<Model>.places[static_cast<std::size_t>(Chain::begins[half] + body(lane))];
    }
    return p;
  }();

  template <class F>
  ORVEK23_INLINE static void for_halves(F f) {
    Spatial::unrolled<Chain::size>(f);
  }
  /// To the records of every half.
  template <class Records>
  ORVEK23_INLINE static void store(const std::array<S, 6>& values, Records records) {
    [&]<std::size_t... h>(std::index_sequence<h...>) ORVEK23_INLINE_LAMBDA {
      Spatial::store_lanes(values, records(std::integral_constant<std::size_t, h>{})...);
    }
    (std::make_index_sequence<Chain::size>{});
  }
  template <class F>
  ORVEK23_INLINE static auto in_halves(F f) {
    constexpr std::integral_constant<std::size_t, 0> low;
    if constexpr (Chain::size == 1) {
      return f(low);
    } else {
      return side_by_side<S>(f(low), f(std::integral_constant<std::size_t, 1>{}));
    }
  }

  ORVEK23_INLINE Force get() const { return Spatial::from_components<Force>(F_); }
  ORVEK23_INLINE void set(const Force& F) { F_ = Spatial::components(F); }

  /// Lanes from first_lane on; the joints before are not on the way yet.
  template <int first_lane, class Transform>
  ORVEK23_INLINE void carry_from(const Transform& X) {
    constexpr int a = first_lane == 0 ? 4 : 0, b = first_lane <= 1 ? 5 : 1,
                  c = first_lane <= 2 ? 6 : 2;
    const auto carried = Spatial::components(X.applyInv(get()));
    Spatial::unrolled<6>([&](auto i) ORVEK23_INLINE_LAMBDA {
      F_[i] = Spatial::shuffled<a, b, c, 7>(F_[i], carried[i]);
    });
  }

  template <std::size_t... lane>
  ORVEK23_INLINE static auto subspaces(const Model& model, std::index_sequence<lane...>) {
    return std::array{floats_of(node<id<lane / 4, body(lane % 4)>>(model).joint.S)...};
  }
  template <std::size_t half, int low, std::size_t... n>
  ORVEK23_INLINE static auto joint_F(Model& model, std::index_sequence<n...>) {
    return std::array{floats_of(node<id<half, low + static_cast<int>(n)>>(model).joint_F[0])...};
  }

  Spatial::ComponentArray<Force> F_;
};

}  // namespace metapod::internal
