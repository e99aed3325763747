#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include <Eigen/Core>

#include "algorithms/body_blocks.hpp"
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
#include "spatial/paths.hpp"
#include "spatial/records.hpp"
#include "spatial/vector.hpp"

/// What the adapter computes, pass by pass.
namespace tavo {

template <class Model, class Path>
struct Passes {
  using Block = typename Path::Block;
  using Coordinates = Eigen::Matrix<float, Model::nb_dofs, 1>;
  using BodyTransforms = std::array<ModelTransform, Model::nb_bodies>;

  /// Everything relative to the root; poses of all bodies but the root.
  static void root_relative(Model& model, const Coordinates& q, BodyTransforms& iX1,
                            float* jacobian, metapod::Spatial::Vector3& mc_sum,
                            KT::Math::Transform* poses) {
    typename metapod::jcalc<Model>::Transforms sXp;
    metapod::jcalc<Model>::run(model, q, sXp);
    metapod::fwd_kin_iX1<Model>::template run<Path>(model, sXp, iX1.data(), jacobian, mc_sum);
    for (std::size_t i = 1; i < Model::nb_bodies; ++i) invToKTMath(iX1[i], poses[i]);
  }

  /// The root's transform and all world poses.
  static void world(Model& model, const Coordinates& q, const BodyTransforms& iX1,
                    KT::Math::Transform* poses) {
    metapod::jcalc<Model>::run_root(model, q);
    const ModelTransform& root = metapod::node<0>(model).sXp;  // world to root
    const auto root_lanes = metapod::internal::broadcast<Block>(root);
    invToKTMath(root, poses[0]);
    // As many bodies at a time as there are lanes; the last ones overlap the others. Loops here and
    // above, as there is less to fetch: 6 % of both kinematics passes.
    constexpr std::size_t n = metapod::internal::block_size<Model, Block>,
                          last = Model::nb_bodies - n;
    for (std::size_t i = 1; i < last + n; i += n) {
      const std::size_t first = std::min(i, last);
      const auto body = metapod::internal::load_block<Model, Block>(&iX1[first]);
      metapod::Spatial::store_lanes(invProdToKTMath(body, root_lanes),
                                    metapod::internal::in_block<Model, Block>(
                                        [&](std::size_t k) { return poses[first + k].m; }));
    }
  }

  static void inverse_dynamics(Model& model, const Coordinates& q, const Coordinates& dq,
                               const Coordinates& ddq, const metapod::Spatial::Force* fext,
                               Coordinates& torques) {
    typename metapod::jcalc<Model>::Transforms sXp;
    metapod::jcalc<Model>::run(model, q, dq, sXp);
    metapod::rnea<Model, false>::template run<Path>(model, sXp, dq, ddq, fext, torques);
  }

  static void joint_space_inertia(Model& model, float* H, int excluded_id) {
    metapod::partial_crba<Model>::template run<Path>(model, H, excluded_id);
  }

  static void partial_first_moment(Model& model, const BodyTransforms& iX1, int excluded_id,
                                   metapod::Spatial::Vector3& mc_sum) {
    metapod::partial_com<Model>::template run<Path>(model, iX1.data(), excluded_id, mc_sum);
  }
};

/// The passes for this machine.
template <class Model>
struct Compiled {
 private:
  using A = Passes<Model, metapod::Spatial::Baseline>;
  using B = Passes<Model, metapod::Spatial::Avx2>;

 public:
  using RootRelative = Chosen<A::root_relative, B::root_relative>;
  using World = Chosen<A::world, B::world>;
  using InverseDynamics = Chosen<A::inverse_dynamics, B::inverse_dynamics>;
  using JointSpaceInertia = Chosen<A::joint_space_inertia, B::joint_space_inertia>;
  using PartialFirstMoment = Chosen<A::partial_first_moment, B::partial_first_moment>;
};

}  // namespace tavo
