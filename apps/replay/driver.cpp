#include "apps/replay/driver.hpp"

#include <utility>

namespace replay {
namespace motion = tavo::motion;
namespace {

KT::Math::Transform pose(const motion::Sample& sample) {
  KT::Math::Transform t;
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      t.m[4 * row + column] = static_cast<float>(sample.R_world(row, column));
    }
    t.m[4 * row + 3] = static_cast<float>(sample.p_world(row));
  }
  return t;
}

KT::Math::Velocity6D root_rate(const motion::Coordinates& rates) {
  const auto rate = [&rates](int i) { return static_cast<float>(rates(i)); };
  return {rate(0), rate(1), rate(2), rate(3), rate(4), rate(5)};
}

std::vector<float> floats(const Eigen::Ref<const Eigen::VectorXd>& values) {
  std::vector<float> result;
  for (const double value : values) result.push_back(static_cast<float>(value));
  return result;
}

}  // namespace

Driver::Driver(tavo::RigidBodySystem& system, std::vector<unsigned long> wrench_bodies,
               std::vector<Computation> more)
    : system_(system),
      wrench_bodies_(std::move(wrench_bodies)),
      more_(std::move(more)),
      root_velocity_(0, 0, 0, 0, 0, 0),
      root_acceleration_(0, 0, 0, 0, 0, 0),
      wrenches_(wrench_bodies_.size()) {}

void Driver::run(const motion::State& state) {
  narrow(state);
  const auto start = std::chrono::steady_clock::now();
  call_plugin();
  time_in_plugin_ += std::chrono::steady_clock::now() - start;
}

void Driver::narrow(const motion::State& state) {
  const motion::Sample& sample = state.sample;
  const Eigen::Index joints = sample.q.size();
  root_pose_ = pose(sample);
  root_velocity_ = root_rate(state.velocity);
  root_acceleration_ = root_rate(state.acceleration);
  q_ = floats(sample.q);
  dq_ = floats(state.velocity.tail(joints));
  ddq_ = floats(state.acceleration.tail(joints));
  for (std::size_t i = 0; i < wrenches_.size(); ++i) {
    wrenches_[i] = floats(sample.wrenches.segment(static_cast<Eigen::Index>(6 * i), 6));
  }
}

void Driver::call_plugin() {
  system_.setRootPose(root_pose_);
  system_.setRootVelocity(root_velocity_);
  system_.setRootAcceleration(root_acceleration_);
  system_.setJointAnglesPos(q_);
  system_.setJointAnglesVel(dq_);
  system_.setJointAnglesAcc(ddq_);
  for (std::size_t i = 0; i < wrenches_.size(); ++i) {
    system_.setExternalWrench(wrench_bodies_[i], wrenches_[i]);
  }
  system_.computeFwdKinematics();
  system_.computeInverseDynamics();
  for (const Computation& compute : more_) compute(system_);
}

}  // namespace replay
