#pragma once

#include <optional>

#include <Eigen/Core>

#include "apps/replay/motion_file.hpp"
#include "apps/replay/neighbours.hpp"

namespace replay {

/// A sample with its velocity: linear and angular of the root, in the root's frame (m/s, rad/s),
/// then the joints (rad/s).
struct MovingSample {
  Sample sample;
  Eigen::VectorXd velocity;
};

/// A sample with its rates. The acceleration is the time derivative of the velocity's components.
struct State {
  Sample sample;
  Eigen::VectorXd velocity;
  Eigen::VectorXd acceleration;
};

/// Adds to a stream of samples the rates that it does not give, by central differences in double:
///
///   v(i) = R(i)^T (p(i+1) - p(i-1)) / (t(i+1) - t(i-1))
///   w(i) = log(R(i-1)^T R(i+1))     / (t(i+1) - t(i-1))     log: the rotation vector
///   dq(i), and the acceleration from the velocities: the same difference, component by component
///
/// A rate that the sample gives stands instead, and accelerations are differences of the velocities
/// that stand. At the first and the last sample a difference counts as zero. A state depends on two
/// samples to either side, so no more than these are kept.
class StateStream {
 public:
  explicit StateStream(Neighbours<Sample>::Source source);
  StateStream(const StateStream&) = delete;
  StateStream& operator=(const StateStream&) = delete;

  /// The next state; nothing past the last.
  std::optional<State> next();

 private:
  std::optional<MovingSample> next_moving();

  Neighbours<Sample> samples_;
  Neighbours<MovingSample> moving_;
};

}  // namespace replay
