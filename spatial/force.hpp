#pragma once

#include "spatial/motion.hpp"
#include "spatial/vector.hpp"

namespace metapod::Spatial {

/// Spatial force: moment n (N m) about the frame's origin, then force f (N). Featherstone 2008,
/// section 2.4.
template <class S>
class ForceT {
 public:
  using Vector = Vector3T<S>;

  constexpr ForceT() = default;
  constexpr ForceT(const Vector& n, const Vector& f) : n_(n), f_(f) {}
  template <class S2>
  constexpr explicit ForceT(const ForceT<S2>& F) : n_(F.n()), f_(F.f()) {}

  constexpr const Vector& n() const { return n_; }
  constexpr const Vector& f() const { return f_; }

 private:
  Vector n_, f_;
};

template <class S>
constexpr ForceT<S> operator+(const ForceT<S>& a, const ForceT<S>& b) {
  return {a.n() + b.n(), a.f() + b.f()};
}
template <class S>
constexpr ForceT<S> operator-(const ForceT<S>& a, const ForceT<S>& b) {
  return {a.n() - b.n(), a.f() - b.f()};
}

/// m x* F. Featherstone 2008, equation 2.32.
template <class S>
constexpr ForceT<S> cross(const MotionT<S>& m, const ForceT<S>& F) {
  return {m.w().cross(F.n()) + m.v().cross(F.f()), m.w().cross(F.f())};
}

/// Power m · F: six products summed left to right, angular part first.
template <class S>
constexpr S dot(const MotionT<S>& m, const ForceT<S>& F) {
  return m.w().x() * F.n().x() + m.w().y() * F.n().y() + m.w().z() * F.n().z() +
         m.v().x() * F.f().x() + m.v().y() * F.f().y() + m.v().z() * F.f().z();
}

using Force = ForceT<float>;

static_assert(sizeof(Force) == 6 * sizeof(float));

}  // namespace metapod::Spatial
