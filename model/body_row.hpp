#pragma once

#include <array>

namespace metapod {

/// Placement of a joint frame in its parent body's frame: the rotation from parent to joint
/// coordinates, by rows, and the joint frame's origin in the parent frame (m).
struct Placement {
  std::array<std::array<float, 3>, 3> E;
  std::array<float, 3> r;

  constexpr bool is_shift() const {
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) {
        if (E[i][j] != (i == j ? 1.0f : 0.0f)) return false;
      }
    }
    return true;
  }
};

constexpr Placement shifted(const std::array<float, 3>& r) {
  return {{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}, r};
}

constexpr Placement turned(const std::array<float, 3>& row0, const std::array<float, 3>& row1,
                           const std::array<float, 3>& row2, const std::array<float, 3>& r) {
  return {{row0, row1, row2}, r};
}

/// Everything that is known of one body; a robot is a table of these, parents before children.
struct BodyRow {
  const char* name;  ///< of the body and of its joint
  int parent;        ///< row of the parent, -1 for the free-flying root
  Placement placement;
  float mass;                         ///< kg
  std::array<float, 3> first_moment;  ///< mass times centre of mass, kg m, body frame
  /// Rotational inertia about the body frame's origin, kg m²: xx, yx, yy, zx, zy, zz.
  std::array<float, 6> inertia;
};

}  // namespace metapod
