#pragma once

#include "spatial/vector.hpp"

/// Rotations E that take coordinates of frame a (the parent) to frame b (the child). The kind of a
/// rotation is its type; each kind has the cheapest form of every product:
///   E * v                 E v
///   E.transposed_times(v) Eᵀ v
///   E.congruence(A)       Eᵀ A E, A symmetric
///   E1 * E2               the product of two kinds, in the kind that it has
namespace metapod::Spatial {

/// Any rotation: nine entries, column-major.
template <class S>
class RotationMatrixT {
 public:
  using Scalar = S;
  using Vector = Vector3T<S>;

  /// All zero, not the identity.
  constexpr RotationMatrixT() = default;
  constexpr RotationMatrixT(const Vector& column0, const Vector& column1, const Vector& column2)
      : columns_{column0, column1, column2} {}
  template <class S2>
  constexpr explicit RotationMatrixT(const RotationMatrixT<S2>& E)
      : columns_{Vector(E.column(0)), Vector(E.column(1)), Vector(E.column(2))} {}

  static constexpr RotationMatrixT from_rows(const Vector& a, const Vector& b, const Vector& c) {
    return {{a.x(), b.x(), c.x()}, {a.y(), b.y(), c.y()}, {a.z(), b.z(), c.z()}};
  }
  static constexpr RotationMatrixT identity() {
    const S one = S{} + 1.0f, zero{};
    return {{one, zero, zero}, {zero, one, zero}, {zero, zero, one}};
  }

  constexpr S operator()(int row, int column) const { return columns_[column][row]; }
  constexpr const Vector& column(int j) const { return columns_[j]; }
  constexpr Vector row(int i) const { return {(*this)(i, 0), (*this)(i, 1), (*this)(i, 2)}; }

  constexpr Vector operator*(const Vector& v) const {
    return {row(0).dot(v), row(1).dot(v), row(2).dot(v)};
  }
  constexpr Vector transposed_times(const Vector& v) const {
    return {column(0).dot(v), column(1).dot(v), column(2).dot(v)};
  }

  /// Works on A - zz 1, whose zz entry is zero. The columns of a rotation are cross products of
  /// each other, which removes E(2,0) from every term; xx comes from the trace.
  constexpr SymmetricMatrix3T<S> congruence(const SymmetricMatrix3T<S>& a) const {
    const auto E = [this](int i, int j) { return (*this)(i, j); };
    const S axx = a.xx() - a.zz(), ayy = a.yy() - a.zz();
    const auto diagonal = [&](int j) {  // c_jᵀ (A - zz 1) c_j + zz
      return E(0, j) * E(0, j) * axx + 2.0f * (E(0, j) * E(1, j)) * a.yx() +
             E(1, j) * E(1, j) * ayy + 2.0f * (E(0, j) * E(2, j)) * a.zx() +
             2.0f * (E(1, j) * E(2, j)) * a.zy() + a.zz();
    };
    const auto mixed = [&](int i, int j, S zx_factor, S zy_factor) {  // c_iᵀ (A - zz 1) c_j
      return E(0, i) * E(0, j) * axx + (E(0, i) * E(1, j) + E(0, j) * E(1, i)) * a.yx() +
             E(1, i) * E(1, j) * ayy + zx_factor * a.zx() + zy_factor * a.zy();
    };
    const S yy = diagonal(1), zz = diagonal(2);
    return {
        a.xx() + a.yy() + a.zz() - yy - zz,
        mixed(0, 1, E(1, 2) + 2.0f * (E(0, 0) * E(2, 1)), 2.0f * (E(1, 0) * E(2, 1)) - E(0, 2)),
        yy,
        mixed(0, 2, 2.0f * (E(0, 0) * E(2, 2)) - E(1, 1), 2.0f * (E(1, 0) * E(2, 2)) + E(0, 1)),
        mixed(1, 2, E(0, 1) * E(2, 2) + E(0, 2) * E(2, 1), E(1, 1) * E(2, 2) + E(1, 2) * E(2, 1)),
        zz};
  }

