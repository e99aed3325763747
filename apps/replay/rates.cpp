#include "apps/replay/rates.hpp"

#include <utility>

#include <Eigen/Geometry>

namespace replay {
namespace {

Eigen::Vector3d rotation_vector(const Eigen::Matrix3d& R) {
  const Eigen::AngleAxisd turn(R);
  return turn.angle() * turn.axis();
}

Eigen::VectorXd central_velocity(const Neighbours<Sample>& samples) {
  const Sample& a = samples.before();
  const Sample& b = samples.after();
  Eigen::VectorXd change(6 + a.q.size());
  change << samples.at().R_world.transpose() * (b.p_world - a.p_world),
      rotation_vector(a.R_world.transpose() * b.R_world), b.q - a.q;
  return change / (b.time - a.time);
}

Eigen::VectorXd central_acceleration(const Neighbours<MovingSample>& moving) {
  const MovingSample& a = moving.before();
  const MovingSample& b = moving.after();
  return (b.velocity - a.velocity) / (b.sample.time - a.sample.time);
}

Eigen::VectorXd at_rest(const Sample& sample) {
  return Eigen::VectorXd::Zero(6 + sample.q.size());
}

// What the file gives stands.
Eigen::VectorXd completed(const Eigen::VectorXd& given, const Eigen::VectorXd& difference) {
  return given.array().isNaN().select(difference, given);
}

}  // namespace

StateStream::StateStream(Neighbours<Sample>::Source source)
    : samples_(std::move(source)), moving_([this] { return next_moving(); }) {}

std::optional<MovingSample> StateStream::next_moving() {
  if (!samples_.step()) return std::nullopt;
  const Sample& sample = samples_.at();
  return MovingSample{
      sample,
      completed(sample.velocity, samples_.inner() ? central_velocity(samples_) : at_rest(sample))};
}

std::optional<State> StateStream::next() {
  if (!moving_.step()) return std::nullopt;
  const auto& [sample, velocity] = moving_.at();
  return State{sample, velocity,
               completed(sample.acceleration,
                         moving_.inner() ? central_acceleration(moving_) : at_rest(sample))};
}

}  // namespace replay
