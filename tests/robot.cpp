#include "tests/robot.hpp"

#include "model/orvek23_data.hpp"

namespace test {

oracle::Tree tree_of(std::span<const metapod::BodyRow> rows) {
  oracle::Tree tree;
  for (const metapod::BodyRow& row : rows) {
    oracle::Body body;
    body.parent = row.parent;
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) body.E(i, j) = row.placement.E[i][j];
      body.r[i] = row.placement.r[i];
      body.h[i] = row.first_moment[i];
    }
    body.m = row.mass;
    const auto& I = row.inertia;
    body.I << I[0], I[1], I[3], I[1], I[2], I[4], I[3], I[4], I[5];
    tree.push_back(body);
  }
  return tree;
}

const oracle::Tree& robot_tree() {
  static const oracle::Tree tree = tree_of(metapod::orvek23_bodies);
  return tree;
}

State random_state(std::mt19937& random, int bodies) {
  const auto uniform = [&random](Eigen::Index size, float limit) -> oracle::Vector {
    return oracle::Vector::NullaryExpr(size, [&random, limit](Eigen::Index) -> double {
      return std::uniform_real_distribution<float>(-limit, limit)(random);
    });
  };
  State s{uniform(bodies + 5, 3), uniform(bodies + 5, 4), uniform(bodies + 5, 20), {}};
  s.q.head<3>() /= 4;  // within a metre of the world's origin
  s.q[4] /= 2;         // pitch within 1.5 rad
  for (int i = 0; i < bodies; ++i) s.fext.emplace_back(uniform(6, 5));
  return s;
}

std::vector<float> floats(const oracle::Vector& values) {
  return {values.begin(), values.end()};
}

KT::Math::Transform transform(const oracle::Vector& root_coordinates) {
  const std::vector<float> c = floats(root_coordinates);
  return KT::Math::transformFromPosition6D({c[0], c[1], c[2], c[3], c[4], c[5]});
}

void set_state(tavo::RigidBodySystem& robot, const State& state) {
  const std::vector<float> v = floats(state.dq), a = floats(state.ddq);
  robot.setRootPose(transform(state.q));
  robot.setRootVelocity({v[0], v[1], v[2], v[3], v[4], v[5]});
  robot.setRootAcceleration({a[0], a[1], a[2], a[3], a[4], a[5]});
  robot.setJointAnglesPos(floats(state.q.tail(kJoints)));
  robot.setJointAnglesVel(floats(state.dq.tail(kJoints)));
  robot.setJointAnglesAcc(floats(state.ddq.tail(kJoints)));
  for (int i = 0; i < kBodies; ++i) {
    oracle::Vector6 w;
    w << state.fext[i].tail<3>(), state.fext[i].head<3>();
    robot.setExternalWrench(i, floats(w));
  }
}

oracle::Pose pose(const KT::Math::Transform& t) {
  const auto m = Eigen::Map<const Eigen::Matrix<float, 3, 4, Eigen::RowMajor>>(t.m);
  return {m.leftCols<3>().cast<double>(), m.col(3).cast<double>()};
}

oracle::Vector3 point(const KT::Math::Position3D& p) {
  return {p.x, p.y, p.z};
}

oracle::Vector torques(const tavo::RigidBodySystem& robot) {
  return Eigen::Map<const Eigen::VectorXf>(robot.getJointAnglesTorque().first, kJoints)
      .cast<double>();
}

double error(const oracle::Matrix& got, const oracle::Matrix& want) {
  const bool comparable = got.rows() == want.rows() && got.cols() == want.cols();
  if (!comparable || !got.allFinite() || !want.allFinite()) {
    return std::numeric_limits<double>::infinity();
  }
  return got.size() == 0 ? 0 : (got - want).cwiseAbs().maxCoeff();
}

}  // namespace test
