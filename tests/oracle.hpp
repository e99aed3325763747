#pragma once

#include <vector>

#include <Eigen/Core>
#include <Eigen/Geometry>
#include <Eigen/LU>

/// The reference that every algorithm is compared with: rigid-body mechanics of any tree in double
/// precision, with dense 6 x 6 matrices and plain loops over the parent table. It has no joint
/// kinds and no recursion but that of the poses: everything is a sum over bodies in the root's
/// frame, so it can share no mistake with the recursions it judges.
///
/// Vectors list the angular part first, coordinates the root's linear part first, as in the
/// library.
namespace oracle {

using Vector3 = Eigen::Vector3d;
using Matrix3 = Eigen::Matrix3d;
using Vector6 = Eigen::Matrix<double, 6, 1>;
using Matrix6 = Eigen::Matrix<double, 6, 6>;
using Vector = Eigen::VectorXd;
using Matrix = Eigen::MatrixXd;

/// A body and the joint that carries it, at the placement (E, r) in its parent or in the world: the
/// root floats freely, every other body turns about the z axis. Mass, first moment and inertia
/// about the origin.
struct Body {
  int parent;
  Matrix3 E;
  Vector3 r;
  double m;
  Vector3 h;
  Matrix3 I;
};
using Tree = std::vector<Body>;  // parents first; body i > 0 owns coordinate i + 5

/// The same tree with body i massless.
Tree without(Tree tree, int i);

/// x -> R x + p.
struct Pose {
  Matrix3 R = Matrix3::Identity();
  Vector3 p = Vector3::Zero();

  Vector3 operator*(const Vector3& x) const { return R * x + p; }
  Pose operator*(const Pose& b) const { return {R * b.R, R * b.p + p}; }
};

/// What a joint does to its body, in the body's frame: the motion subspace, a column a coordinate,
/// the velocity across the joint and its bias. Any: the recursions hold for all.
struct Joint {
  Matrix S;
  Vector6 vj, cj;
};
/// Those of the tree at the rates dq.
std::vector<Joint> joints(const Tree& tree, const Vector& dq);

Matrix3 cross(const Vector3& a);
Matrix6 cross(const Vector6& motion);
Matrix6 motion_matrix(const Matrix3& E, const Vector3& r);
Matrix6 inertia_matrix(double m, const Vector3& h, const Matrix3& I);

/// Rates of the coordinates: the root's position and roll, pitch, yaw from its body-frame rates.
Vector coordinate_rates(const Vector& q, const Vector& dq);

/// A tree at the configuration q.
class Configuration {
 public:
  Configuration(const Tree& tree, const Vector& q);

  std::vector<Pose> in_root, in_world;
  Matrix J;  // 6 x n, root frame: column k is the spatial motion of a unit rate of coordinate k
  double mass = 0;
  Vector3 com_root = Vector3::Zero(), com_world;

  /// From the root's frame to that of body i; of motions.
  const Matrix6& to_body(int i) const { return to_body_[i]; }
  /// Inertia of body i and all that it carries, root frame.
  Matrix6 subtree_inertia(int i) const;

  Matrix mass_matrix() const;
  /// 3 x n: linear momentum in world axes per unit rate of each coordinate.
  Matrix momentum_jacobian() const;
  /// In body frames: velocities, accelerations (gravity included) and the forces across the joints;
  /// then the generalized forces. Of fext and tau see below.
  struct Dynamics {
    std::vector<Vector6> v, a, f;
    Vector tau;
  };
  Dynamics dynamics(const std::vector<Joint>& joints, const Vector& ddq,
                    const std::vector<Vector6>& fext) const;
  /// Generalized forces, the root wrench (force first) in entries 0..5; fext[i] acts on body i,
  /// in its frame, moment first.
  Vector inverse_dynamics(const Vector& dq, const Vector& ddq,
                          const std::vector<Vector6>& fext) const;
  /// Kinetic plus potential energy.
  double energy(const Vector& dq) const;

 private:
  Matrix body_jacobian(int i) const;
  /// Whether body i is body k or carried by it.
  bool is_beyond(int k, int i) const;

  const Tree tree_;
  std::vector<Matrix6> inertia_root_, to_body_;
};

}  // namespace oracle
