#pragma once

#include "spatial/force.hpp"
#include "spatial/inertia.hpp"
#include "spatial/motion.hpp"
#include "spatial/transform.hpp"
#include "spatial/vector.hpp"
#include "tests/oracle.hpp"

/// The library's values, on any scalar, as the oracle's dense matrices.
namespace test {

template <class S>
oracle::Vector3 dense(const metapod::Spatial::Vector3T<S>& v) {
  return {v.x(), v.y(), v.z()};
}
template <class S>
oracle::Vector6 dense(const metapod::Spatial::MotionT<S>& m) {
  return (oracle::Vector6() << dense(m.w()), dense(m.v())).finished();
}
template <class S>
oracle::Vector6 dense(const metapod::Spatial::ForceT<S>& F) {
  return (oracle::Vector6() << dense(F.n()), dense(F.f())).finished();
}
template <class S>
oracle::Matrix3 dense(const metapod::Spatial::SymmetricMatrix3T<S>& A) {
  return oracle::Matrix3{
      {A.xx(), A.yx(), A.zx()}, {A.yx(), A.yy(), A.zy()}, {A.zx(), A.zy(), A.zz()}};
}
template <class S>
oracle::Matrix6 dense(const metapod::Spatial::InertiaT<S>& I) {
  return oracle::inertia_matrix(I.m(), dense(I.h()), dense(I.I()));
}
template <class R>
oracle::Matrix3 dense_rotation(const R& E) {
  using Vector = typename R::Vector;
  oracle::Matrix3 m;
  m << dense(E * Vector(1, 0, 0)), dense(E * Vector(0, 1, 0)), dense(E * Vector(0, 0, 1));
  return m;
}
template <class R>
oracle::Matrix6 dense(const metapod::Spatial::TransformT<R>& X) {
  return oracle::motion_matrix(dense_rotation(X.E()), dense(X.r()));
}

}  // namespace test
