#include "apps/urdf/robot.hpp"

#include <Eigen/Geometry>
#include <Eigen/SVD>

namespace urdf_export {
namespace {

/// The pose with the rotation nearest to R (Golub and Van Loan 2013, section 6.4.1: orthogonal
/// Procrustes problem). The model's rotations are orthonormal to single precision only.
Eigen::Isometry3d rigid(const KT::Math::Transform& t) {
  const Eigen::Matrix<double, 3, 4> m =
      Eigen::Map<const Eigen::Matrix<float, 3, 4, Eigen::RowMajor>>(t.m).cast<double>();
  const Eigen::JacobiSVD<Eigen::Matrix3d> svd(m.leftCols<3>(),
                                              Eigen::ComputeFullU | Eigen::ComputeFullV);
  Eigen::Isometry3d pose = Eigen::Isometry3d::Identity();
  pose.linear() = svd.matrixU() * svd.matrixV().transpose();
  pose.translation() = m.col(3);
  return pose;
}

/// The centre of mass that the system keeps, in the body's own frame: the world's, once the body's
/// pose is the identity.
Eigen::Vector3f com_body(tavo::RigidBodySystem& system, unsigned long i) {
  system.setPose(i, KT::Math::Transform());
  const KT::Math::Position3D com = system.getComPosition(i);
  return {com.x, com.y, com.z};
}

/// Poses in the root relate bodies to their parents: so a chain of the joints' placements leads
/// back to the pose that the plug-in gave, and no error grows along it.
Joint read_joint(const tavo::RigidBodySystem& system, unsigned long body, unsigned long parent,
                 Eigen::Index coordinate) {
  const Eigen::Isometry3d pose_root = rigid(system.getPoseInRoot(body));
  const Eigen::Isometry3d pose_parent = rigid(system.getPoseInRoot(parent)).inverse() * pose_root;
  const Eigen::Vector3d axis_root =
      system.getJacobianInRoot().col(coordinate).head<3>().cast<double>();
  return {system.getJointAngleName(static_cast<unsigned long>(coordinate) - 6),
          system.getBodyName(parent), pose_parent.linear(), pose_parent.translation(),
          (pose_root.linear().transpose() * axis_root).normalized()};
}

}  // namespace

std::vector<Body> read_robot(tavo::RigidBodySystem& system) {
  system.setJointAnglesPos(std::vector<float>(system.getNbDofs(), 0));
  system.computeFwdKinematicsExceptRoot();
  const std::vector<std::int64_t> parents = system.getParentsVector();
  const std::vector<std::int64_t> coordinates = system.getDofIndexesVector();
  std::vector<Body> bodies;
  for (unsigned long i = 0; i < system.getNbBodies(); ++i) {
    Body body{system.getBodyName(i), {}, system.getMass(i), com_body(system, i)};
    if (parents[i] >= 0) {
      body.joint = read_joint(system, i, static_cast<unsigned long>(parents[i]), coordinates[i]);
    }
    bodies.push_back(body);
  }
  return bodies;
}

}  // namespace urdf_export
