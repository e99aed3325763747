#pragma once

#include <array>
#include <cstddef>
#include <utility>

#include "algorithms/composite_inertia.hpp"
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

/// One past the last node of a subtree: ids are a depth-first pre-order.
template <class Model>
constexpr int subtree_end(int id) {
  int end = id + 1;
  while (end < Model::nb_bodies && Model::parents[static_cast<std::size_t>(end)] >= id) ++end;
  return end;
}

/// The last n lanes come first.
template <std::size_t n>
ORVEK23_INLINE Spatial::Lanes last_lanes(const Spatial::Lanes& x) {
  constexpr int first = 4 - n, second = first < 3 ? first + 1 : 3,
                third = first < 2 ? first + 2 : 3;
  return __builtin_shufflevector(x, x, first, second, third, 3);
}

/// The forces F_i = Ic_i S_i of a chain's joints, up to four side by side, carried up the chain
/// together: where the textbook walks from each joint to the root, one step here moves the forces
/// of all joints beyond a body. Lanes 4 - n .. 3 hold the joints of ids last - n + 1 .. last.
template <class Model, int chain_begin, int last>
class JointForces {
 public:
  static constexpr int first = last - 3 < chain_begin ? chain_begin : last - 3;
  static constexpr std::size_t nb_dofs = Model::nb_dofs;

  /// F_i = Ic_i S_i, H_ii = S_iᵀ F_i.
  ORVEK23_INLINE JointForces(const Model& model, const PerGroup<Model, Spatial::Inertia>& Ic,
                             float* H) {
    const auto S = Spatial::from_components<Subspace>(
        Spatial::load_lanes<6>(subspaces(model, std::make_integer_sequence<int, 4>{})));
    set(gathered<places>(Ic) * S);
    const Spatial::Lanes diagonal = S.transposed_times(get());
    Spatial::unrolled<nb_joints<first>>([&](auto n) ORVEK23_INLINE_LAMBDA {
      H[(k<first> + n) * (nb_dofs + 1)] = diagonal[4 - nb_joints<first> + n];
    });
  }

  /// F = jXc* F for the joints from body c on, j the parent of c; H_ij = Fᵀ S_j and H_ji likewise.
  template <int c, class Transform, class AncestorSubspace>
  ORVEK23_INLINE void carry_up(Model& model, const Transform& jXc, const AncestorSubspace& S_j,
                               float* H) {
    constexpr int j = NodeOf<Model, c>::parent, low = c < first ? first : c;
    constexpr std::size_t n = nb_joints<low>;
    carry_from<4 - n>(jXc);
    if constexpr (j == 0) {
      std::array<Spatial::Lanes, 6> H_j;
      Spatial::unrolled<6>([&](auto a) ORVEK23_INLINE_LAMBDA {
        H_j[a] = last_lanes<n>(dot(S_j[a], get()));
        Spatial::store_first<n>(H + a * nb_dofs + k<low>, H_j[a]);
      });
      Spatial::store_lanes(H_j, columns(H + k<low> * nb_dofs, std::make_index_sequence<n>{}));
      Spatial::unrolled<6>([&](auto a) ORVEK23_INLINE_LAMBDA { F_[a] = last_lanes<n>(F_[a]); });
      Spatial::store_lanes(F_, joint_F<low>(model, std::make_integer_sequence<int, n>{}));
    } else {
      const Spatial::Lanes H_j = last_lanes<n>(S_j.transposed_times(get()));
      constexpr std::size_t k_j = NodeOf<Model, j>::first_dof;
      Spatial::store_first<n>(H + k_j * nb_dofs + k<low>, H_j);
      Spatial::unrolled<n>(
          [&](auto i) ORVEK23_INLINE_LAMBDA { H[(k<low> + i) * nb_dofs + k_j] = H_j[i()]; });
    }
  }

 private:
  using Force = OnLanes<Spatial::Force>;
  using Subspace = OnLanes<Spatial::ConstraintMotionAxisZ>;

  template <int id>
  static constexpr std::size_t k = NodeOf<Model, id>::first_dof;
  template <int from>
  static constexpr std::size_t nb_joints = static_cast<std::size_t>(last - from) + 1;

  static constexpr Places places = [] {
    Places p{};
    for (int lane = 0; lane < 4; ++lane) {
      const int id = last - 3 + lane < first ? first : last - 3 + lane;
      p[static_cast<std::size_t>(lane)] = lane_schedule<Model>.places[static_cast<std::size_t>(id)];
    }
    return p;
  }();

  ORVEK23_INLINE Force get() const { return Spatial::from_components<Force>(F_); }
  ORVEK23_INLINE void set(const Force& F) { F_ = Spatial::components(F); }

  /// Lanes from first_lane on; the joints before are not on the way yet.
  template <int first_lane, class Transform>
  ORVEK23_INLINE void carry_from(const Transform& X) {
    const auto carried = Spatial::components(X.applyInv(get()));
    Spatial::unrolled<6>([&](auto i) ORVEK23_INLINE_LAMBDA {
      F_[i] = __builtin_shufflevector(F_[i], carried[i], first_lane > 0 ? 0 : 4,
                                      first_lane > 1 ? 1 : 5, first_lane > 2 ? 2 : 6, 7);
    });
  }

  template <int... lane>
  ORVEK23_INLINE static auto subspaces(const Model& model, std::integer_sequence<int, lane...>) {
    return std::array{
        floats_of(node<(last - 3 + lane < first ? first : last - 3 + lane)>(model).joint.S)...};
  }
  template <std::size_t... n>
  ORVEK23_INLINE static auto columns(float* column, std::index_sequence<n...>) {
    return std::array{column + n * nb_dofs...};
  }
  template <int low, int... n>
  ORVEK23_INLINE static auto joint_F(Model& model, std::integer_sequence<int, n...>) {
    return std::array{floats_of(node<low + n>(model).joint_F[0])...};
  }

  Spatial::ComponentArray<Force> F_;
};

}  // namespace metapod::internal
