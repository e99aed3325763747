#pragma once

#include <array>
#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

#include "algorithms/body_blocks.hpp"
#include "algorithms/chains.hpp"
#include "algorithms/composite_inertia.hpp"
#include "algorithms/joint_forces.hpp"
#include "algorithms/joint_transforms.hpp"
#include "algorithms/lanes.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/components.hpp"
#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/lanes.hpp"
#include "spatial/motion.hpp"
#include "spatial/motion_subspace.hpp"
#include "spatial/paths.hpp"
#include "spatial/records.hpp"
#include "spatial/value_lanes.hpp"
#include "spatial/wide_lanes.hpp"

namespace metapod {

/// Joint-space inertia matrix of the robot with one body made massless (its descendants keep their
/// inertia), by the composite-rigid-body algorithm. An id that names no node excludes nothing.
///
/// Body i with parent p (Featherstone 2008, table 6.2):
///   Ic_i = I_i + sum over children c of iXc* Ic_c cXi, with 0 for the I_i of excluded_id
///   F = Ic_i S_i
///   H_ii = S_iᵀ F
///   up the ancestors j of i, c the child of j on the way:
///     F = jXc* F
///     H_ij = Fᵀ S_j,  H_ji = H_ijᵀ
///
/// Reads sXp of all nodes but the root, S and Model::inertias; writes Iic and joint_F (on return a
/// joint's F stands in root coordinates). For models whose bodies, the root apart, have one child
/// at most: their chains are what stands side by side.
///   H   exactly nb_dofs rows and columns, column-major, not cleared: pairs of coordinates on
///       different branches keep what the caller put there
template <class Model>
struct partial_crba {
  static constexpr int nobody = -1;

  template <class Path = Spatial::Baseline>
  ORVEK23_INLINE static void run(Model& model, float* H, const int& excluded_id) {
    // Ic_i
    internal::JointTransforms<Model> sXp;
    sXp.load_from(model);
    internal::CompositeInertias<Model, Path> inertias{sXp, {}, {}};
    inertias.run(model, excluded_id);

    // F, H_ii and H_ij up the chains, all but the root's rows
    internal::for_chains<Model>([&](auto chains) ORVEK23_INLINE_LAMBDA {
      using S = std::conditional_t<chains.size == 2, typename Path::Wide, Spatial::Lanes>;
      walk<decltype(chains), S>(model, inertias.Ic, H);
    });
    // H_i0 and H_0i, H_00
    using Block = typename Path::Block;
    constexpr std::size_t n = internal::block_size<Model, Block>;
    const auto S0 = broadcast_columns<Block>(node<0>(model).joint.S);
    internal::for_blocks<Model, Block>([&](auto first) ORVEK23_INLINE_LAMBDA {
      constexpr std::size_t k = NodeOf<Model, first>::first_dof;
      Path::template Function<&write_root_rows<Block>>::call(
          joint_F<first>(model, std::make_integer_sequence<int, static_cast<int>(n)>{}), S0, H + k,
          H + k * nb_dofs);
    });
    write_root_block<typename Path::Wide>(model, S0, H);
  }

 private:
  static constexpr std::size_t nb_dofs = Model::nb_dofs;
  template <class S>
  using RootSubspace = std::array<internal::OnLanes<Spatial::Motion, S>, 6>;

  template <class S>
  ORVEK23_INLINE static RootSubspace<S> broadcast_columns(
      const Spatial::ConstraintMotionFreeFlyerBody& S0) {
    RootSubspace<S> columns;
    Spatial::unrolled<6>([&](auto j) ORVEK23_INLINE_LAMBDA {
      columns[j] = internal::broadcast<S>(S0.column(static_cast<int>(j)));
    });
    return columns;
  }

