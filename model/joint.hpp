#pragma once

#include "spatial/force.hpp"
#include "spatial/motion.hpp"
#include "spatial/motion_subspace.hpp"
#include "spatial/rotation.hpp"
#include "spatial/transform.hpp"

namespace metapod {

/// State of a joint whose transform has a rotation of kind Rotation and whose rates act through the
/// motion subspace Subspace. Everything starts at zero but S, which stays as it is constructed.
template <class Rotation, class Subspace, int nb_coordinates>
struct Joint {
  using Scalar = typename Rotation::Scalar;
  static constexpr int nb_dofs = nb_coordinates;

  Spatial::TransformT<Rotation> Xj;  ///< joint transform, from the joint's coordinates
  Spatial::MotionT<Scalar> cj;       ///< bias velocity: zero for these joints
  Spatial::MotionT<Scalar> vj;       ///< velocity across the joint, body frame
  Subspace S;                        ///< motion subspace, body frame
  Spatial::ForceT<Scalar> f;         ///< force across the joint onto the body, body frame
};

/// Six coordinates: position x, y, z of the body's origin in the parent frame, then the angles of
/// its orientation R = Rz(q5) Ry(q4) Rx(q3). The rates are the body's spatial velocity in its own
/// frame, linear part first.
template <class S>
using FreeFlyerJointT =
    Joint<Spatial::RotationMatrixT<S>, Spatial::ConstraintMotionFreeFlyerBodyT<S>, 6>;
using FreeFlyerJoint = FreeFlyerJointT<float>;

/// One coordinate: the angle of a turn about the z axis of the joint frame, right-handed.
template <class S>
using RevoluteAxisZJointT =
    Joint<Spatial::RotationMatrixAboutZT<S>, Spatial::ConstraintMotionAxisZT<S>, 1>;
using RevoluteAxisZJoint = RevoluteAxisZJointT<float>;

}  // namespace metapod
