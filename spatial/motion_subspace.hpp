#pragma once

#include <array>

#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/motion.hpp"

/// Joint motion subspaces: what a joint's coordinate rates do to its body. Featherstone 2008,
/// section 3.3. The products run over the stored entries, except where a pattern is named.
namespace metapod::Spatial {

/// Subspace of the free-flying root: a 6 x 6 matrix, one motion a column. The first three
/// coordinates are linear, the last three angular, while motions list the angular part first.
template <class S>
class ConstraintMotionFreeFlyerBodyT {
 public:
  using Scalar = S;
  using Motion = MotionT<S>;
  using Force = ForceT<S>;
  /// Six generalized velocities, accelerations or forces of the root.
  using Coordinates = std::array<S, 6>;

  constexpr ConstraintMotionFreeFlyerBodyT() : ConstraintMotionFreeFlyerBodyT(S{}, S{} + 1.0f) {}
  constexpr explicit ConstraintMotionFreeFlyerBodyT(const std::array<Motion, 6>& columns)
      : columns_(columns) {}

  constexpr const Motion& column(int j) const { return columns_[static_cast<std::size_t>(j)]; }

  /// S x, the full product: a non-finite rate reaches every component. x has six entries.
  template <class Vector>
  constexpr Motion operator*(const Vector& x) const {
    Motion sum = x[0] * column(0);
    for (int j = 1; j < 6; ++j) sum = sum + x[j] * column(j);
    return sum;
  }
  /// Sᵀ F: each entry is the dot product of a column with F.
  constexpr Coordinates transposed_times(const Force& F) const {
    return {dot(column(0), F), dot(column(1), F), dot(column(2), F),
            dot(column(3), F), dot(column(4), F), dot(column(5), F)};
  }

 private:
  constexpr ConstraintMotionFreeFlyerBodyT(const S& o, const S& i)
      : columns_{Motion({o, o, o}, {i, o, o}), Motion({o, o, o}, {o, i, o}),
                 Motion({o, o, o}, {o, o, i}), Motion({i, o, o}, {o, o, o}),
                 Motion({o, i, o}, {o, o, o}), Motion({o, o, i}, {o, o, o})} {}

  std::array<Motion, 6> columns_;
};

/// Subspace of a joint that turns about its body's z axis: the motion (0, 0, 1, 0, 0, 0).
template <class S>
class ConstraintMotionAxisZT {
 public:
  using Scalar = S;

  constexpr ConstraintMotionAxisZT() : s_({S{}, S{}, S{} + 1.0f}, {}) {}
  constexpr explicit ConstraintMotionAxisZT(const MotionT<S>& s) : s_(s) {}

  constexpr const MotionT<S>& motion() const { return s_; }

  constexpr MotionT<S> operator*(S x) const { return x * s_; }
  constexpr S transposed_times(const ForceT<S>& F) const { return dot(s_, F); }

 private:
  MotionT<S> s_;
};

/// I S, a force a column. Reads the two off-diagonal 3 x 3 blocks of S and takes the diagonal ones
/// as zero.
template <class S>
constexpr std::array<ForceT<S>, 6> operator*(const InertiaT<S>& I,
                                             const ConstraintMotionFreeFlyerBodyT<S>& subspace) {
  const auto linear = [&](int j) {
    const auto& v = subspace.column(j).v();
    return ForceT<S>(I.h().cross(v), I.m() * v);
  };
  const auto angular = [&](int j) {
    const auto& w = subspace.column(j).w();
    return ForceT<S>(I.I() * w, -I.h().cross(w));
  };
  return {linear(0), linear(1), linear(2), angular(3), angular(4), angular(5)};
}

/// I S from the pattern of S: its entries are not read.
template <class S>
constexpr ForceT<S> operator*(const InertiaT<S>& I, const ConstraintMotionAxisZT<S>&) {
  return {{I.I().zx(), I.I().zy(), I.I().zz()}, {-I.h().y(), I.h().x(), S{}}};
}

using ConstraintMotionFreeFlyerBody = ConstraintMotionFreeFlyerBodyT<float>;
using ConstraintMotionAxisZ = ConstraintMotionAxisZT<float>;

static_assert(sizeof(ConstraintMotionFreeFlyerBody) == 36 * sizeof(float));
static_assert(sizeof(ConstraintMotionAxisZ) == 6 * sizeof(float));

}  // namespace metapod::Spatial
