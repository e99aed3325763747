#pragma once

#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/motion.hpp"
#include "spatial/rotation.hpp"
#include "spatial/vector.hpp"

namespace metapod::Spatial {

namespace internal {

/// Shift of the origin of a rotated inertia (m, a = Eᵀ h, A = Eᵀ I E) by r:
/// I' = A - r x a x - h' x r x, with h' = a + m r. Both terms have the form (k·r) 1 - ..., which
/// gives the diagonal k = a + h' at once.
template <class S>
constexpr InertiaT<S> shifted(S m, const Vector3T<S>& a, const SymmetricMatrix3T<S>& A,
                              const Vector3T<S>& r) {
  const Vector3T<S> h = a + m * r;
  const Vector3T<S> k = a + h;
  const S kx = k.x() * r.x(), ky = k.y() * r.y(), kz = k.z() * r.z();
  return {m,
          h,
          {A.xx() + (ky + kz), A.yx() - (a.y() * r.x() + r.y() * h.x()), A.yy() + (kx + kz),
           A.zx() - (a.z() * r.x() + r.z() * h.x()), A.zy() - (a.z() * r.y() + r.z() * h.y()),
           A.zz() + (kx + ky)}};
}

}  // namespace internal

/// Change of frame bXa, from frame a (the parent) to frame b (the child): E rotates a-coordinates
/// into b-coordinates, r is b's origin in a (m). Featherstone 2008, section 2.8.
template <class Rotation>
class TransformT {
 public:
  using Scalar = typename Rotation::Scalar;
  using Vector = Vector3T<Scalar>;
  using Motion = MotionT<Scalar>;
  using Force = ForceT<Scalar>;
  using Inertia = InertiaT<Scalar>;

  /// All zero, rotation included: not the identity.
  constexpr TransformT() = default;
  constexpr TransformT(const Rotation& E, const Vector& r) : E_(E), r_(r) {}
  template <class R2>
  constexpr explicit TransformT(const TransformT<R2>& X) : E_(X.E()), r_(X.r()) {}

  constexpr const Rotation& E() const { return E_; }
  constexpr Rotation& E() { return E_; }
  constexpr const Vector& r() const { return r_; }

  /// Point: p_b = E (p_a - r).
  constexpr Vector apply(const Vector& p_a) const { return E_ * (p_a - r_); }
  /// Point: p_a = Eᵀ p_b + r.
  constexpr Vector applyInv(const Vector& p_b) const { return E_.transposed_times(p_b) + r_; }

  /// Motion: w_b = E w_a, v_b = E (v_a - r x w_a).
  constexpr Motion apply(const Motion& m_a) const {
    return {E_ * m_a.w(), E_ * (m_a.v() - r_.cross(m_a.w()))};
  }
  constexpr Motion operator*(const Motion& m_a) const { return apply(m_a); }
  /// Motion: w_a = Eᵀ w_b, v_a = Eᵀ v_b + r x w_a.
  constexpr Motion applyInv(const Motion& m_b) const {
    const Vector w_a = E_.transposed_times(m_b.w());
    return {w_a, E_.transposed_times(m_b.v()) + r_.cross(w_a)};
  }

  /// Force: n_b = E (n_a - r x f_a), f_b = E f_a.
  constexpr Force apply(const Force& F_a) const {
    return {E_ * (F_a.n() - r_.cross(F_a.f())), E_ * F_a.f()};
  }
  /// Force: f_a = Eᵀ f_b, n_a = Eᵀ n_b + r x f_a; the transpose of apply(Motion).
  constexpr Force applyInv(const Force& F_b) const {
    const Vector f_a = E_.transposed_times(F_b.f());
    return {E_.transposed_times(F_b.n()) + r_.cross(f_a), f_a};
  }

  /// Inertia: I_a = Xᵀ I_b X. Featherstone 2008, equation 2.66.
  constexpr Inertia applyInv(const Inertia& I_b) const {
    return internal::shifted(I_b.m(), E_.transposed_times(I_b.h()), E_.congruence(I_b.I()), r_);
  }

 private:
  Rotation E_;
  Vector r_;
};

/// cXa = cXb bXa: first X2, then X1.
template <class R1, class R2>
constexpr auto operator*(const TransformT<R1>& X1, const TransformT<R2>& X2) {
  const auto &r1 = X1.r(), &r2 = X2.r();
  const auto component = [&](int i) {
    const auto& column = X2.E().column(i);
    return r2[i] + column.x() * r1.x() + column.y() * r1.y() + column.z() * r1.z();
  };
  return TransformT<decltype(X1.E() * X2.E())>(X1.E() * X2.E(),
                                               {component(0), component(1), component(2)});
}

/// After a mere shift the translations add up.
template <class R1, class S>
constexpr auto operator*(const TransformT<R1>& X1,
                         const TransformT<RotationMatrixIdentityT<S>>& X2) {
  return TransformT<decltype(X1.E() * X2.E())>(X1.E() * X2.E(), X1.r() + X2.r());
}

static_assert(sizeof(TransformT<RotationMatrix>) == 12 * sizeof(float));
static_assert(sizeof(TransformT<RotationMatrixAboutZ>) == 5 * sizeof(float));
static_assert(sizeof(TransformT<RotationMatrixIdentity>) == 4 * sizeof(float));

}  // namespace metapod::Spatial
