#include <kdl/chaindynparam.hpp>
#include <kdl/config.h>
#include <kdl/tree.hpp>
#include <kdl/treefksolverpos_recursive.hpp>
#include <kdl/treeidsolver_recursive_newton_euler.hpp>
#include <kdl/treejnttojacsolver.hpp>

#include "bench/peers.hpp"
#include "model/orvek23_data.hpp"

namespace bench {
namespace {

const auto& bodies = metapod::orvek23_bodies;
const KDL::Vector gravity(0, 0, -9.81);

KDL::Vector com_of(const metapod::BodyRow& row) {
  const auto& h = row.first_moment;
  return KDL::Vector(h[0], h[1], h[2]) / row.mass;
}

KDL::Tree load_robot() {
  KDL::Tree tree(bodies[0].name);
  for (std::size_t i = 1; i < nb_bodies; ++i) {
    const auto& [E, r] = bodies[i].placement;
    const auto axis = [](const std::array<float, 3>& a) { return KDL::Vector(a[0], a[1], a[2]); };
    const KDL::Frame placement(KDL::Rotation(axis(E[0]), axis(E[1]), axis(E[2])), axis(r));
    const KDL::Joint joint(bodies[i].name, placement.p, placement.M.UnitZ(), KDL::Joint::RotAxis);
    const KDL::RigidBodyInertia point_mass(bodies[i].mass, com_of(bodies[i]),
                                           KDL::RotationalInertia::Zero());
    tree.addSegment(KDL::Segment(bodies[i].name, joint, placement, point_mass),
                    bodies[bodies[i].parent].name);
  }
  return tree;
}

/// A chain of bodies first .. last that hangs on the root.
struct Limb {
  std::size_t first, last;
  KDL::Chain chain;
  KDL::JntArray q;
  KDL::JntSpaceInertiaMatrix H;
  std::unique_ptr<KDL::ChainDynParam> dynamics;  ///< refers to `chain`
};

/// Its base is fixed: the root stays at the world's origin.
class KdlPeer final : public Peer {
 public:
  explicit KdlPeer(const std::vector<State>& states) {
    for (const State& s : states) states_.push_back(converted(s));
    for (std::size_t i = 1; i < nb_bodies; ++i) {
      if (bodies[i].parent == 0)
        limbs_.push_back(std::make_unique<Limb>(Limb{i, i, {}, {}, {}, {}}));
      limbs_.back()->last = i;
    }
    for (const auto& limb : limbs_) {
      tree_.getChain(bodies[0].name, bodies[limb->last].name, limb->chain);
      limb->q.resize(limb->chain.getNrOfJoints());
      limb->H.resize(limb->chain.getNrOfJoints());
      limb->dynamics = std::make_unique<KDL::ChainDynParam>(limb->chain, gravity);
    }
  }

  std::string name() const override { return "KDL"; }
  std::string version() const override { return KDL_VERSION_STRING; }
  std::string fk_calls() const override {
    return "22 TreeFkSolverPos_recursive::JntToCart, 5 TreeJntToJacSolver::JntToJac, sum of "
           "m c; fixed base";
  }
  std::string id_calls() const override { return "TreeIdSolver_RNE::CartToJnt; fixed base"; }
  std::string mass_calls() const override { return "5 ChainDynParam::JntToMass; fixed base"; }

  void set(std::size_t k) override { now_ = &states_[k]; }
  void fk() override;
  void id() override {
    dynamics_.CartToJnt(now_->q, now_->dq, now_->ddq, now_->wrenches, torques_);
  }
  void mass() override {
    for (const auto& limb : limbs_) {
      limb->q.data = now_->q.data.segment(limb->first - 1, limb->q.rows());
      limb->dynamics->JntToMass(limb->q, limb->H);
    }
  }

  State comparable(State s) const override {
    const State at_rest;
    s.root_pose = at_rest.root_pose;
    s.root_velocity = at_rest.root_velocity;
    s.root_acceleration = at_rest.root_acceleration;
    return s;
  }
  Answers answers() override;

 private:
  struct KdlState {
    KDL::JntArray q{nb_joints}, dq{nb_joints}, ddq{nb_joints};
    KDL::WrenchMap wrenches;
  };
  static KdlState converted(const State& s);

  KDL::Tree tree_ = load_robot();
  KDL::TreeFkSolverPos_recursive positions_{tree_};
  KDL::TreeJntToJacSolver jacobians_{tree_};
  KDL::TreeIdSolver_RNE dynamics_{tree_, gravity};
  std::vector<std::unique_ptr<Limb>> limbs_;
  std::vector<KdlState> states_;
  const KdlState* now_ = nullptr;
  std::array<KDL::Frame, nb_bodies> poses_;
  KDL::Vector com_;
  KDL::Jacobian J_{nb_joints}, J_limb_{nb_joints};
  KDL::JntArray torques_{nb_joints};
};

KdlPeer::KdlState KdlPeer::converted(const State& s) {
  KdlState k;
  for (unsigned i = 0; i < nb_joints; ++i) {
    k.q(i) = s.q[i];
    k.dq(i) = s.dq[i];
    k.ddq(i) = s.ddq[i];
  }
  for (std::size_t i = 0; i < nb_bodies; ++i) {
    const auto& f = s.wrenches[i];
    k.wrenches[bodies[i].name] = {{f[0], f[1], f[2]}, {f[3], f[4], f[5]}};
  }
  return k;
}

void KdlPeer::fk() {
  double total_mass = bodies[0].mass;
  com_ = total_mass * com_of(bodies[0]);
  for (std::size_t i = 1; i < nb_bodies; ++i) {
    positions_.JntToCart(now_->q, poses_[i], bodies[i].name);
    com_ += bodies[i].mass * (poses_[i] * com_of(bodies[i]));
    total_mass += bodies[i].mass;
  }
  com_ = com_ / total_mass;
  for (const auto& limb : limbs_) {  // the columns of one limb, moved from its end to the root
    jacobians_.JntToJac(now_->q, J_limb_, bodies[limb->last].name);
    J_limb_.changeRefPoint(-poses_[limb->last].p);
    const std::size_t first_joint = limb->first - 1, nb = limb->q.rows();
    J_.data.middleCols(first_joint, nb) = J_limb_.data.middleCols(first_joint, nb);
  }
}

Answers KdlPeer::answers() {
  fk();
  id();
  mass();
  Answers a;
  for (std::size_t i = 0; i < nb_bodies; ++i) {
    const KDL::Frame& f = poses_[i];
    for (int row = 0; row < 3; ++row) {
      for (int column = 0; column < 4; ++column) a.poses(row + 3 * column, i) = f(row, column);
    }
  }
  a.com = {com_.x(), com_.y(), com_.z()};
  a.jacobian << J_.data.bottomRows<3>(), J_.data.topRows<3>();
  a.torques = torques_.data;
  a.mass = Eigen::MatrixXd::Zero(nb_joints, nb_joints);  // limbs do not couple on a fixed base
  for (const auto& limb : limbs_) {
    const auto n = limb->H.rows();
    a.mass.block(limb->first - 1, limb->first - 1, n, n) = limb->H.data;
  }
  return a;
}

}  // namespace

std::unique_ptr<Peer> kdl_peer(const std::vector<State>& states) {
  return std::make_unique<KdlPeer>(states);
}

}  // namespace bench
