#include "apps/replay/signals.hpp"

#include <memory>

#include <Eigen/Eigenvalues>

#include "motion/robot_names.hpp"

namespace replay {
namespace {

// Ratio of the extreme eigenvalues: the matrix is symmetric and positive definite.
double condition_number(const Eigen::MatrixXd& symmetric) {
  const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver(symmetric, Eigen::EigenvaluesOnly);
  return solver.eigenvalues().maxCoeff() / solver.eigenvalues().minCoeff();
}

// PREFIX.ROW.COLUMN, row by row.
std::vector<std::string> matrix_columns(const std::string& prefix,
                                        const std::vector<std::string>& rows,
                                        const std::vector<std::string>& columns) {
  std::vector<std::string> names;
  for (const std::string& row : rows) {
    for (const std::string& column : columns) names.push_back(prefix + "." + row + "." + column);
  }
  return names;
}

template <class Matrix>
void append_rows(const Matrix& matrix, std::vector<float>& row) {
  for (Eigen::Index i = 0; i < matrix.rows(); ++i) {
    for (Eigen::Index j = 0; j < matrix.cols(); ++j) row.push_back(matrix(i, j));
  }
}

}  // namespace

Eigen::Quaterniond quaternion_of(const KT::Math::Transform& pose) {
  Eigen::Matrix3d R;
  R << pose.m[0], pose.m[1], pose.m[2], pose.m[4], pose.m[5], pose.m[6], pose.m[8], pose.m[9],
      pose.m[10];
  return Eigen::Quaterniond(R).normalized();
}

bool is_turned(const Eigen::Quaterniond& q, const std::optional<Eigen::Quaterniond>& last) {
  Eigen::Index largest = 0;
  q.coeffs().cwiseAbs().maxCoeff(&largest);
  return (last ? q.dot(*last) : q.coeffs()(largest)) < 0;
}

Signal com_signal() {
  Signal signal;
  signal.columns = {"com.x", "com.y", "com.z"};
  signal.read = [](const Observation& observed, std::vector<float>& row) {
    const KT::Math::Position3D& com = observed.system().getComPosition();
    row.insert(row.end(), {com.x, com.y, com.z});
  };
  return signal;
}

Signal pose_signal(const tavo::RigidBodySystem& system, const std::string& body) {
  Signal signal;
  for (const char* part : {".x", ".y", ".z", ".qw", ".qx", ".qy", ".qz"}) {
    signal.columns.push_back(body + part);
  }
  signal.read = [id = system.getBodyId(body), last = std::optional<Eigen::Quaterniond>()](
                    const Observation& observed, std::vector<float>& row) mutable {
    const KT::Math::Transform& pose = observed.system().getPose(id);
    Eigen::Quaterniond q = quaternion_of(pose);
    if (is_turned(q, last)) q.coeffs() *= -1;
    row.insert(row.end(), {pose.m[3], pose.m[7], pose.m[11]});
    for (const double component : {q.w(), q.x(), q.y(), q.z()}) {
      row.push_back(static_cast<float>(component));
    }
    last = q;
  };
  return signal;
}

Signal torque_signal(const tavo::RigidBodySystem& system) {
  Signal signal;
  for (const std::string& joint : motion::names_of(system).joints) {
    signal.columns.push_back("torque." + joint);
  }
  signal.read = [](const Observation& observed, std::vector<float>& row) {
    const tavo::JointRange torques = observed.system().getJointAnglesTorque();
    row.insert(row.end(), torques.first, torques.second);
  };
  return signal;
}

Signal jacobian_signal(const tavo::RigidBodySystem& system) {
  Signal signal;
  signal.columns = matrix_columns("J", {"wx", "wy", "wz", "vx", "vy", "vz"},
                                  motion::names_of(system).coordinates());
  signal.read = [](const Observation& observed, std::vector<float>& row) {
    append_rows(observed.system().getJacobianInRoot(), row);
  };
  return signal;
}

Signal mass_matrix_signal(const tavo::RigidBodySystem& system) {
  const std::vector<std::string> coordinates = motion::names_of(system).coordinates();
  Signal signal;
  signal.columns = matrix_columns("H", coordinates, coordinates);
  signal.columns.push_back("H.joint_condition");
  signal.compute = [](tavo::RigidBodySystem& computed) { computed.computeGeneralizedMass(); };
  signal.read = [](const Observation& observed, std::vector<float>& row) {
    const auto& H = observed.system().getGeneralizedMass();
    append_rows(H, row);
    const Eigen::Index joints = H.rows() - 6;
    const Eigen::MatrixXd joint_block = H.bottomRightCorner(joints, joints).cast<double>();
    row.push_back(static_cast<float>(condition_number(joint_block)));
  };
  return signal;
}

Signal partial_com_signal(const tavo::RigidBodySystem& system, const std::string& body) {
  Signal signal;
  for (const char* part : {".x", ".y", ".z"}) {
    signal.columns.push_back("partial-com:" + body + part);
  }
  const auto com_root = std::make_shared<KT::Math::Position3D>();
  signal.compute = [id = system.getBodyId(body), com_root](tavo::RigidBodySystem& computed) {
    *com_root = computed.computePartialComPositionInRoot(id);
  };
  signal.read = [com_root](const Observation&, std::vector<float>& row) {
    row.insert(row.end(), {com_root->x, com_root->y, com_root->z});
  };
  return signal;
}

}  // namespace replay
