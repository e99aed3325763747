#pragma once

#include <array>

#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/motion.hpp"

/// Joint motion subspaces: what a joint's coordinate rates do to its body. Featherstone 2008,
/// section 3.3. The products run over the stored entries, except where a pattern is named.
namespace metapod::Spatial {

/// Six generalized velocities, accelerations or forces of the free-flying root.
using RootCoordinates = std::array<float, 6>;

/// Subspace of the free-flying root: a 6 x 6 matrix, one motion a column. The first three
/// coordinates are linear, the last three angular, while motions list the angular part first.
class ConstraintMotionFreeFlyerBody {
 public:
  constexpr ConstraintMotionFreeFlyerBody()
      : columns_{Motion({0, 0, 0}, {1, 0, 0}), Motion({0, 0, 0}, {0, 1, 0}),
                 Motion({0, 0, 0}, {0, 0, 1}), Motion({1, 0, 0}, {0, 0, 0}),
                 Motion({0, 1, 0}, {0, 0, 0}), Motion({0, 0, 1}, {0, 0, 0})} {}
  constexpr explicit ConstraintMotionFreeFlyerBody(const std::array<Motion, 6>& columns)
      : columns_(columns) {}

  constexpr const Motion& column(int j) const { return columns_[static_cast<std::size_t>(j)]; }

  /// S x, the full product: a non-finite rate reaches every component.
  constexpr Motion operator*(const RootCoordinates& x) const {
    return x[0] * column(0) + x[1] * column(1) + x[2] * column(2) + x[3] * column(3) +
           x[4] * column(4) + x[5] * column(5);
  }
  /// Sᵀ F.
  constexpr RootCoordinates transposed_times(const Force& F) const {
    return {dot(column(0), F), dot(column(1), F), dot(column(2), F),
            dot(column(3), F), dot(column(4), F), dot(column(5), F)};
  }

 private:
  std::array<Motion, 6> columns_;
};

/// Subspace of a joint that turns about its body's z axis: (0, 0, 1, 0, 0, 0).
class ConstraintMotionAxisZ {
 public:
  constexpr ConstraintMotionAxisZ() : s_({0, 0, 1}, {0, 0, 0}) {}

  constexpr Motion operator*(float x) const { return x * s_; }
  constexpr float transposed_times(const Force& F) const { return dot(s_, F); }

 private:
  Motion s_;
};

/// I S, one force a column. Reads the two off-diagonal 3 x 3 blocks of S and takes the diagonal
/// ones as zero.
std::array<Force, 6> operator*(const Inertia& I, const ConstraintMotionFreeFlyerBody& S);

/// I S from the pattern of S: its entries are not read.
constexpr Force operator*(const Inertia& I, const ConstraintMotionAxisZ&) {
  return {{I.I().zx(), I.I().zy(), I.I().zz()}, {-I.h().y(), I.h().x(), 0}};
}

static_assert(sizeof(ConstraintMotionFreeFlyerBody) == 36 * sizeof(float));
static_assert(sizeof(ConstraintMotionAxisZ) == 6 * sizeof(float));

}  // namespace metapod::Spatial
