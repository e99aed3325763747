#include "tests/oracle.hpp"

#include <cmath>

#include <Eigen/Geometry>

namespace oracle {
namespace {

constexpr double gravity = 9.81f;  // the float, as all numbers of the model

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

std::vector<Joint> joints(const Tree& tree, const Vector& dq) {
  std::vector<Joint> all;
  for (int i = 0; i < static_cast<int>(tree.size()); ++i) {
    Matrix S = Matrix::Zero(6, i == 0 ? 6 : 1);
    if (i == 0) {
      S << Matrix3::Zero(), Matrix3::Identity(), Matrix3::Identity(), Matrix3::Zero();
    } else {
      S(2, 0) = 1;
    }
    const Vector6 vj = S * dq.segment(i == 0 ? 0 : i + 5, S.cols());
    all.push_back({S, vj, Vector6::Zero()});
  }
  return all;
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
  const Pose placement{tree[0].E.transpose(), tree[0].r};
  const Pose root = placement * Pose{orientation(q), q.head<3>()};
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

bool Configuration::is_beyond(int k, int i) const {
  while (i > k) i = tree_[i].parent;
  return i == k;
}

Matrix6 Configuration::subtree_inertia(int i) const {
  Matrix6 sum = Matrix6::Zero();
  for (int k = i; k < static_cast<int>(tree_.size()); ++k) {
    if (is_beyond(i, k)) sum += inertia_root_[k];
  }
  return sum;
}

Configuration::Dynamics Configuration::dynamics(const std::vector<Joint>& joints, const Vector& ddq,
                                                const std::vector<Vector6>& fext) const {
  const int bodies = static_cast<int>(tree_.size());
  Vector6 minus_g;
  minus_g << Vector3::Zero(), in_world[0].R.transpose() * Vector3(0, 0, gravity);
  Dynamics d{{}, {}, {}, Vector::Zero(J.cols())};
  std::vector<Vector6> v, f;  // in the root's frame, f of the body alone
  for (int i = 0; i < bodies; ++i) {
    v.emplace_back(Vector6::Zero());
    Vector6 a = minus_g;
    for (int k = 0; k <= i; ++k) {
      if (!is_beyond(k, i)) continue;
      const Joint& joint = joints[k];
      const Matrix6 to_root = to_body_[k].inverse();
      const Vector6 vj = to_root * joint.vj;
      v[i] += vj;
      // The derivative of a joint's axes, fixed in body k, is v_k x S_k.
      a += to_root * (joint.S * ddq.segment(k == 0 ? 0 : k + 5, joint.S.cols()) + joint.cj) +
           cross(v[k]) * vj;
    }
    f.push_back(inertia_root_[i] * a - cross(v[i]).transpose() * (inertia_root_[i] * v[i]) -
                to_body_[i].transpose() * fext[i]);
    d.v.push_back(to_body_[i] * v[i]);
    d.a.push_back(to_body_[i] * a);
  }
  for (int i = 0; i < bodies; ++i) {
    Vector6 across = Vector6::Zero();
    for (int k = i; k < bodies; ++k) {
      if (is_beyond(i, k)) across += f[k];
    }
    d.f.push_back(to_body_[i].inverse().transpose() * across);
    d.tau.segment(i == 0 ? 0 : i + 5, joints[i].S.cols()) = joints[i].S.transpose() * d.f[i];
  }
  return d;
}

Vector Configuration::inverse_dynamics(const Vector& dq, const Vector& ddq,
                                       const std::vector<Vector6>& fext) const {
  return dynamics(joints(tree_, dq), ddq, fext).tau;
}

double Configuration::energy(const Vector& dq) const {
  return 0.5 * dq.dot(mass_matrix() * dq) + gravity * mass * com_world.z();
}

}  // namespace oracle
