#pragma once

#include <Eigen/Core>

#include "algorithms/crba.hpp"
#include "algorithms/partial_crba.hpp"
#include "host/instruction_sets.hpp"
#include "host/plain_dynamics.hpp"
#include "ktmath/ktmath.hpp"
#include "lanes/chains.hpp"
#include "lanes/inertia_table.hpp"
#include "lanes/nodes.hpp"
#include "lanes/state.hpp"
#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/vector.hpp"

namespace tavo {

/// What the adapter asks of a robot, by the passes of lanes/: what PlainDynamics says, with the
/// same bits in every result.
template <class Model, class Passes = instruction_sets::Chosen<Model>>
class LaneDynamics {
 public:
  using Types = DynamicsTypes<Model>;

  static void set_inertia(unsigned long i, const metapod::Spatial::Inertia& inertia) {
    inertias_.set(i, inertia);
  }
  void set_fext(unsigned long i, const metapod::Spatial::Force& force) {
    state_.set_fext(i, force);
  }

  void root_kinematics(const typename Types::Coordinates& q, typename Types::Matrix6X& J,
                       KT::Math::Transform* poses_in_root, metapod::Spatial::Vector3& mc_sum) {
    Passes::passes.root_kinematics(&state_, &inertias_, q.data(), J.data(), poses_in_root->m,
                                   &mc_sum[0]);
    iX1_ = poses_in_root->m;
  }
  void world_poses(const typename Types::Coordinates& q, KT::Math::Transform* poses) {
    Passes::passes.world_poses(&state_, q.data(), iX1_, poses->m);
  }
  void inverse_dynamics(const typename Types::Coordinates& q, const typename Types::Coordinates& dq,
                        const typename Types::Coordinates& ddq,
                        typename Types::Coordinates& torques) {
    Passes::passes.inverse_dynamics(&state_, &inertias_, q.data(), dq.data(), ddq.data(),
                                    torques.data());
  }
  void mass_matrix(typename Types::MatrixX& H) const {
    if constexpr (metapod::lanes::is_made_of_chains<Model>) {
      Passes::passes.mass_matrix(&state_, &inertias_, H.data());
    } else {
      Model model;
      metapod::lanes::store_transforms(state_, model);
      metapod::crba<Model, false>::run(model, H);
    }
  }
  void partial_jacobian(int excluded_id, typename Types::Matrix3X& J) const {
    if constexpr (metapod::lanes::is_made_of_chains<Model>) {
      Passes::passes.partial_jacobian(&state_, &inertias_, excluded_id, J.data());
    } else {
      Model model;
      metapod::lanes::store_transforms(state_, model);
      partial_jacobian_by_nodes(model, excluded_id, J);
    }
  }
  void partial_first_moment(int excluded_id, metapod::Spatial::Vector3& mc_sum) const {
    Passes::passes.partial_first_moment(&inertias_, iX1_, excluded_id, &mc_sum[0]);
  }

 private:
  static constexpr float nowhere_[Model::nb_bodies * metapod::lanes::pose_size]{};

  metapod::lanes::State<Model> state_;
  /// The transforms from the root, as the caller's poses have them; all zero before there are any.
  const float* iX1_ = nowhere_;
  /// Shared by all objects, like the model's own table.
  static inline constinit metapod::lanes::InertiaTable<Model> inertias_{Model::built_in_inertias()};
};

}  // namespace tavo
