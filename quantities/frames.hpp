#pragma once

/// @file
/// Pose, Jacobian, velocity and acceleration of any point of any body, in three frames.

#include <quantities/state.hpp>
#include <quantities/types.hpp>

namespace tavo::quantities {

/// The frame that a motion is written in: whose axes, and of which point its linear part speaks.
enum class Frame {
  body,            ///< the body's axes, at the point
  world,           ///< the world's axes, at the world's origin
  world_at_point,  ///< the world's axes, at the point: the linear part is the point's own
};

// All need State::update; all throw std::invalid_argument for a body that is not there.

/// World position of the point, m.
Vector3 position(const State& state, const BodyPoint& point);

/// 6 x 28: rows angular (rad/s), then linear (m/s), per unit rate of each coordinate; J dq is the
/// twist. Columns of joints that do not move the body are zero. Featherstone 2008, section 4.5;
/// Siciliano et al. 2009, section 3.1.
Jacobian jacobian(const State& state, const BodyPoint& point, Frame frame);

/// Velocity: angular (rad/s), then linear (m/s). With Frame::world the linear part is the velocity
/// of the body's point that passes the world's origin.
Vector6 twist(const State& state, const BodyPoint& point, Frame frame);

/// Spatial acceleration: angular (rad/s2), then linear (m/s2), without gravity. It is the
/// derivative of the twist's six numbers in Frame::body and Frame::world. Featherstone 2008,
/// section 2.11.
Vector6 spatial_acceleration(const State& state, const BodyPoint& point, Frame frame);

/// Classical acceleration: angular (rad/s2), then that of the point as the world sees it (m/s2),
/// which is the spatial one plus w x v. It is the derivative of the twist's six numbers in
/// Frame::world_at_point. An accelerometer at the point shows it less gravity, in Frame::body.
Vector6 classical_acceleration(const State& state, const BodyPoint& point, Frame frame);

/// The part of the spatial acceleration that velocities cause: acceleration = J ddq + drift, so it
/// is J' dq in Frame::body and Frame::world.
Vector6 spatial_drift(const State& state, const BodyPoint& point, Frame frame);

/// The part of the classical acceleration that velocities cause: J' dq in Frame::world_at_point.
Vector6 classical_drift(const State& state, const BodyPoint& point, Frame frame);

}  // namespace tavo::quantities