  /// From the ends of the chains to the root.
  template <class Chain, class S>
  ORVEK23_INLINE static void walk(Model& model,
                                  const internal::PerGroup<Model, Spatial::Inertia>& Ic, float* H) {
    constexpr int last = Chain::length - 1;
    // Blocks of four joints, the last ones first.
    auto blocks = [&]<int... b>(std::integer_sequence<int, b...>) ORVEK23_INLINE_LAMBDA {
      return std::tuple(internal::JointForces<Model, Chain, S, last - 4 * b>(model, Ic, H)...);
    }
    (std::make_integer_sequence<int, last / 4 + 1>{});
    Spatial::unrolled<Chain::length>([&](auto n) ORVEK23_INLINE_LAMBDA {
      constexpr int c = last - static_cast<int>(n);
      const auto X = internal::spread<S, Chain, c>([&](auto id) -> const auto& {
        return node<id>(model).sXp;
      });
      // The first body's parent is the root: its rows come last, and this S is not used.
      constexpr int j = c == 0 ? c : c - 1;
      const auto S_j = internal::spread<S, Chain, j>([&](auto id) -> const auto& {
        return node<id>(model).joint.S;
      });
      Spatial::unrolled<static_cast<std::size_t>((last - c) / 4 + 1)>(
          [&](auto b) ORVEK23_INLINE_LAMBDA {
            std::get<b>(blocks).template carry_up<c>(model, X, S_j, H);
          });
    });
  }

  /// H_0i = F_iᵀ S_0 and H_i0 of some joints, the forces F_i in root coordinates: to their places
  /// in the root's columns, and to their columns. Not inlined: one function for all.
  template <class S>
  static void write_root_rows(
      const std::array<const float*, internal::block_size<Model, S>>& forces,
      const RootSubspace<S>& S0, float* H_0, float* H_i) {
    const auto F = Spatial::from_components<internal::OnLanes<Spatial::Force, S>>(
        Spatial::load_lanes<6, S>(forces));
    std::array<S, 6> rows;
    Spatial::unrolled<6>([&](auto a) ORVEK23_INLINE_LAMBDA {
      rows[a] = dot(S0[a], F);
      Spatial::store_row<internal::block_size<Model, S>>(H_0 + a * nb_dofs, rows[a]);
    });
    Spatial::store_lanes(
        rows, internal::in_block<Model, S>([&](std::size_t i) { return H_i + i * nb_dofs; }));
  }
  template <int first, int... n>
  ORVEK23_INLINE static auto joint_F(const Model& model, std::integer_sequence<int, n...>) {
    return std::array{internal::floats_of(node<first + n>(model).joint_F[0])...};
  }

  /// F_0 = Ic_0 S_0, H_00 = S_0ᵀ F_0.
  template <class Wide, class S>
  ORVEK23_INLINE static void write_root_block(Model& model, const RootSubspace<S>& S0, float* H) {
    auto& root = node<0>(model);
    const auto F = internal::broadcast(root.Iic) * root.joint.S.template columns<Wide>();
    std::array<Wide, 6> rows;
    Spatial::unrolled<6>([&](auto k) ORVEK23_INLINE_LAMBDA {
      if constexpr (Spatial::is_wide<S>) {
        rows[k] = dot(S0[k], F);
      } else {
        rows[k] = dot(internal::both_halves<Wide>(S0[k]), F);
      }
    });
    store_columns(Spatial::components(F),
                  [&](std::size_t j) { return internal::floats_of(root.joint_F[j]); });
    store_columns(rows, [&](std::size_t j) { return H + j * nb_dofs; });
  }

  /// The linear coordinates' columns are in the low halves, the angular ones' in the high.
  template <class Wide, class Column>
  ORVEK23_INLINE static void store_columns(const std::array<Wide, 6>& rows, Column column) {
    Spatial::store_lanes(rows, std::array{column(0), column(1), column(2)},
                         std::array{column(3), column(4), column(5)});
  }
};

/// Joint-space inertia matrix of the whole robot. The second argument would ask for the joint
/// calculation first; only the form that finds it done exists.
template <class Model, bool with_jcalc>
struct crba;

template <class Model>
struct crba<Model, false> {
  template <class Path = Spatial::Baseline>
  ORVEK23_INLINE static void run(Model& model, float* H) {
    partial_crba<Model>::template run<Path>(model, H, partial_crba<Model>::nobody);
  }
};

}  // namespace metapod
