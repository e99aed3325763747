#include "motion/rates.hpp"

#include <cmath>
#include <cstddef>
#include <utility>

#include <Eigen/Geometry>

namespace tavo::motion {
namespace {

Eigen::Vector3d rotation_vector(const Eigen::Matrix3d& R) {
  const Eigen::AngleAxisd turn(R);
  return turn.angle() * turn.axis();
}

// From pose a to pose b; the translation in the axes of a third sample.
Coordinates change(const Sample& a, const Sample& b, const Sample& axes) {
  Coordinates change(6 + a.q.size());
  change << axes.R_world.transpose() * (b.p_world - a.p_world),
      rotation_vector(a.R_world.transpose() * b.R_world), b.q - a.q;
  return change;
}

// Weight of the point at `own` in the slope at t of the parabola through it and two others.
double slope_weight(double t, double own, double other1, double other2) {
  return ((t - other1) + (t - other2)) / ((own - other1) * (own - other2));
}

// The slope at t of the parabola through three velocities.
Coordinates slope(double t, const MovingSample& a, const MovingSample& b, const MovingSample& c) {
  const double ta = a.sample.time, tb = b.sample.time, tc = c.sample.time;
  return slope_weight(t, ta, tb, tc) * (a.velocity - b.velocity) +
         slope_weight(t, tc, ta, tb) * (c.velocity - b.velocity);
}

Coordinates velocity(const Window<Sample>& samples) {
  const Sample& at = *samples.at(0);
  const Sample *before = samples.at(-1), *after = samples.at(1);
  if (before && after) return change(*before, *after, at) / (after->time - before->time);
  if (!before && !after) return Coordinates::Zero(6 + at.q.size());
  const Sample& next = before ? *before : *after;
  const Sample* const last = samples.at(before ? -2 : 2);
  if (!last) return change(at, next, at) / (next.time - at.time);
  return slope_weight(at.time, next.time, at.time, last->time) * change(at, next, at) +
         slope_weight(at.time, last->time, at.time, next.time) * change(at, *last, at);
}

// Whether the sample at `end` is farther from the next one inwards than that from the third.
bool is_beyond_a_gap(const Window<MovingSample>& moving, std::ptrdiff_t end,
                     std::ptrdiff_t inwards) {
  const auto time = [&](std::ptrdiff_t steps) {
    return moving.at(end + steps * inwards)->sample.time;
  };
  return std::abs(time(1) - time(0)) > std::abs(time(3) - time(1));
}

Coordinates acceleration_from_all(const Window<MovingSample>& moving, bool straight) {
  const MovingSample& at = *moving.at(0);
  const MovingSample *before = moving.at(-1), *after = moving.at(1);
  if (!before && !after) return Coordinates::Zero(at.velocity.size());
  const MovingSample* const last = before ? moving.at(-2) : moving.at(2);
  if ((before && after) || !last || straight) {
    const MovingSample &a = before ? *before : at, &b = after ? *after : at;
    return (b.velocity - a.velocity) / (b.sample.time - a.sample.time);
  }
  return slope(at.sample.time, at, before ? *before : *after, *last);
}

// What the file gives stands.
Coordinates completed(const Coordinates& given, const Coordinates& difference) {
  return given.array().isNaN().select(difference, given);
}

Coordinates acceleration(const Window<MovingSample>& moving) {
  if (moving.at(-2) && moving.at(2)) return acceleration_from_all(moving, false);
  const std::ptrdiff_t inwards = moving.at(-2) ? -1 : 1;
  const std::ptrdiff_t end = moving.at(-inwards) ? -inwards : 0;
  if (!moving.at(end + 4 * inwards)) return acceleration_from_all(moving, false);
  if (is_beyond_a_gap(moving, end, inwards)) return acceleration_from_all(moving, true);
  const MovingSample& at = *moving.at(0);
  const Coordinates from_central =
      slope(at.sample.time, *moving.at(end + inwards), *moving.at(end + 2 * inwards),
            *moving.at(end + 3 * inwards));
  return at.sample.velocity.array().isNaN().select(from_central,
                                                   acceleration_from_all(moving, false));
}

}  // namespace

StateStream::StateStream(Window<Sample>::Source source)
    : samples_(std::move(source), 2), moving_([this] { return next_moving(); }, 4) {}

std::optional<MovingSample> StateStream::next_moving() {
  if (!samples_.step()) return std::nullopt;
  const Sample& sample = *samples_.at(0);
  return MovingSample{sample, completed(sample.velocity, velocity(samples_))};
}

std::optional<State> StateStream::next() {
  if (!moving_.step()) return std::nullopt;
  const auto& [sample, velocity] = *moving_.at(0);
  return State{sample, velocity, completed(sample.acceleration, acceleration(moving_))};
}

}  // namespace tavo::motion
