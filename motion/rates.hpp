#pragma once

#include <optional>

#include "motion/motion_file.hpp"
#include "motion/window.hpp"

namespace tavo::motion {

/// A sample with its velocity: linear and angular of the root, in the root's frame (m/s, rad/s),
/// then the joints (rad/s).
struct MovingSample {
  Sample sample;         ///< As the file has it.
  Coordinates velocity;  ///< In coordinate order.
};

/// A sample with its rates. The acceleration is the time derivative of the velocity's components.
struct State {
  Sample sample;             ///< As the file has it.
  Coordinates velocity;      ///< In coordinate order (m/s, rad/s).
  Coordinates acceleration;  ///< In coordinate order (m/s2, rad/s2).
};

/// Adds to a stream of samples the rates that it does not give, by differences in double. Inside
/// the motion they are central:
///
///   v(i) = R(i)^T (p(i+1) - p(i-1)) / (t(i+1) - t(i-1))
///   w(i) = log(R(i-1)^T R(i+1))     / (t(i+1) - t(i-1))     log: the rotation vector
///   dq(i), and the acceleration from the velocities: the same difference, component by component
///
/// At the two ends they are one-sided and of second order, whatever the steps: the slope at the end
/// of the parabola through three samples (Burden and Faires 2011, section 4.1), positions and
/// orientations as seen from the sample at the end. Accelerations of the first two and of the last
/// two samples are slopes of the parabola through the three nearest velocities that are themselves
/// central: a one-sided velocity errs otherwise than a central one, and a difference across the two
/// would lose an order. Over a gap, where the end is farther from these three than they span, the
/// acceleration is the straight difference of the last two velocities. Two samples make a straight
/// line, one is at rest.
///
/// A rate that the sample gives stands instead, and accelerations are differences of the velocities
/// that stand. No more than nine samples are kept at a time.
class StateStream {
 public:
  /// `source` gives the samples, in order of time; nothing past the last.
  explicit StateStream(Window<Sample>::Source source);
  StateStream(const StateStream&) = delete;
  StateStream& operator=(const StateStream&) = delete;

  /// The next state; nothing past the last.
  std::optional<State> next();

 private:
  std::optional<MovingSample> next_moving();

  Window<Sample> samples_;
  Window<MovingSample> moving_;
};

}  // namespace tavo::motion
