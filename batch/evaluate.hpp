#pragma once

#include <array>
#include <cstddef>
#include <ktmath/ktmath.hpp>
#include <new>

#include "algorithms/crba.hpp"
#include "algorithms/fwd_kin_iX1.hpp"
#include "algorithms/jcalc.hpp"
#include "algorithms/partial_com.hpp"
#include "algorithms/partial_crba.hpp"
#include "algorithms/rnea.hpp"
#include "algorithms/traversal.hpp"
#include "batch/kernel.hpp"
#include "batch/mass_matrix.hpp"
#include "batch/rows.hpp"
#include "batch/states.hpp"
#include "model/model.hpp"
#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/pose.hpp"
#include "spatial/rotation.hpp"
#include "spatial/transform.hpp"

/// The visitors of algorithms/ on lanes of states: what the plug-in's operations do, in their
/// order.
namespace metapod::batch {

/// A robot in many states, whose inertias are those of a call.
template <class Robot>
class Model : public metapod::Model<Robot, States> {
 public:
  template <int id>
  Spatial::InertiaT<States> inertia() const {
    const auto& e = inertias[id];
    const auto s = [&](int k) { return States(e[k]); };
    return {s(0), {s(1), s(2), s(3)}, {s(4), s(5), s(6), s(7), s(8), s(9)}};
  }

  const tavo::batch::SpatialInertia* inertias = nullptr;
};

/// A matrix of States, column-major, and all zero at first.
template <int nb_rows, int nb_columns>
struct Matrix {
  States& operator()(int i, int j) { return e[static_cast<std::size_t>(i + nb_rows * j)]; }

  std::array<States, nb_rows * nb_columns> e{};
};

template <class Robot>
class Evaluation {
 public:
  using Inputs = tavo::batch::Inputs;
  using Outputs = tavo::batch::Outputs;

  void run(const Inputs& in, const tavo::batch::SpatialInertia* inertias, float mass,
           const Outputs& out, std::size_t first) {
    const Block block{first, in.nb_states, in.nb_states >= streamed_from};
    model_.inertias = inertias;
    load_coordinates(in, block);
    if (out.torques || out.poses || out.com || out.poses_in_root || out.com_in_root ||
        out.jacobian || out.mass_matrix || out.mass_matrix_packed || out.partial_com_in_root ||
        out.partial_com_jacobian) {
      joint_calculation();
    }
    kinematics(mass, out, block);
    if (out.torques) {
      load_wrenches(in, block);
      inverse_dynamics();
      store(
          nb_dofs, [&](std::size_t i) -> const auto& { return torques_[i]; }, block, out.torques);
    }
    if (out.mass_matrix || out.mass_matrix_packed) mass_matrix(out, block);
    if (out.partial_com_jacobian) partial_jacobian(out, block);
  }

 private:
  using M = Model<Robot>;
  using Transform = Spatial::TransformT<Spatial::RotationMatrixT<States>>;
  static constexpr std::size_t nb_bodies = M::nb_bodies, nb_dofs = M::nb_dofs, pose_size = 12;

  // Each a function with all that it calls.
  ORVEK23_WHOLE void joint_calculation() {
    depth_first_traversal<metapod::internal::JcalcVisitor, M>::run(model_, q_, dq_);
  }
  ORVEK23_WHOLE void root_kinematics(std::array<States, 3>& mc_sum) {
    fwd_kin_iX1<M>::run(model_, iX1_.data(), J_, mc_sum);
  }
  ORVEK23_WHOLE void world_poses() {
    const Transform& root = node<0>(model_).sXp;
    put_pose(0, Spatial::pose_of(root));
    for (std::size_t i = 1; i < nb_bodies; ++i) {
      put_pose(i, Spatial::pose_of_product(iX1_[i], root));
    }
  }
  ORVEK23_WHOLE void inverse_dynamics() {
    rnea<M, false>::run(model_, ddq_, fext_.data(), torques_);
  }
  ORVEK23_WHOLE void joint_space_inertia() { crba<M, false>::run(model_, H_); }
  ORVEK23_WHOLE void partial_joint_space_inertia(int excluded_id) {
    partial_crba<M>::run(model_, H_, excluded_id);
  }

