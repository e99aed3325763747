#pragma once

/// The passes of the fast form for one model, compiled for one instruction set. State and inertias
/// are a lanes::State and a lanes::InertiaTable of the model: in every instruction set they have
/// the same layout, but as types of its namespace.
namespace instruction_sets {

struct PassTable {
  void (*root_kinematics)(void* state, const void* inertias, const float* q, float* J, float* poses,
                          float* mc_sum);
  void (*world_poses)(void* state, const float* q, const float* poses_in_root, float* poses);
  void (*inverse_dynamics)(void* state, const void* inertias, const float* q, const float* dq,
                           const float* ddq, float* torques);
  void (*partial_first_moment)(const void* inertias, const float* poses, int excluded_id,
                               float* mc_sum);
  // For models made of chains; else null.
  void (*mass_matrix)(const void* state, const void* inertias, float* H);
  void (*partial_jacobian)(const void* state, const void* inertias, int excluded_id, float* J);
};

}  // namespace instruction_sets
