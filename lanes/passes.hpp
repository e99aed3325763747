#pragma once

#include "lanes/chains.hpp"
#include "lanes/inertia_table.hpp"
#include "lanes/inverse_dynamics.hpp"
#include "lanes/mass_matrix.hpp"
#include "lanes/partial_jacobian.hpp"
#include "lanes/pass_table.hpp"
#include "lanes/root_kinematics.hpp"
#include "lanes/state.hpp"
#include "lanes/world_poses.hpp"

namespace metapod::lanes {

/// The passes for a model, as this source is compiled.
template <class Model>
constexpr instruction_sets::PassTable pass_table() {
  using S = State<Model>;
  using I = InertiaTable<Model>;
  instruction_sets::PassTable table{
      [](void* state, const void* inertias, const float* q, float* J, float* poses, float* mc_sum) {
        root_kinematics(*static_cast<S*>(state), *static_cast<const I*>(inertias), q, J, poses,
                        mc_sum);
      },
      [](void* state, const float* q, const float* poses_in_root, float* poses) {
        world_poses(*static_cast<S*>(state), q, poses_in_root, poses);
      },
      [](void* state, const void* inertias, const float* q, const float* dq, const float* ddq,
         float* torques) {
        inverse_dynamics(*static_cast<S*>(state), *static_cast<const I*>(inertias), q, dq, ddq,
                         torques);
      },
      [](const void* inertias, const float* poses, int excluded_id, float* mc_sum) {
        partial_first_moment(*static_cast<const I*>(inertias), poses, excluded_id, mc_sum);
      },
      nullptr,
      nullptr};
  if constexpr (is_made_of_chains<Model>) {
    table.mass_matrix = [](const void* state, const void* inertias, float* H) {
      mass_matrix(*static_cast<const S*>(state), *static_cast<const I*>(inertias), H);
    };
    table.partial_jacobian = [](const void* state, const void* inertias, int excluded_id,
                                float* J) {
      partial_jacobian(*static_cast<const S*>(state), *static_cast<const I*>(inertias), excluded_id,
                       J);
    };
  }
  return table;
}

}  // namespace metapod::lanes
