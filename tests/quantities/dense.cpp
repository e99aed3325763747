#include "tests/quantities/dense.hpp"

#include <Eigen/Geometry>

namespace dense {

std::vector<Vector6> no_wrenches() {
  return std::vector<Vector6>(test::kBodies, Vector6::Zero());
}

Motion::Motion(const Tree& t, const Vector& q_, const Vector& dq_, const Vector& ddq_)
    : at(t, q_), tree(t), q(q_), dq(dq_), ddq(ddq_), R(at.in_world[0].R) {}

Matrix Motion::body_jacobian(int i) const {
  Matrix J = Matrix::Zero(6, at.J.cols());
  J.leftCols<6>() = at.J.leftCols<6>();
  for (int k = i; k > 0; k = tree[k].parent) J.col(k + 5) = at.J.col(k + 5);
  return J;
}

Vector6 Motion::drift(int i) const {
  Vector6 sum = Vector6::Zero();
  for (int k = i; k > 0; k = tree[k].parent) {
    sum += oracle::cross(velocity(k)) * at.J.col(k + 5) * dq[k + 5];
  }
  return sum;
}

Vector Motion::forces(const Vector& rates, const Vector& accelerations) const {
  return at.inverse_dynamics(rates, accelerations, no_wrenches());
}

Vector6 Motion::world_wrench(const Vector& forces, const Vector3& point_world) const {
  const Vector3 f = R * forces.head<3>();
  Vector6 wrench;
  wrench << R * forces.segment<3>(3) + (q.head<3>() - point_world).cross(f), f;
  return wrench;
}

Vector6 Motion::momentum_rate(const Vector& forces) const {
  Vector6 rate = world_wrench(forces, at.com_world);
  rate[5] -= 9.81 * at.mass;
  return rate;
}

std::vector<HostInertia> host_inertias(std::mt19937& random) {
  std::uniform_real_distribution<float> uniform(-1, 1);
  std::vector<HostInertia> all;
  for (int i = 0; i < test::kBodies; ++i) {
    const auto number = [&] { return uniform(random); };
    const Eigen::Matrix3f A = Eigen::Matrix3f::NullaryExpr(number);
    const Eigen::Vector3f com = 0.05f * Eigen::Vector3f::NullaryExpr(number);
    // A A^T is symmetric to the bit only up to rounding: the lower triangle counts.
    Eigen::Matrix3f at_com = 1e-3f * A * A.transpose();
    at_com.triangularView<Eigen::StrictlyUpper>() = at_com.transpose();
    all.push_back({0.3f + 0.2f * number(), com, at_com});
  }
  return all;
}

Tree with(Tree tree, const std::vector<HostInertia>& inertias) {
  for (std::size_t i = 0; i < tree.size(); ++i) {
    const Vector3 c = inertias[i].com.cast<double>();
    tree[i].m = inertias[i].mass;
    tree[i].h = tree[i].m * c;
    tree[i].I = inertias[i].at_com.cast<double>() - tree[i].m * oracle::cross(c) * oracle::cross(c);
  }
  return tree;
}

}  // namespace dense
