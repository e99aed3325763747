#pragma once

#include <type_traits>

#include "spatial/vector.hpp"

namespace metapod::Spatial {

/// Spatial motion (velocity or acceleration): angular part w (rad/s), then linear part v (m/s) of
/// the frame's origin. Featherstone 2008, section 2.2.
template <class S>
class MotionT {
 public:
  using Vector = Vector3T<S>;

  constexpr MotionT() = default;
  constexpr MotionT(const Vector& w, const Vector& v) : w_(w), v_(v) {}
  template <class S2>
  constexpr explicit MotionT(const MotionT<S2>& m) : w_(m.w()), v_(m.v()) {}

  constexpr const Vector& w() const { return w_; }
  constexpr const Vector& v() const { return v_; }
  constexpr Vector& w() { return w_; }

  /// m x m2. Featherstone 2008, equation 2.31.
  constexpr MotionT cross(const MotionT& m2) const {
    return {w_.cross(m2.w_), w_.cross(m2.v_) + v_.cross(m2.w_)};
  }

 private:
  Vector w_, v_;
};

template <class S>
constexpr MotionT<S> operator+(const MotionT<S>& a, const MotionT<S>& b) {
  return {a.w() + b.w(), a.v() + b.v()};
}
template <class S>
constexpr MotionT<S> operator*(std::type_identity_t<S> k, const MotionT<S>& m) {
  return {k * m.w(), k * m.v()};
}

using Motion = MotionT<float>;

static_assert(sizeof(Motion) == 6 * sizeof(float));

}  // namespace metapod::Spatial
