#include "tests/oracle.hpp"

#include <cmath>

#include <Eigen/Geometry>

namespace oracle {
namespace {

constexpr double gravity = 9.81;

Matrix3 turn(double angle, const Vector3& axis) {
  return Eigen::AngleAxisd(angle, axis).toRotationMatrix();
}

// R = Rz(yaw) Ry(pitch) Rx(roll), from root coordinates 3 to 5.
Matrix3 orientation(const Vector& q) {
  return turn(q[5], Vector3::UnitZ()) * turn(q[4], Vector3::UnitY()) * turn(q[3], Vector3::UnitX());
}

}  // namespace

Tree without(Tree tree, int i) {
  Body& body = tree[i];
  body.m = 0;
  body.h.setZero();
  body.I.setZero();
  return tree;
}

Matrix3 cross(const Vector3& a) {
  Matrix3 m;
  m << 0, -a.z(), a.y(), a.z(), 0, -a.x(), -a.y(), a.x(), 0;
  return m;
}

Matrix6 cross(const Vector6& motion) {
  const Matrix3 w = cross(Vector3(motion.head<3>())), v = cross(Vector3(motion.tail<3>()));
  Matrix6 m;
  m << w, Matrix3::Zero(), v, w;
  return m;
}

Matrix6 motion_matrix(const Matrix3& E, const Vector3& r) {
  Matrix6 m;
  m << E, Matrix3::Zero(), -E * cross(r), E;
  return m;
}

Matrix6 inertia_matrix(double m, const Vector3& h, const Matrix3& I) {
  Matrix6 matrix;
  matrix << I, cross(h), -cross(h), m * Matrix3::Identity();
  return matrix;
}

Vector coordinate_rates(const Vector& q, const Vector& dq) {
  const double roll = q[3], pitch = q[4];
  const Vector3 w = dq.segment<3>(3);
  const double about_yaw = (std::sin(roll) * w.y() + std::cos(roll) * w.z()) / std::cos(pitch);
  Vector rates = dq;
  rates.head<3>() = orientation(q) * dq.head<3>();
  rates[3] = w.x() + std::sin(pitch) * about_yaw;
  rates[4] = std::cos(roll) * w.y() - std::sin(roll) * w.z();
  rates[5] = about_yaw;
  return rates;
}

Configuration::Configuration(const Tree& tree, const Vector& q) : tree_(tree) {
  const int bodies = static_cast<int>(tree.size());
  J = Matrix::Zero(6, bodies + 5);
  J.block<3, 3>(3, 0).setIdentity();
  J.block<3, 3>(0, 3).setIdentity();
  const Pose root{orientation(q), q.head<3>()};
  for (int i = 0; i < bodies; ++i) {
    const Body& body = tree[i];
    if (i == 0) {
      in_root.emplace_back();
    } else {
      const Pose in_parent{body.E.transpose() * turn(q[i + 5], Vector3::UnitZ()), body.r};
      in_root.push_back(in_root[body.parent] * in_parent);
      const Vector3 axis = in_root[i].R.col(2);
      J.col(i + 5) << axis, in_root[i].p.cross(axis);
    }
    in_world.push_back(root * in_root[i]);
    to_body_.push_back(motion_matrix(in_root[i].R.transpose(), in_root[i].p));
    inertia_root_.push_back(to_body_[i].transpose() * inertia_matrix(body.m, body.h, body.I) *
                            to_body_[i]);
    mass += body.m;
    com_root += in_root[i].R * body.h + body.m * in_root[i].p;
  }
  com_root /= mass;
  com_world = root * com_root;
}

Matrix Configuration::body_jacobian(int i) const {
  Matrix Ji = Matrix::Zero(6, J.cols());
  Ji.leftCols<6>() = J.leftCols<6>();
  for (int k = i; k > 0; k = tree_[k].parent) Ji.col(k + 5) = J.col(k + 5);
  return Ji;
}

Matrix Configuration::mass_matrix() const {
  Matrix H = Matrix::Zero(J.cols(), J.cols());
  for (int i = 0; i < static_cast<int>(tree_.size()); ++i) {
    const Matrix Ji = body_jacobian(i);
    H += Ji.transpose() * inertia_root_[i] * Ji;
  }
  return H;
}

Matrix Configuration::momentum_jacobian() const {
  Matrix momentum = Matrix::Zero(6, J.cols());
  for (int i = 0; i < static_cast<int>(tree_.size()); ++i) {
    momentum += inertia_root_[i] * body_jacobian(i);
  }
  return in_world[0].R * momentum.bottomRows<3>();
}

Vector Configuration::inverse_dynamics(const Vector& dq, const Vector& ddq,
                                       const std::vector<Vector6>& fext) const {
  Vector6 minus_g;
  minus_g << Vector3::Zero(), in_world[0].R.transpose() * Vector3(0, 0, gravity);
  Vector tau = Vector::Zero(J.cols());
  std::vector<Vector6> v;
  for (int i = 0; i < static_cast<int>(tree_.size()); ++i) {
    const Matrix Ji = body_jacobian(i);
    v.push_back(Ji * dq);
    // The derivative of a joint's axis, fixed in body k, is v_k x S_k.
    Vector6 a = Ji * ddq + minus_g;
    for (int k = i; k > 0; k = tree_[k].parent) a += cross(v[k]) * J.col(k + 5) * dq[k + 5];
    const Vector6 f = inertia_root_[i] * a - cross(v[i]).transpose() * (inertia_root_[i] * v[i]) -
                      to_body_[i].transpose() * fext[i];
    tau += Ji.transpose() * f;
  }
  return tau;
}

double Configuration::energy(const Vector& dq) const {
  return 0.5 * dq.dot(mass_matrix() * dq) + gravity * mass * com_world.z();
}

}  // namespace oracle