  /// States whose largest results, 4 kB each, outgrow a second-level cache.
  static constexpr std::size_t streamed_from = 1000;

  void load_coordinates(const Inputs& in, const Block& block) {
    load(in.q, block, nb_dofs, q_.data());
    if (in.root_pose) load_root_pose(in, block);
    in.dq ? load(in.dq, block, nb_dofs, dq_.data()) : dq_.fill(States());
    in.ddq ? load(in.ddq, block, nb_dofs, ddq_.data()) : ddq_.fill(States());
  }

  /// Split into coordinates as the plug-in does, by the host's library.
  void load_root_pose(const Inputs& in, const Block& block) {
    std::array<States::Vector, 6> e{};
    for (std::size_t lane = 0; lane < States::size; ++lane) {
      KT::Math::Transform pose;
      const float* row =
          in.root_pose.data + static_cast<std::ptrdiff_t>(block.state(lane)) * in.root_pose.stride;
      for (std::size_t k = 0; k < pose_size; ++k) pose.m[k] = row[k];
      const KT::Math::Position6D p = KT::Math::position6DFromTransform(pose);
      const float six[] = {p.x, p.y, p.z, p.alpha, p.beta, p.gamma};
      for (std::size_t k = 0; k < e.size(); ++k) e[k][lane] = six[k];
    }
    for (std::size_t k = 0; k < e.size(); ++k) q_[k] = e[k];
  }

  /// The caller lists the force first, a spatial force the moment.
  void load_wrenches(const Inputs& in, const Block& block) {
    fext_.fill({});
    for (std::size_t k = 0; k < in.nb_wrenches; ++k) {
      std::array<States, 6> w;
      load(in.wrenches[k].rows, block, w.size(), w.data());
      fext_[in.wrenches[k].body] = {{w[3], w[4], w[5]}, {w[0], w[1], w[2]}};
    }
  }

  void kinematics(float mass, const Outputs& out, const Block& block) {
    if (!(out.poses || out.com || out.poses_in_root || out.com_in_root || out.jacobian ||
          out.partial_com_in_root)) {
      return;
    }
    iX1_[0] = {Spatial::RotationMatrixT<States>::identity(), {}};
    std::array<States, 3> mc_sum, com;
    root_kinematics(mc_sum);
    for (int k = 0; k < 3; ++k) com[k] = States(1 / mass) * mc_sum[k];
    const auto each = [](const auto& e) {
      return [&e](std::size_t i) -> const auto& {
        return e[i];
      };
    };
    if (out.com_in_root) store(3, each(com), block, out.com_in_root);
    if (out.jacobian) store(6 * nb_dofs, each(J_.e), block, out.jacobian);
    if (out.poses_in_root) {
      for (std::size_t i = 0; i < nb_bodies; ++i) put_pose(i, Spatial::pose_of(iX1_[i]));
      store(pose_size * nb_bodies, each(poses_), block, out.poses_in_root);
    }
    if (out.poses) {
      world_poses();
      store(pose_size * nb_bodies, each(poses_), block, out.poses);
    }
    if (out.com) store_com(com, block, out.com);
    if (out.partial_com_in_root) {
      const int excluded = static_cast<int>(out.partial_body);
      partial_com<M>::run(model_, iX1_.data(), excluded, mc_sum);
      const float rest = mass - model_.inertias[excluded][0];
      for (int k = 0; k < 3; ++k) com[k] = States(1 / rest) * mc_sum[k];
      store(3, each(com), block, out.partial_com_in_root);
    }
  }

