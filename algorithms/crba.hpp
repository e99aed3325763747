#pragma once

#include <array>
#include <cstddef>
#include <tuple>
#include <utility>

#include "algorithms/composite_inertia.hpp"
#include "algorithms/joint_forces.hpp"
#include "algorithms/lanes.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/components.hpp"
#include "spatial/force.hpp"
#include "spatial/lanes.hpp"
#include "spatial/motion.hpp"
#include "spatial/paths.hpp"
#include "spatial/records.hpp"

namespace metapod {

/// Joint-space inertia matrix of the robot with one body made massless (its descendants keep their
/// inertia), by the composite-rigid-body algorithm. An id that names no node excludes nothing.
///
/// Body i with parent p (Featherstone 2008, table 6.2):
///   discover   Ic_i = I_i, or 0 if i is excluded_id
///   finish     Ic_p = Ic_p + pXi* Ic_i iXp
///              F = Ic_i S_i
///              H_ii = S_iᵀ F
///   then, up the ancestors j of i, c the child of j on the way
///              F = jXc* F
///              H_ij = Fᵀ S_j,  H_ji = H_ijᵀ
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
    internal::JointTransforms<Model> sXp;
    sXp.load_from(model);
    internal::CompositeInertias<Model> inertias{sXp, {}, {}};
    inertias.run(model, excluded_id);

    RootSubspace S0;
    const auto& root_S = node<0>(model).joint.S;
    Spatial::unrolled<6>([&](auto j) ORVEK23_INLINE_LAMBDA {
      S0[j] = internal::broadcast(root_S.column(static_cast<int>(j)));
    });
    [&]<int... child>(std::integer_sequence<int, child...>) ORVEK23_INLINE_LAMBDA {
      (walk_chain<child>(model, sXp, inertias.Ic, S0, H), ...);
    }
    (typename NodeOf<Model, 0>::children{});
    write_root_block(model, S0, H);
  }

 private:
  using LaneForce = internal::OnLanes<Spatial::Force>;
  using RootSubspace = std::array<internal::OnLanes<Spatial::Motion>, 6>;

  /// The chain that hangs from the root by a child, from its end to the root.
  template <int begin>
  ORVEK23_INLINE static void walk_chain(Model& model, const internal::JointTransforms<Model>& sXp,
                                        const internal::PerGroup<Model, Spatial::Inertia>& Ic,
                                        const RootSubspace& S0, float* H) {
    constexpr int last = internal::subtree_end<Model>(begin) - 1;
    static_assert(is_path(begin, last), "below the root no body has two children");
    // Blocks of four joints, the last ones first.
    auto blocks = [&]<int... b>(std::integer_sequence<int, b...>) ORVEK23_INLINE_LAMBDA {
      return std::tuple(internal::JointForces<Model, begin, last - 4 * b>(model, Ic, H)...);
    }
    (std::make_integer_sequence<int, (last - begin) / 4 + 1>{});
    Spatial::unrolled<static_cast<std::size_t>(last - begin + 1)>(
        [&](auto n) ORVEK23_INLINE_LAMBDA {
          constexpr int c = last - static_cast<int>(n), j = NodeOf<Model, c>::parent;
          const auto X = sXp.template of_node<c>();
          const auto S_j = [&]() ORVEK23_INLINE_LAMBDA {
            if constexpr (j == 0) {
              return S0;
            } else {
              return internal::broadcast(node<j>(model).joint.S);
            }
          }();
          Spatial::unrolled<static_cast<std::size_t>((last - c) / 4 + 1)>(
              [&](auto b) ORVEK23_INLINE_LAMBDA {
                std::get<b>(blocks).template carry_up<c>(model, X, S_j, H);
              });
        });
  }

  static constexpr bool is_path(int begin, int last) {
    for (int id = begin + 1; id <= last; ++id) {
      if (Model::parents[static_cast<std::size_t>(id)] != id - 1) return false;
    }
    return true;
  }

  /// F0 = Ic_0 S_0, H_00 = S_0ᵀ F0: columns 0 to 3 side by side, then 4 and 5.
  ORVEK23_INLINE static void write_root_block(Model& model, const RootSubspace& S0, float* H) {
    auto& root = node<0>(model);
    root.joint_F = root.Iic * root.joint.S;
    const auto F = [&](std::size_t j)
                       ORVEK23_INLINE_LAMBDA { return Spatial::components(root.joint_F[j]); };
    const std::array F0{F(0), F(1), F(2), F(3), F(4), F(5)};
    write_columns<0, 1, 2, 3>(F0, S0, H);
    write_columns<4, 5, 5, 5>(F0, S0, H);
  }

  template <std::size_t a, std::size_t b, std::size_t c, std::size_t d, class Columns>
  ORVEK23_INLINE static void write_columns(const Columns& F0, const RootSubspace& S0, float* H) {
    std::array<Spatial::Lanes, 6> F, rows;
    Spatial::unrolled<6>([&](auto k) ORVEK23_INLINE_LAMBDA {
      F[k] = Spatial::Lanes{F0[a][k], F0[b][k], F0[c][k], F0[d][k]};
    });
    Spatial::unrolled<6>([&](auto k) ORVEK23_INLINE_LAMBDA {
      rows[k] = dot(S0[k], Spatial::from_components<LaneForce>(F));
    });
    const auto column = [&](std::size_t j) ORVEK23_INLINE_LAMBDA { return H + j * Model::nb_dofs; };
    if constexpr (c == d) {
      Spatial::store_lanes(rows, std::array{column(a), column(b)});
    } else {
      Spatial::store_lanes(rows, std::array{column(a), column(b), column(c), column(d)});
    }
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
    partial_crba<Model>::run(model, H, partial_crba<Model>::nobody);
  }
};

}  // namespace metapod