 private:
  Vector columns_[3];
};

/// A turn of the frame by theta about z, rows (c, s, 0), (-s, c, 0), (0, 0, 1), held as the pair
/// c = cos theta, s = sin theta.
template <class S>
class RotationMatrixAboutZT {
 public:
  using Scalar = S;
  using Vector = Vector3T<S>;

  constexpr RotationMatrixAboutZT() : c_{}, s_{} {}
  constexpr RotationMatrixAboutZT(S c, S s) : c_(c), s_(s) {}
  template <class S2>
  constexpr explicit RotationMatrixAboutZT(const RotationMatrixAboutZT<S2>& E)
      : c_(S(E.c())), s_(S(E.s())) {}

  constexpr S c() const { return c_; }
  constexpr S s() const { return s_; }

  constexpr Vector operator*(const Vector& v) const {
    return {c_ * v.x() + s_ * v.y(), c_ * v.y() - s_ * v.x(), v.z()};
  }
  constexpr Vector transposed_times(const Vector& v) const {
    return {c_ * v.x() - s_ * v.y(), s_ * v.x() + c_ * v.y(), v.z()};
  }

  /// Uses c² + s² = 1.
  constexpr SymmetricMatrix3T<S> congruence(const SymmetricMatrix3T<S>& a) const {
    const S ss = s_ * s_, cs = c_ * s_, difference = a.xx() - a.yy();
    const S d = ss * difference + 2.0f * cs * a.yx();
    return {a.xx() - d,
            (1.0f - 2.0f * ss) * a.yx() + cs * difference,
            a.yy() + d,
            c_ * a.zx() - s_ * a.zy(),
            s_ * a.zx() + c_ * a.zy(),
            a.zz()};
  }

 private:
  S c_, s_;
};

/// kappa times the identity; every instance of the model has kappa = 1.
template <class S>
class RotationMatrixIdentityT {
 public:
  using Scalar = S;
  using Vector = Vector3T<S>;

  constexpr RotationMatrixIdentityT() : kappa_{} {}
  constexpr explicit RotationMatrixIdentityT(S kappa) : kappa_(kappa) {}
  template <class S2>
  constexpr explicit RotationMatrixIdentityT(const RotationMatrixIdentityT<S2>& E)
      : kappa_(S(E.kappa())) {}

  constexpr S kappa() const { return kappa_; }

  constexpr Vector operator*(const Vector& v) const { return kappa_ * v; }
  constexpr Vector transposed_times(const Vector& v) const { return kappa_ * v; }

 private:
  S kappa_;
};

/// Only rows 0 and 1 change.
template <class S>
constexpr RotationMatrixT<S> operator*(const RotationMatrixAboutZT<S>& E1,
                                       const RotationMatrixT<S>& E2) {
  return {E1 * E2.column(0), E1 * E2.column(1), E1 * E2.column(2)};
}

template <class S>
constexpr RotationMatrixAboutZT<S> operator*(const RotationMatrixAboutZT<S>& E1,
                                             const RotationMatrixIdentityT<S>& E2) {
  return {E2.kappa() * E1.c(), E2.kappa() * E1.s()};
}

template <class S>
constexpr RotationMatrixT<S> operator*(const RotationMatrixT<S>& E1,
                                       const RotationMatrixIdentityT<S>& E2) {
  const S kappa = E2.kappa();
  return {kappa * E1.column(0), kappa * E1.column(1), kappa * E1.column(2)};
}

/// Two columns are products; the third is their cross product, cheaper and equal to rounding.
template <class S>
constexpr RotationMatrixT<S> operator*(const RotationMatrixT<S>& E1, const RotationMatrixT<S>& E2) {
  const Vector3T<S> column0 = E1 * E2.column(0), column1 = E1 * E2.column(1);
  return {column0, column1, column0.cross(column1)};
}

using RotationMatrix = RotationMatrixT<float>;
using RotationMatrixAboutZ = RotationMatrixAboutZT<float>;
using RotationMatrixIdentity = RotationMatrixIdentityT<float>;

static_assert(sizeof(RotationMatrix) == 9 * sizeof(float));
static_assert(sizeof(RotationMatrixAboutZ) == 2 * sizeof(float));
static_assert(sizeof(RotationMatrixIdentity) == 1 * sizeof(float));

}  // namespace metapod::Spatial
