#include "quantities/stance.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>

#include <Eigen/Geometry>
#include <Eigen/LU>

#include "quantities/composite.hpp"
#include "quantities/forces.hpp"

namespace tavo::quantities {
namespace {

/// Force and moment about each foot's origin, root axes.
struct Shared {
  Wrench first, second;
  double share;
};

void add_to(BodyWrenches& feet, const State& state, int foot, const Wrench& wrench_root_axes) {
  // Not the transpose: the plug-in's R is a rotation to single precision only, and what is written
  // in body axes here must come back from them exactly.
  const Matrix3 to_body = state.body(foot).pose.R.inverse();
  feet.col(foot) << to_body * wrench_root_axes.force, to_body * wrench_root_axes.moment;
}

Stance with_feet(const State& state, const BodyWrenches& others, const BodyWrenches& feet,
                 double share) {
  return {inverse_dynamics(state, others + feet).tail<nb_joints>(), feet, share};
}

/// The foot at `a` takes the force f_a and what that leaves of the moment n (about `b`) is m.
Vector3 moment_left(const Vector3& n, const Vector3& a_from_b, const Vector3& f_a) {
  return n - a_from_b.cross(f_a);
}

/// Each foot's share of the beam's load.
Shared share_by_distance(const Vector3& f, const Vector3& n, const Vector3& a_from_b,
                         const Vector3& up) {
  const Vector3 line = a_from_b - up.dot(a_from_b) * up;
  // Zero-moment point on the level through b, from b.
  const Vector3 point = up.cross(n) / up.dot(f);
  const double share = std::clamp(point.dot(line) / line.squaredNorm(), 0.0, 1.0);
  const Vector3 left = moment_left(n, a_from_b, share * f);
  return {{share * f, share * left}, {(1 - share) * f, (1 - share) * left}, share};
}

// |n_a|^2 + |n_b|^2 with n_a + n_b = n - d x f_a is least for n_a = n_b and d x f_a as near to n as
// may be: f_a = n x d / |d|^2 + (any) d.
Shared share_least_moment(const Vector3& f, const Vector3& n, const Vector3& d) {
  const Vector3 f_a = (n.cross(d) + 0.5 * f.dot(d) * d) / d.squaredNorm();
  const double share = f_a.dot(f) / f.squaredNorm();
  if (share <= 0) return {{}, {f, n}, 0};
  if (share >= 1) return {{f, moment_left(n, d, f)}, {}, 1};
  const Vector3 left = moment_left(n, d, f_a);
  return {{f_a, left / 2}, {f - f_a, left / 2}, share};
}

}  // namespace

Stance stance(const State& state, unsigned long foot, const BodyWrenches& others) {
  const int i = Model::checked(foot);
  const Wrench needed = root_wrench(state, others);
  BodyWrenches feet = BodyWrenches::Zero();
  const Vector3 moment = needed.moment - state.body(i).pose.p.cross(needed.force);
  add_to(feet, state, i, {needed.force, moment});
  return with_feet(state, others, feet, 1);
}

Stance stance(const State& state, unsigned long first_foot, unsigned long second_foot,
              Sharing sharing, const BodyWrenches& others) {
  const int a = Model::checked(first_foot), b = Model::checked(second_foot);
  if (a == b) {
    throw std::invalid_argument("both feet are body " + std::to_string(a));
  }
  const Wrench needed = root_wrench(state, others);
  const Vector3& p_b = state.body(b).pose.p;
  const Vector3 a_from_b = state.body(a).pose.p - p_b;
  const Vector3 up = state.root().R.row(2).transpose();
  if (a_from_b.cross(up).norm() < 1e-6) {
    throw std::domain_error("bodies " + std::to_string(a) + " and " + std::to_string(b) +
                            " stand above each other");
  }
  if (!(up.dot(needed.force) > 0)) {
    throw std::domain_error("the motion does not press on the ground");
  }
  const Vector3 n = needed.moment - p_b.cross(needed.force);  // about b
  const Shared shared = sharing == Sharing::by_distance
                            ? share_by_distance(needed.force, n, a_from_b, up)
                            : share_least_moment(needed.force, n, a_from_b);
  BodyWrenches feet = BodyWrenches::Zero();
  add_to(feet, state, a, shared.first);
  add_to(feet, state, b, shared.second);
  return with_feet(state, others, feet, shared.share);
}

}  // namespace tavo::quantities
