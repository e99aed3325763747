#include "spatial/inertia.hpp"

#include <array>

#include "spatial/motion_subspace.hpp"
#include "spatial/transform.hpp"

namespace metapod::Spatial {

namespace {

/// Shift of the origin of a rotated inertia (m, a = Eᵀ h, A = Eᵀ I E) by r:
/// I' = A - r x a x - h' x r x, with h' = a + m r. Both terms have the form (k·r) 1 - ..., which
/// gives the diagonal k = a + h' at once.
template <class S>
InertiaT<S> shifted(S m, const Vector3T<S>& a, const SymmetricMatrix3T<S>& A,
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

}  // namespace

template <class Rotation>
auto TransformT<Rotation>::applyInv(const Inertia& I_b) const -> Inertia {
  return shifted(I_b.m(), E_.transposed_times(I_b.h()), E_.congruence(I_b.I()), r_);
}

template class TransformT<RotationMatrix>;
template class TransformT<RotationMatrixAboutZ>;

std::array<Force, 6> operator*(const Inertia& I, const ConstraintMotionFreeFlyerBody& S) {
  const auto linear = [&](int j) {
    const Vector3& v = S.column(j).v();
    return Force(I.h().cross(v), I.m() * v);
  };
  const auto angular = [&](int j) {
    const Vector3& w = S.column(j).w();
    return Force(I.I() * w, -I.h().cross(w));
  };
  return {linear(0), linear(1), linear(2), angular(3), angular(4), angular(5)};
}

}  // namespace metapod::Spatial
