#include "bench/peers.hpp"

#include <algorithm>
#include <limits>

namespace bench {
namespace {

Answers answers_of(Host& host, const State& s) {
  for (const char* name : {"FK", "ID", "MM"}) {
    operation(name).prepare(host, s);
    operation(name).run(host, s);
  }
  Answers a;
  for (unsigned long i = 0; i < nb_bodies; ++i) {
    const Eigen::Map<const Eigen::Matrix<float, 3, 4, Eigen::RowMajor>> pose(
        host.system->getPose(i).m);
    a.poses.col(i) = pose.cast<double>().reshaped();
  }
  const KT::Math::Position3D& com = host.system->getComPosition();
  a.com = {com.x, com.y, com.z};
  a.jacobian = host.system->getJacobianInRoot().rightCols(nb_joints).cast<double>();
  const float* torques = host.system->getJointAnglesTorque().first;
  a.torques = Eigen::Map<const Eigen::VectorXf>(torques, nb_joints).cast<double>();
  a.mass = host.system->getGeneralizedMass().cast<double>();
  return a;
}

double difference(const Eigen::MatrixXd& got, const Eigen::MatrixXd& want) {
  const double error = (got - want).cwiseAbs().maxCoeff() / want.cwiseAbs().maxCoeff();
  return error >= 0 ? error : std::numeric_limits<double>::infinity();  // not a number: no match
}

}  // namespace

std::vector<std::unique_ptr<Peer>> peers([[maybe_unused]] const std::vector<State>& states) {
  std::vector<std::unique_ptr<Peer>> found;
#ifdef ORVEK23_HAVE_MUJOCO
  found.push_back(mujoco_peer(states));
#endif
#ifdef ORVEK23_HAVE_KDL
  found.push_back(kdl_peer(states));
#endif
  return found;
}

double largest_difference(Host& host, Peer& peer, const std::vector<State>& states) {
  double largest = 0;
  for (std::size_t k = 0; k < states.size(); k += 10) {
    const Answers ours = answers_of(host, peer.comparable(states[k]));
    peer.set(k);
    const Answers theirs = peer.answers();
    const auto n = theirs.mass.rows();
    largest = std::max(
        {largest, difference(ours.poses, theirs.poses), difference(ours.com, theirs.com),
         difference(ours.jacobian, theirs.jacobian), difference(ours.torques, theirs.torques),
         difference(ours.mass.bottomRightCorner(n, n), theirs.mass)});
  }
  return largest;
}

}  // namespace bench
