#pragma once

#include "spatial/force.hpp"
#include "spatial/motion.hpp"
#include "spatial/vector.hpp"

namespace metapod::Spatial {

/// Rigid-body inertia in the body's frame: mass m (kg), first moment h = m c (kg m) with c the
/// centre of mass, and rotational inertia I (kg m²) about the frame's origin, not about c.
/// Featherstone 2008, section 2.13.
template <class S>
class InertiaT {
 public:
  using Vector = Vector3T<S>;
  using Symmetric = SymmetricMatrix3T<S>;

  constexpr InertiaT() : m_{} {}
  constexpr InertiaT(S m, const Vector& h, const Symmetric& I) : m_(m), h_(h), I_(I) {}
  template <class S2>
  constexpr explicit InertiaT(const InertiaT<S2>& i) : m_(S(i.m())), h_(i.h()), I_(i.I()) {}

  /// From the centre of mass c (m) and the rotational inertia about it, both in the body's frame,
  /// by parallel axes: I = Ic + m (|c|² 1 - c cᵀ).
  static constexpr InertiaT at_com(S m, const Vector& c, const Symmetric& Ic) {
    return {m,
            m * c,
            {Ic.xx() + m * (c.y() * c.y() + c.z() * c.z()), Ic.yx() - m * c.x() * c.y(),
             Ic.yy() + m * (c.x() * c.x() + c.z() * c.z()), Ic.zx() - m * c.x() * c.z(),
             Ic.zy() - m * c.y() * c.z(), Ic.zz() + m * (c.x() * c.x() + c.y() * c.y())}};
  }

  constexpr S m() const { return m_; }
  constexpr const Vector& h() const { return h_; }
  constexpr const Symmetric& I() const { return I_; }

 private:
  S m_;
  Vector h_;
  Symmetric I_;
};

template <class S>
constexpr InertiaT<S> operator+(const InertiaT<S>& a, const InertiaT<S>& b) {
  return {a.m() + b.m(), a.h() + b.h(), a.I() + b.I()};
}

/// Momentum of a velocity, or inertial force of an acceleration.
template <class S>
constexpr ForceT<S> operator*(const InertiaT<S>& i, const MotionT<S>& m) {
  return {i.I() * m.w() + i.h().cross(m.v()), i.m() * m.v() - i.h().cross(m.w())};
}

using Inertia = InertiaT<float>;

static_assert(sizeof(Inertia) == 10 * sizeof(float));

}  // namespace metapod::Spatial
