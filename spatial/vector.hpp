#pragma once

#include <type_traits>

namespace metapod::Spatial {

/// Three components x, y, z. S is the scalar: float, or any type with its arithmetic, such as
/// floats side by side. Every sum of products runs left to right, so that a result does not depend
/// on the compiler or the instruction set.
template <class S>
class Vector3T {
 public:
  using Scalar = S;

  constexpr Vector3T() : e_{} {}
  constexpr Vector3T(S x, S y, S z) : e_{x, y, z} {}
  /// The same on another scalar, here and in the other types: each component becomes an S.
  template <class S2>
  constexpr explicit Vector3T(const Vector3T<S2>& v) : e_{S(v.x()), S(v.y()), S(v.z())} {}

  constexpr S x() const { return e_[0]; }
  constexpr S y() const { return e_[1]; }
  constexpr S z() const { return e_[2]; }
  constexpr S operator[](int i) const { return e_[i]; }
  constexpr S& operator[](int i) { return e_[i]; }

  constexpr Vector3T operator-() const { return {-x(), -y(), -z()}; }

  constexpr S dot(const Vector3T& b) const { return x() * b.x() + y() * b.y() + z() * b.z(); }
  constexpr Vector3T cross(const Vector3T& b) const {
    return {y() * b.z() - z() * b.y(), z() * b.x() - x() * b.z(), x() * b.y() - y() * b.x()};
  }

 private:
  S e_[3];
};

// Operators are no friends: g++ 12 takes what is defined inside a class template out of the region
// of source that it stands in, and compiles it for the lowest instruction set.
template <class S>
constexpr Vector3T<S> operator+(const Vector3T<S>& a, const Vector3T<S>& b) {
  return {a.x() + b.x(), a.y() + b.y(), a.z() + b.z()};
}
template <class S>
constexpr Vector3T<S> operator-(const Vector3T<S>& a, const Vector3T<S>& b) {
  return {a.x() - b.x(), a.y() - b.y(), a.z() - b.z()};
}
template <class S>
constexpr Vector3T<S> operator*(std::type_identity_t<S> k, const Vector3T<S>& a) {
  return {k * a.x(), k * a.y(), k * a.z()};
}
template <class S>
constexpr Vector3T<S> operator/(const Vector3T<S>& a, std::type_identity_t<S> k) {
  return {a.x() / k, a.y() / k, a.z() / k};
}

/// A symmetric 3 x 3 matrix, held as its lower triangle.
template <class S>
class SymmetricMatrix3T {
 public:
  constexpr SymmetricMatrix3T() : e_{} {}
  constexpr SymmetricMatrix3T(S xx, S yx, S yy, S zx, S zy, S zz) : e_{xx, yx, yy, zx, zy, zz} {}
  template <class S2>
  constexpr explicit SymmetricMatrix3T(const SymmetricMatrix3T<S2>& a)
      : e_{S(a.xx()), S(a.yx()), S(a.yy()), S(a.zx()), S(a.zy()), S(a.zz())} {}

  constexpr S xx() const { return e_[0]; }
  constexpr S yx() const { return e_[1]; }
  constexpr S yy() const { return e_[2]; }
  constexpr S zx() const { return e_[3]; }
  constexpr S zy() const { return e_[4]; }
  constexpr S zz() const { return e_[5]; }

 private:
  S e_[6];
};

template <class S>
constexpr SymmetricMatrix3T<S> operator+(const SymmetricMatrix3T<S>& a,
                                         const SymmetricMatrix3T<S>& b) {
  return {a.xx() + b.xx(), a.yx() + b.yx(), a.yy() + b.yy(),
          a.zx() + b.zx(), a.zy() + b.zy(), a.zz() + b.zz()};
}
template <class S>
constexpr Vector3T<S> operator*(const SymmetricMatrix3T<S>& a, const Vector3T<S>& b) {
  return {Vector3T<S>(a.xx(), a.yx(), a.zx()).dot(b), Vector3T<S>(a.yx(), a.yy(), a.zy()).dot(b),
          Vector3T<S>(a.zx(), a.zy(), a.zz()).dot(b)};
}

using Vector3 = Vector3T<float>;
using SymmetricMatrix3 = SymmetricMatrix3T<float>;

static_assert(sizeof(Vector3) == 3 * sizeof(float));
static_assert(sizeof(SymmetricMatrix3) == 6 * sizeof(float));

}  // namespace metapod::Spatial
