#pragma once

#include <array>
#include <cstddef>
#include <utility>

#include <Eigen/Core>

#include "algorithms/crba.hpp"
#include "algorithms/fwd_kin_iX1.hpp"
#include "algorithms/jcalc.hpp"
#include "algorithms/lanes.hpp"
#include "algorithms/partial_com.hpp"
#include "algorithms/rnea.hpp"
#include "algorithms/traversal.hpp"
#include "host/instruction_sets.hpp"
#include "host/kt_math_conversions.hpp"
#include "ktmath/ktmath.hpp"
#include "spatial/components.hpp"
#include "spatial/force.hpp"
#include "spatial/lanes.hpp"
#include "spatial/vector.hpp"

/// What the adapter computes, pass by pass, as compiled for each instruction set.
namespace tavo {

template <class Model>
struct Passes {
  using Coordinates = Eigen::Matrix<float, Model::nb_dofs, 1>;
  using BodyTransforms = std::array<ModelTransform, Model::nb_bodies>;

  /// Everything relative to the root; poses of all bodies but the root.
  static void root_relative(Model& model, const Coordinates& q, BodyTransforms& iX1,
                            float* jacobian, metapod::Spatial::Vector3& mc_sum,
                            KT::Math::Transform* poses) {
    metapod::internal::JointTransforms<Model> sXp;
    metapod::jcalc<Model>::run(model, q, sXp);
    metapod::fwd_kin_iX1<Model>::run(model, sXp, iX1.data(), jacobian, mc_sum);
    metapod::Spatial::unrolled<Model::nb_bodies - 1>(
        [&](auto n) ORVEK23_INLINE_LAMBDA { invToKTMath(iX1[n + 1], poses[n + 1]); });
  }

  /// The root's transform and all world poses.
  static void world(Model& model, const Coordinates& q, const BodyTransforms& iX1,
                    KT::Math::Transform* poses) {
    metapod::jcalc<Model>::run_root(model, q);
    const ModelTransform& root = metapod::node<0>(model).sXp;  // world to root
    const auto root_lanes = metapod::internal::broadcast(root);
    invToKTMath(root, poses[0]);
    constexpr std::size_t last = Model::nb_bodies - 1;
    metapod::Spatial::unrolled<(last + 3) / 4>([&](auto block) ORVEK23_INLINE_LAMBDA {
      constexpr std::size_t first = 4 * block + 1, n = first + 3 <= last ? 4 : last + 1 - first;
      world_poses<first>(iX1, root_lanes, poses, std::make_index_sequence<n>{});
    });
  }

  static void inverse_dynamics(Model& model, const Coordinates& q, const Coordinates& dq,
                               const Coordinates& ddq, const metapod::Spatial::Force* fext,
                               Coordinates& torques) {
    metapod::internal::JointTransforms<Model> sXp;
    metapod::jcalc<Model>::run(model, q, dq, sXp);
    metapod::rnea<Model, false>::run(model, sXp, dq, ddq, fext, torques);
  }

  /// Zeros for a square matrix of all coordinates.
  static void clear(float* H) {
    constexpr std::size_t n = Model::nb_dofs * Model::nb_dofs;
    static_assert(n % metapod::Spatial::nb_lanes == 0);
    metapod::Spatial::unrolled<n / 4>([&](auto k) ORVEK23_INLINE_LAMBDA {
      metapod::Spatial::store_first<4>(H + 4 * k, metapod::Spatial::Lanes{});
    });
  }

  static void joint_space_inertia(Model& model, float* H, int excluded_id) {
    metapod::partial_crba<Model>::run(model, H, excluded_id);
  }

  static void partial_first_moment(Model& model, const BodyTransforms& iX1, int excluded_id,
                                   metapod::Spatial::Vector3& mc_sum) {
    metapod::partial_com<Model>::run(model, iX1.data(), excluded_id, mc_sum);
  }

 private:
  template <std::size_t first, class RootLanes, std::size_t... n>
  ORVEK23_INLINE static void world_poses(const BodyTransforms& iX1, const RootLanes& root,
                                         KT::Math::Transform* poses, std::index_sequence<n...>) {
    using namespace metapod::Spatial;
    const auto body = from_components<RootLanes>(
        load_lanes<12>(std::array{metapod::internal::floats_of(iX1[first + n])...}));
    store_lanes<12>(invProdToKTMath(body, root), std::array{poses[first + n].m...});
  }
};

}  // namespace tavo