  void put_pose(std::size_t i, const Spatial::PoseT<States>& pose) {
    for (std::size_t k = 0; k < pose_size; ++k) poses_[pose_size * i + k] = pose[k];
  }

  /// The root's pose on the centre of mass, by the host's library.
  void store_com(const std::array<States, 3>& com_in_root, const Block& block,
                 const tavo::batch::Out& out) {
    const auto root = Spatial::pose_of(node<0>(model_).sXp);
    for (std::size_t lane = 0; lane < block.used(); ++lane) {
      KT::Math::Transform pose;
      for (std::size_t k = 0; k < pose_size; ++k) pose.m[k] = root[k].lanes()[lane];
      const auto c = [&](std::size_t k) { return com_in_root[k].lanes()[lane]; };
      const KT::Math::Position3D com = pose * KT::Math::Position3D(c(0), c(1), c(2));
      float* row = out.data + static_cast<std::ptrdiff_t>(block.state(lane)) * out.stride;
      row[0] = com.x;
      row[1] = com.y;
      row[2] = com.z;
    }
  }

  void mass_matrix(const Outputs& out, const Block& block) {
    joint_space_inertia();
    if (out.mass_matrix) {
      store(
          nb_dofs * nb_dofs, [&](std::size_t i) -> const auto& { return H_.entry(i); }, block,
          out.mass_matrix);
    }
    if (out.mass_matrix_packed) {
      static constexpr auto entry = [] {
        std::array<std::size_t, nb_dofs*(nb_dofs + 1) / 2> at{};
        std::size_t k = 0;
        for (std::size_t i = 0; i < nb_dofs; ++i) {
          for (std::size_t j = 0; j <= i; ++j) at[k++] = i + nb_dofs * j;
        }
        return at;
      }();
      store(
          entry.size(), [&](std::size_t i) -> const auto& { return H_.entry(entry[i]); }, block,
          out.mass_matrix_packed);
    }
  }

  /// R (rows 0..2), summed as the general product of matrices that the plug-in's operation has.
  void partial_jacobian(const Outputs& out, const Block& block) {
    partial_joint_space_inertia(static_cast<int>(out.partial_body));
    const auto& E = node<0>(model_).sXp.E();
    for (int j = 0; j < static_cast<int>(nb_dofs); ++j) {
      for (int i = 0; i < 3; ++i) {
        partial_J_(i, j) =
            States() + (E(0, i) * H_(0, j) + E(1, i) * H_(1, j) + E(2, i) * H_(2, j));
      }
    }
    store(
        3 * nb_dofs, [&](std::size_t i) -> const auto& { return partial_J_.e[i]; }, block,
        out.partial_com_jacobian);
  }

  M model_;
  std::array<States, nb_dofs> q_, dq_, ddq_, torques_;
  std::array<Spatial::ForceT<States>, nb_bodies> fext_;
  std::array<Transform, nb_bodies> iX1_;
  std::array<States, pose_size * nb_bodies> poses_;
  Matrix<6, M::nb_dofs> J_ = root_columns();
  MassMatrix<Robot> H_;
  Matrix<3, M::nb_dofs> partial_J_;

  /// The root's motion subspace: coordinates linear first, motions angular first.
  static Matrix<6, M::nb_dofs> root_columns() {
    Matrix<6, M::nb_dofs> J;
    for (int k = 0; k < 3; ++k) J(3 + k, k) = J(k, 3 + k) = States(1);
    return J;
  }
};

/// As this source is compiled.
template <class Robot>
constexpr tavo::batch::Kernel kernel() {
  using E = Evaluation<Robot>;
  return {
      States::size, sizeof(E), alignof(E), [](void* workspace) { new (workspace) E; },
      [](void* workspace, const tavo::batch::Inputs& in,
         const tavo::batch::SpatialInertia* inertias, float mass, const tavo::batch::Outputs& out,
         std::size_t first) { static_cast<E*>(workspace)->run(in, inertias, mass, out, first); }};
}

}  // namespace metapod::batch
