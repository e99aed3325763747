#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include <Eigen/Core>

#include "algorithms/crba.hpp"
#include "algorithms/fwd_kin_iX1.hpp"
#include "algorithms/jcalc.hpp"
#include "algorithms/partial_com.hpp"
#include "algorithms/partial_crba.hpp"
#include "algorithms/rnea.hpp"
#include "algorithms/traversal.hpp"
#include "host/kt_math_conversions.hpp"
#include "ktmath/ktmath.hpp"
#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/rotation.hpp"
#include "spatial/vector.hpp"

namespace tavo {

template <class Model>
struct DynamicsTypes {
  /// The root's six coordinates, then one a joint.
  using Coordinates = Eigen::Matrix<float, Model::nb_dofs, 1>;
  using Matrix3X = Eigen::Matrix<float, 3, Eigen::Dynamic>;
  using Matrix6X = Eigen::Matrix<float, 6, Eigen::Dynamic>;
  using MatrixX = Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic>;
};

/// J = R (rows 0..2 of the partial mass matrix): linear momentum per unit rate of each coordinate,
/// from the root's axes into the world's. Reads the nodes' sXp.
template <class Model>
void partial_jacobian_by_nodes(Model& model, int excluded_id,
                               typename DynamicsTypes<Model>::Matrix3X& J) {
  constexpr int n = Model::nb_dofs;
  Eigen::Matrix<float, n, n> H = Eigen::Matrix<float, n, n>::Zero();
  metapod::partial_crba<Model>::run(model, H, excluded_id);
  const auto& E = metapod::node<0>(model).sXp.E();
  for (int j = 0; j < n; ++j) {
    const auto p = E.transposed_times(metapod::Spatial::Vector3(H(0, j), H(1, j), H(2, j)));
    J.col(j) << 0 + p.x(), 0 + p.y(), 0 + p.z();  // added to nothing: no zero is negative
  }
}

/// What the adapter asks of a robot, by the visitors of algorithms/ on the nodes of a model. What
/// runs is what the book says, and every field can be looked at.
template <class Model>
class PlainDynamics {
 public:
  using Types = DynamicsTypes<Model>;

  PlainDynamics() : fext_(nb_bodies) {
    iX1_[0] = {metapod::Spatial::RotationMatrix::identity(), {}};
  }

  /// Process-wide; Model::inertias has it already.
  static void set_inertia(unsigned long, const metapod::Spatial::Inertia&) {}
  void set_fext(unsigned long i, const metapod::Spatial::Force& force) { fext_[i] = force; }

  /// Everything relative to the root; poses of all bodies but the root, always to the same place.
  void root_kinematics(const typename Types::Coordinates& q, typename Types::Matrix6X& J,
                       KT::Math::Transform* poses_in_root, metapod::Spatial::Vector3& mc_sum) {
    metapod::depth_first_traversal<metapod::internal::JcalcPosVisitor, Model>::run(model_, q);
    metapod::fwd_kin_iX1<Model>::run(model_, iX1_.data(), J, mc_sum);
    for (std::size_t i = 1; i < nb_bodies; ++i) invToKTMath(iX1_[i], poses_in_root[i]);
  }

  /// The root's transform and all world poses.
  void world_poses(const typename Types::Coordinates& q, KT::Math::Transform* poses) {
    metapod::internal::JcalcPosVisitor<Model, 0>::discover(model_, q);
    const ModelTransform& root = metapod::node<0>(model_).sXp;
    invToKTMath(root, poses[0]);
    for (std::size_t i = 1; i < nb_bodies; ++i) invProdToKTMath(iX1_[i], root, poses[i]);
  }

  /// The joints' entries of torques are handed out; all are written.
  void inverse_dynamics(const typename Types::Coordinates& q, const typename Types::Coordinates& dq,
                        const typename Types::Coordinates& ddq,
                        typename Types::Coordinates& torques) {
    metapod::depth_first_traversal<metapod::internal::JcalcVisitor, Model>::run(model_, q, dq);
    metapod::rnea<Model, false>::run(model_, ddq, fext_.data(), torques);
  }

  /// For the joint positions of the last kinematics or inverse dynamics.
  void mass_matrix(typename Types::MatrixX& H) { metapod::crba<Model, false>::run(model_, H); }

  /// J has 3 rows and a column a coordinate.
  void partial_jacobian(int excluded_id, typename Types::Matrix3X& J) {
    partial_jacobian_by_nodes(model_, excluded_id, J);
  }

  /// Of all bodies but one, root frame, kg m.
  void partial_first_moment(int excluded_id, metapod::Spatial::Vector3& mc_sum) {
    metapod::partial_com<Model>::run(model_, iX1_.data(), excluded_id, mc_sum);
  }

 private:
  static constexpr std::size_t nb_bodies = Model::nb_bodies;

  Model model_;
  std::vector<metapod::Spatial::Force> fext_;    ///< on each body, in its frame
  std::array<ModelTransform, nb_bodies> iX1_{};  ///< root to body
};

}  // namespace tavo
