#include "quantities/inverse_kinematics.hpp"

#include <algorithm>
#include <cmath>
#include <random>
#include <stdexcept>
#include <string>

#include <Eigen/Cholesky>
#include <Eigen/Geometry>

#include "quantities/frames.hpp"
#include "quantities/momentum.hpp"

namespace tavo::quantities {
namespace {

constexpr double longest_step = 0.5;  // rad, m: farther than that the Jacobian says little

void require_finite(const Vector3& target) {
  if (!target.allFinite()) throw std::invalid_argument("target is not finite");
}

/// The turn (world axes, rad) that takes R to the target's axes.
Vector3 turn_to(const Matrix3& target, const Matrix3& R) {
  return rotation_vector(target * R.transpose());
}

}  // namespace

Moving whole_body() {
  return Moving::Constant(true);
}

Moving chain_to(const Model& model, unsigned long body) {
  Moving moving = Moving::Constant(false);
  for (int i = Model::checked(body); i > 0; i = model.parent(i)) moving[coordinate_of(i)] = true;
  return moving;
}

InverseKinematics::InverseKinematics(RigidBodySystem& system)
    : system_(system), state_(system), joints_(nb_joints) {}

void InverseKinematics::clear() {
  nb_targets_ = 0;
  com_has_target_ = false;
}

void InverseKinematics::reach(const BodyPoint& point, const Pose& target_world) {
  const Matrix3& R = target_world.R;
  if (!(R * R.transpose()).isIdentity(1e-5) || R.determinant() < 0) {
    throw std::invalid_argument("target of body " + std::to_string(point.body) +
                                " is not a rotation");
  }
  add({point, target_world, true});
}

void InverseKinematics::reach(const BodyPoint& point, const Vector3& target_world) {
  add({point, {Matrix3::Identity(), target_world}, false});
}

void InverseKinematics::reach_com(const Vector3& target_world) {
  require_finite(target_world);
  com_target_ = target_world;
  com_has_target_ = true;
}

void InverseKinematics::add(const Target& target) {
  Model::checked(target.point.body);
  require_finite(target.pose.p);
  require_finite(target.point.position);
  if (nb_targets_ == most_targets) {
    throw std::invalid_argument("more than " + std::to_string(most_targets) + " targets");
  }
  targets_[nb_targets_++] = target;
}

void InverseKinematics::check() const {
  if (nb_targets_ == 0 && !com_has_target_) throw std::invalid_argument("no target to reach");
  for (int j = 0; j < nb_joints; ++j) {
    if (!(options.lower[j] <= options.upper[j])) {
      throw std::invalid_argument("lower limit of joint angle " + std::to_string(j) +
                                  " is above the upper one");
    }
  }
}

InverseKinematics::Result InverseKinematics::solve() {
  check();
  const Configuration start = limited(configuration_of(system_));
  Result best = search(start);
  for (int attempt = 1; attempt < options.most_attempts && !best.reached; ++attempt) {
    const Result next = search(shaken(start, attempt));
    const int iterations = best.iterations + next.iterations;
    const auto left = [](const Result& result) {
      return std::max(result.position_error, result.orientation_error);
    };
    if (next.reached || left(next) < left(best)) best = next;
    best.iterations = iterations;
  }
  go_to(best.configuration);
  return best;
}

void InverseKinematics::go_to(const Configuration& configuration) {
  std::transform(configuration.joints.begin(), configuration.joints.end(), joints_.begin(),
                 [](double q) { return static_cast<float>(q); });
  system_.setRootPose(to_host(configuration.root));
  system_.setJointAnglesPos(joints_);
  system_.computeFwdKinematics();
  state_.update(Coordinates::Zero(), Coordinates::Zero());
}

InverseKinematics::Errors InverseKinematics::errors() const {
  Errors errors{0, 0, 0};
  for (std::size_t t = 0; t < nb_targets_; ++t) {
    const Target& target = targets_[t];
    const double distance = (target.pose.p - position(state_, target.point)).norm();
    errors.squares += distance * distance;
    errors.position = std::max(errors.position, distance);
    if (!target.oriented) continue;
    const Matrix3 R = state_.pose(static_cast<int>(target.point.body)).R;
    const double angle = turn_to(target.pose.R, R).norm();
    errors.squares += angle * angle;
    errors.orientation = std::max(errors.orientation, angle);
  }
  if (com_has_target_) {
    const double distance = (com_target_ - com_position(state_)).norm();
    errors.squares += distance * distance;
    errors.position = std::max(errors.position, distance);
  }
  return errors;
}

/// J^T J and J^T e of all targets, at the system's configuration.
void InverseKinematics::normal_equations() {
  JtJ_.setZero();
  Jte_.setZero();
  const auto add_rows = [this](const LinearJacobian& J, const Vector3& e) {
    JtJ_ += J.transpose().lazyProduct(J);
    Jte_ += J.transpose().lazyProduct(e);
  };
  for (std::size_t t = 0; t < nb_targets_; ++t) {
    const Target& target = targets_[t];
    const Jacobian J = jacobian(state_, target.point, Frame::world_at_point);
    add_rows(J.bottomRows<3>(), target.pose.p - position(state_, target.point));
    if (!target.oriented) continue;
    const Matrix3 R = state_.pose(static_cast<int>(target.point.body)).R;
    add_rows(J.topRows<3>(), turn_to(target.pose.R, R));
  }
  if (com_has_target_) add_rows(com_jacobian(state_), com_target_ - com_position(state_));
}

/// What may move and is not pressed against a limit.
Moving InverseKinematics::moving_from(const Configuration& at) const {
  Moving moving = options.moving;
  for (int j = 0; j < nb_joints; ++j) {
    const double push = Jte_[6 + j];
    if (at.joints[j] >= options.upper[j] && push > 0) moving[6 + j] = false;
    if (at.joints[j] <= options.lower[j] && push < 0) moving[6 + j] = false;
  }
  return moving;
}

Configuration InverseKinematics::stepped(const Configuration& at, double damping) const {
  const Moving moving = moving_from(at);
  MassMatrix A = JtJ_;
  Coordinates b = Jte_;
  A.diagonal().array() += damping;
  for (int k = 0; k < nb_dofs; ++k) {
    if (moving[k]) continue;
    A.row(k).setZero();
    A.col(k).setZero();
    A(k, k) = 1;
    b[k] = 0;
  }
  Coordinates step = A.ldlt().solve(b);
  const double longest = step.cwiseAbs().maxCoeff();
  if (longest > longest_step) step *= longest_step / longest;
  return limited(moved(at, step));
}

InverseKinematics::Result InverseKinematics::search(const Configuration& start) {
  Configuration at = start;
  go_to(at);
  Errors now = errors();
  double damping = 1e-3, growth = 2;
  int iterations = 0;
  // Beyond the tolerance it goes on while single precision lets it come nearer.
  while (iterations < options.most_iterations && !now.within(options.tolerance / 4) &&
         damping < 1e6) {
    ++iterations;
    normal_equations();
    const Coordinates push = moving_from(at).select(Jte_, 0);
    if (push.cwiseAbs().maxCoeff() < 1e-3 * options.tolerance) break;
    const Configuration next = stepped(at, damping);
    go_to(next);
    const Errors then = errors();
    if (then.squares < now.squares) {
      at = next;
      now = then;
      damping = std::max(damping / 5, 1e-9);
      growth = 2;
    } else {
      if (now.within(options.tolerance)) break;
      go_to(at);
      damping *= growth;
      growth *= 2;
    }
  }
  return {now.within(options.tolerance), now.position, now.orientation, iterations, at};
}

Configuration InverseKinematics::limited(Configuration configuration) const {
  configuration.joints = configuration.joints.cwiseMax(options.lower).cwiseMin(options.upper);
  return configuration;
}

Configuration InverseKinematics::shaken(const Configuration& start, int attempt) const {
  std::minstd_rand random(static_cast<unsigned>(attempt));
  Configuration at = start;
  for (int j = 0; j < nb_joints; ++j) {
    const double part = static_cast<double>(random()) / static_cast<double>(random.max());
    if (options.moving[6 + j]) at.joints[j] += 1.4 * part - 0.7;
  }
  return limited(at);
}

}  // namespace tavo::quantities
