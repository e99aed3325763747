#pragma once

#include <array>
#include <cstddef>

#include "lanes/composite_inertia.hpp"
#include "lanes/joint_forces.hpp"
#include "lanes/lanes.hpp"
#include "lanes/records.hpp"
#include "lanes/state.hpp"
#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/motion_subspace.hpp"

/// Joint-space inertia matrix, the recursion of algorithms/crba.hpp.
namespace metapod::lanes {

namespace internal {

/// Sᵀ F for the root's subspace.
template <class S>
std::array<S, 6> root_rows(const OnLanes<Spatial::Force, S>& F) {
  std::array<S, 6> rows;
  unrolled<6>([&](auto j) {
    rows[j] = dot(broadcast<S>(Spatial::ConstraintMotionFreeFlyerBody{}.column(j)), F);
  });
  return rows;
}

/// F_0 = Ic_0 S_0: the linear coordinates' columns in lanes 0 to 2 of the low half, the angular
/// ones' in those of the high half.
inline OnLanes<Spatial::Force, Wide> root_force(const Spatial::Inertia& Ic) {
  const auto I = broadcast(Ic);
  const Spatial::Vector3T<Lanes> unit(Lanes{1, 0, 0, 0}, Lanes{0, 1, 0, 0}, Lanes{0, 0, 1, 0});
  const auto low_high = [](const auto& low, const auto& high) {
    return Spatial::Vector3T<Wide>(joined(low.x(), high.x()), joined(low.y(), high.y()),
                                   joined(low.z(), high.z()));
  };
  return {low_high(I.h().cross(unit), I.I() * unit), low_high(I.m() * unit, -I.h().cross(unit))};
}

/// The lowest n lanes of the last ones, that of body `from` first.
template <class Joints, int from>
void store_from(float* a, const Lanes& row) {
  constexpr std::size_t lane = Joints::lane(from), n = nb_lanes - lane;
  if constexpr (n == 4) {
    store_first<4>(a, row);
  } else {
    constexpr int k0 = static_cast<int>(lane), k1 = k0 < 3 ? k0 + 1 : -1, k2 = k0 < 2 ? k0 + 2 : -1;
    store_first<n>(a, shuffled<k0, k1, k2, -1>(row, row));
  }
}

/// The matrix, column-major; what joints of blocks write into it.
template <class Model>
class MassMatrix {
 public:
  explicit MassMatrix(float* H) : H_(H) {}

  float& operator()(std::size_t i, std::size_t j) { return H_[i + nb_dofs * j]; }

  /// H_ii = S_iᵀ F
  template <class Joints>
  void set_diagonal(const Joints& block) {
    const auto H_ii = axis_product(block);
    each<Joints, Joints::first>([&](auto half, auto n) {
      constexpr std::size_t i = Joints::template dof<half, n>;
      (*this)(i, i) = lanes::half<half>(H_ii)[Joints::lane(n)];
    });
  }

  /// H_ji = S_jᵀ F and its mirror image.
  template <int from, int j, class Joints>
  void set_pairs(const Joints& block) {
    const auto H_ji = axis_product(block);
    for_halves<Joints>([&](auto half) {
      store_from<Joints, from>(
          &(*this)(Joints::template dof<half, from>, Joints::template dof<half, j>),
          lanes::half<half>(H_ji));
    });
    each<Joints, from>([&](auto half, auto n) {
      (*this)(Joints::template dof<half, j>, Joints::template dof<half, n>) =
          lanes::half<half>(H_ji)[Joints::lane(n)];
    });
  }

  /// H_0i = S_0ᵀ F and its mirror image.
  template <class Joints>
  void set_root_pairs(const Joints& block) {
    const auto H_0i = root_rows(*block.F);
    for_halves<Joints>([&](auto half) {
      constexpr std::size_t i = Joints::template dof<half, Joints::first>;
      unrolled<6>([&](auto a) {
        store_from<Joints, Joints::first>(&(*this)(i, a), lanes::half<half>(H_0i[a]));
      });
    });
    store_joint_columns<Joints>(H_0i, [&](std::size_t i) { return &(*this)(0, i); });
  }

  /// H_00 = S_0ᵀ F_0
  void set_root_block(const Spatial::Inertia& Ic) {
    store_root_columns(root_rows(root_force(Ic)), [&](std::size_t j) { return &(*this)(0, j); });
  }

 private:
  static constexpr std::size_t nb_dofs = Model::nb_dofs;

  template <class Joints>
  static auto axis_product(const Joints& block) {
    using S = typename Joints::S;
    return broadcast<S>(Spatial::ConstraintMotionAxisZ{}).transposed_times(*block.F);
  }
  template <class Joints, class F>
  static void for_halves(F f) {
    unrolled<is_wide<typename Joints::S> ? 2 : 1>(f);
  }
  /// f(half, n) for the bodies from `from` on.
  template <class Joints, int from, class F>
  static void each(F f) {
    for_halves<Joints>([&](auto half) {
      unrolled<Joints::last - from + 1>(
          [&](auto k) { f(half, std::integral_constant<int, from + static_cast<int>(k())>{}); });
    });
  }

  float* H_;
};

}  // namespace internal

/// For models made of chains.
///   H   nb_dofs rows and columns; pairs of coordinates on different branches are not written
template <class Model>
ORVEK23_WHOLE void mass_matrix(const State<Model>& state, const InertiaTable<Model>& inertias,
                               float* H) {
  PerGroup<Model, Spatial::Inertia> Ic;
  const Spatial::Inertia Ic_0 = composite_inertias<Model>(
      state.sXp, inertias.root(), [&](auto g) { return inertias.template of_group<g>(); }, Ic);

  internal::MassMatrix<Model> matrix(H);
  carry_to_root<Model>(
      state.sXp, Ic, [&](const auto& block) { matrix.set_diagonal(block); },
      [&](const auto& block, auto from, auto ancestor) {
        matrix.template set_pairs<from, ancestor>(block);
      },
      [&](const auto& block) { matrix.set_root_pairs(block); });
  matrix.set_root_block(Ic_0);
}

}  // namespace metapod::lanes
