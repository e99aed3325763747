#pragma once

#include <array>
#include <cstddef>

#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/motion.hpp"
#include "spatial/motion_subspace.hpp"
#include "spatial/rotation.hpp"
#include "spatial/transform.hpp"
#include "spatial/vector.hpp"

/// The scalars of a value, in storage order, and the value that has given scalars.
namespace metapod::lanes {

using Spatial::ConstraintMotionAxisZT;
using Spatial::ForceT;
using Spatial::InertiaT;
using Spatial::MotionT;
using Spatial::RotationMatrixAboutZT;
using Spatial::RotationMatrixIdentityT;
using Spatial::RotationMatrixT;
using Spatial::TransformT;
using Spatial::Vector3T;

template <class T>
struct Components;

template <class T>
using ComponentArray = std::array<typename Components<T>::Scalar, Components<T>::size>;

/// Same value type on another scalar type.
template <class T, class S>
using Rebound = typename Components<T>::template Rebind<S>;

template <class S>
struct Components<Vector3T<S>> {
  using Scalar = S;
  template <class S2>
  using Rebind = Vector3T<S2>;
  static constexpr std::size_t size = 3;
  static constexpr Vector3T<S> value(const S* e) { return {e[0], e[1], e[2]}; }
  static constexpr void write(const Vector3T<S>& v, S* e) {
    e[0] = v.x();
    e[1] = v.y();
    e[2] = v.z();
  }
};

template <class S>
struct Components<RotationMatrixT<S>> {
  using Scalar = S;
  template <class S2>
  using Rebind = RotationMatrixT<S2>;
  static constexpr std::size_t size = 9;
  static constexpr RotationMatrixT<S> value(const S* e) {
    return {{e[0], e[1], e[2]}, {e[3], e[4], e[5]}, {e[6], e[7], e[8]}};
  }
  static constexpr void write(const RotationMatrixT<S>& E, S* e) {
    Components<Vector3T<S>>::write(E.column(0), e);
    Components<Vector3T<S>>::write(E.column(1), e + 3);
    Components<Vector3T<S>>::write(E.column(2), e + 6);
  }
};

template <class S>
struct Components<RotationMatrixAboutZT<S>> {
  using Scalar = S;
  template <class S2>
  using Rebind = RotationMatrixAboutZT<S2>;
  static constexpr std::size_t size = 2;
  static constexpr RotationMatrixAboutZT<S> value(const S* e) { return {e[0], e[1]}; }
  static constexpr void write(const RotationMatrixAboutZT<S>& E, S* e) {
    e[0] = E.c();
    e[1] = E.s();
  }
};

template <class S>
struct Components<RotationMatrixIdentityT<S>> {
  using Scalar = S;
  template <class S2>
  using Rebind = RotationMatrixIdentityT<S2>;
  static constexpr std::size_t size = 1;
  static constexpr RotationMatrixIdentityT<S> value(const S* e) {
    return RotationMatrixIdentityT<S>(e[0]);
  }
  static constexpr void write(const RotationMatrixIdentityT<S>& E, S* e) { e[0] = E.kappa(); }
};

namespace internal {

/// Values made of two parts.
template <class T, class A, class B>
struct TwoParts {
  using Scalar = typename Components<A>::Scalar;
  static constexpr std::size_t size_a = Components<A>::size;
  static constexpr std::size_t size = size_a + Components<B>::size;
  static constexpr T value(const Scalar* e) {
    return {Components<A>::value(e), Components<B>::value(e + size_a)};
  }
  static constexpr void write(const A& a, const B& b, Scalar* e) {
    Components<A>::write(a, e);
    Components<B>::write(b, e + size_a);
  }
};

}  // namespace internal

template <class R>
struct Components<TransformT<R>>
    : internal::TwoParts<TransformT<R>, R, Vector3T<typename R::Scalar>> {
  template <class S2>
  using Rebind = TransformT<typename Components<R>::template Rebind<S2>>;
  using Parts = internal::TwoParts<TransformT<R>, R, Vector3T<typename R::Scalar>>;
  static constexpr void write(const TransformT<R>& X, typename R::Scalar* e) {
    Parts::write(X.E(), X.r(), e);
  }
};

template <class S>
struct Components<MotionT<S>> : internal::TwoParts<MotionT<S>, Vector3T<S>, Vector3T<S>> {
  template <class S2>
  using Rebind = MotionT<S2>;
  using Parts = internal::TwoParts<MotionT<S>, Vector3T<S>, Vector3T<S>>;
  static constexpr void write(const MotionT<S>& m, S* e) { Parts::write(m.w(), m.v(), e); }
};

template <class S>
struct Components<ConstraintMotionAxisZT<S>> {
  using Scalar = S;
  template <class S2>
  using Rebind = ConstraintMotionAxisZT<S2>;
  static constexpr std::size_t size = 6;
  static constexpr ConstraintMotionAxisZT<S> value(const S* e) {
    return ConstraintMotionAxisZT<S>(Components<MotionT<S>>::value(e));
  }
  static constexpr void write(const ConstraintMotionAxisZT<S>& s, S* e) {
    Components<MotionT<S>>::write(s.motion(), e);
  }
};

template <class S>
struct Components<ForceT<S>> : internal::TwoParts<ForceT<S>, Vector3T<S>, Vector3T<S>> {
  template <class S2>
  using Rebind = ForceT<S2>;
  using Parts = internal::TwoParts<ForceT<S>, Vector3T<S>, Vector3T<S>>;
  static constexpr void write(const ForceT<S>& F, S* e) { Parts::write(F.n(), F.f(), e); }
};

template <class S>
struct Components<InertiaT<S>> {
  using Scalar = S;
  template <class S2>
  using Rebind = InertiaT<S2>;
  static constexpr std::size_t size = 10;
  static constexpr InertiaT<S> value(const S* e) {
    return {e[0], {e[1], e[2], e[3]}, {e[4], e[5], e[6], e[7], e[8], e[9]}};
  }
  static constexpr void write(const InertiaT<S>& i, S* e) {
    const auto& I = i.I();
    e[0] = i.m();
    Components<Vector3T<S>>::write(i.h(), e + 1);
    e[4] = I.xx();
    e[5] = I.yx();
    e[6] = I.yy();
    e[7] = I.zx();
    e[8] = I.zy();
    e[9] = I.zz();
  }
};

template <class T>
constexpr ComponentArray<T> components(const T& value) {
  ComponentArray<T> e;
  Components<T>::write(value, e.data());
  return e;
}

template <class T>
constexpr T from_components(const ComponentArray<T>& e) {
  return Components<T>::value(e.data());
}

}  // namespace metapod::lanes
