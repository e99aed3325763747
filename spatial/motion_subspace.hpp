#pragma once

#include <array>

#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/lanes.hpp"
#include "spatial/motion.hpp"
#include "spatial/records.hpp"
#include "spatial/wide_lanes.hpp"

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
  ORVEK23_INLINE Motion operator*(const RootCoordinates& x) const {
    // A column is two rows of four floats that share two.
    Lanes head = x[0] * load_four(floats(0)), tail = x[0] * load_four(floats(0) + 2);
    unrolled<5>([&](auto j) ORVEK23_INLINE_LAMBDA {
      head = head + x[j + 1] * load_four(floats(j + 1));
      tail = tail + x[j + 1] * load_four(floats(j + 1) + 2);
    });
    return {{head[0], head[1], head[2]}, {tail[1], tail[2], tail[3]}};
  }
  /// Sᵀ F: each entry is the dot product of a column with F.
  ORVEK23_INLINE RootCoordinates transposed_times(const Force& F) const {
    const auto dot_with = [&](const std::array<Lanes, 6>& s) ORVEK23_INLINE_LAMBDA {
      return s[0] * F.n().x() + s[1] * F.n().y() + s[2] * F.n().z() + s[3] * F.f().x() +
             s[4] * F.f().y() + s[5] * F.f().z();
    };
    const Lanes a = dot_with(load_lanes<6>(std::array{floats(0), floats(1), floats(2), floats(3)}));
    const Lanes b = dot_with(load_lanes<6>(std::array{floats(4), floats(5)}));
    return {a[0], a[1], a[2], a[3], b[0], b[1]};
  }

  /// The columns side by side: the linear ones in the low half, the angular ones in the high.
  template <class Wide>
  struct Columns {
    MotionT<Lanes> linear, angular;
  };
  template <class Wide>
  ORVEK23_INLINE Columns<Wide> columns() const {
    return {lanes(0), lanes(3)};
  }

 private:
  const float* floats(std::size_t j) const { return reinterpret_cast<const float*>(&columns_[j]); }

  /// Columns j, j + 1 and j + 2.
  ORVEK23_INLINE MotionT<Lanes> lanes(std::size_t j) const {
    const auto e = load_lanes<6>(std::array{floats(j), floats(j + 1), floats(j + 2)});
    return {{e[0], e[1], e[2]}, {e[3], e[4], e[5]}};
  }

  std::array<Motion, 6> columns_;
};

/// Subspace of a joint that turns about its body's z axis: the motion (0, 0, 1, 0, 0, 0).
template <class S>
class ConstraintMotionAxisZT {
 public:
  constexpr ConstraintMotionAxisZT() : s_({S{}, S{}, S{} + 1.0f}, {}) {}
  constexpr explicit ConstraintMotionAxisZT(const MotionT<S>& s) : s_(s) {}

  constexpr const MotionT<S>& motion() const { return s_; }

  constexpr MotionT<S> operator*(S x) const { return x * s_; }
  constexpr S transposed_times(const ForceT<S>& F) const { return dot(s_, F); }

 private:
  MotionT<S> s_;
};

using ConstraintMotionAxisZ = ConstraintMotionAxisZT<float>;

/// I S. Reads the two off-diagonal 3 x 3 blocks of S and takes the diagonal ones as zero.
template <class Wide>
ORVEK23_INLINE ForceT<Wide> operator*(const InertiaT<Lanes>& I,
                                      const ConstraintMotionFreeFlyerBody::Columns<Wide>& S) {
  const auto &v = S.linear.v(), &w = S.angular.w();
  const auto join = [](const Vector3T<Lanes>& low,
                       const Vector3T<Lanes>& high) ORVEK23_INLINE_LAMBDA {
    return Vector3T<Wide>(joined<Wide>(low.x(), high.x()), joined<Wide>(low.y(), high.y()),
                          joined<Wide>(low.z(), high.z()));
  };
  return {join(I.h().cross(v), I.I() * w), join(I.m() * v, -I.h().cross(w))};
}

/// I S from the pattern of S: its entries are not read.
template <class S>
constexpr ForceT<S> operator*(const InertiaT<S>& I, const ConstraintMotionAxisZT<S>&) {
  return {{I.I().zx(), I.I().zy(), I.I().zz()}, {-I.h().y(), I.h().x(), S{}}};
}

static_assert(sizeof(ConstraintMotionFreeFlyerBody) == 36 * sizeof(float));
static_assert(sizeof(ConstraintMotionAxisZ) == 6 * sizeof(float));

}  // namespace metapod::Spatial
