#pragma once

/// @file
/// The namespace KT::Math.

#include <type_traits>

/// The host platform's math types, as they cross the plug-in's boundary.
///
/// This is a stand-in with the storage and the exported symbols of the platform's own `libktmath`:
/// constructors and functions live in the shared library, so a plug-in built against this header
/// imports them and can be dropped beside the platform's library. SI units, radians, float.
/// Frames, orders and units: docs/conventions.md.
namespace KT::Math {

/// A rigid transform T = [R | p]: x -> R x + p. As the pose of frame F in frame G it takes
/// F-coordinates to G-coordinates: R holds F's axes, p F's origin (m), both in G.
struct Transform {
  /// The identity.
  Transform();

  /// 3 x 4, row by row: R(0,0) R(0,1) R(0,2) p.x, R(1,0) R(1,1) R(1,2) p.y, R(2,0) ... p.z.
  float m[12];
};

/// A point: metres.
struct Position3D {
  /// The origin.
  Position3D();
  /// The point (x, y, z).
  Position3D(float x, float y, float z);

  float x;  ///< m
  float y;  ///< m
  float z;  ///< m
};

/// A pose in six coordinates: the origin (m), then the angles (rad) of the orientation
/// R = Rz(gamma) Ry(beta) Rx(alpha).
struct Position6D {
  /// Origin (m), then angles (rad).
  Position6D(float x, float y, float z, float alpha, float beta, float gamma);

  float x;      ///< m
  float y;      ///< m
  float z;      ///< m
  float alpha;  ///< roll, about x; rad
  float beta;   ///< pitch, about y; rad
  float gamma;  ///< yaw, about z; rad
};

/// A velocity (m/s, rad/s) or an acceleration (m/s2, rad/s2) in six components: linear x, y, z,
/// then angular x, y, z. Who takes or gives one names its frame.
struct Velocity6D {
  /// Linear part, then angular part.
  Velocity6D(float vx, float vy, float vz, float wx, float wy, float wz);

  float vx;  ///< linear
  float vy;  ///< linear
  float vz;  ///< linear
  float wx;  ///< angular
  float wy;  ///< angular
  float wz;  ///< angular
};

/// The six coordinates of `t`: alpha and gamma in [-pi, pi], beta in [-pi/2, pi/2]. At beta =
/// +-pi/2 only a combination of alpha and gamma is determined; any pair that rebuilds R is
/// returned.
Position6D position6DFromTransform(const Transform& t);

/// The transform with p = (x, y, z) and R = Rz(gamma) Ry(beta) Rx(alpha).
Transform transformFromPosition6D(const Position6D& p);

/// The point R x + p.
Position3D operator*(const Transform& t, const Position3D& x);

namespace internal {
template <class T>
inline constexpr bool is_plain = std::is_trivially_copyable_v<T>&& std::is_standard_layout_v<T>;
}  // namespace internal

// The host reads and writes these floats directly: their layout is part of the contract.
static_assert(internal::is_plain<Transform> && sizeof(Transform) == 12 * sizeof(float));
static_assert(internal::is_plain<Position3D> && sizeof(Position3D) == 3 * sizeof(float));
static_assert(internal::is_plain<Position6D> && sizeof(Position6D) == 6 * sizeof(float));
static_assert(internal::is_plain<Velocity6D> && sizeof(Velocity6D) == 6 * sizeof(float));

}  // namespace KT::Math
