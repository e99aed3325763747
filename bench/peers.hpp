#pragma once

#include <memory>
#include <string>
#include <vector>

#include <Eigen/Core>

#include "bench/operations.hpp"
#include "bench/states.hpp"

namespace bench {

/// Results of one state in the plug-in's frames and orders: what must agree before times are
/// compared.
struct Answers {
  Eigen::MatrixXd poses = Eigen::MatrixXd::Zero(12, nb_bodies);    ///< [R | p] by columns, world
  Eigen::Vector3d com = Eigen::Vector3d::Zero();                   ///< world
  Eigen::MatrixXd jacobian = Eigen::MatrixXd::Zero(6, nb_joints);  ///< angular first, root axes
  Eigen::VectorXd torques = Eigen::VectorXd::Zero(nb_joints);
  Eigen::MatrixXd mass;  ///< 28 x 28, or 22 x 22 of the joints alone
};

/// A general-purpose library that holds the same robot, built from the same table, and the same
/// states in its own form.
class Peer {
 public:
  virtual ~Peer() = default;
  virtual std::string name() const = 0;
  virtual std::string version() const = 0;
  /// What fk, id and mass call.
  virtual std::string fk_calls() const = 0;
  virtual std::string id_calls() const = 0;
  virtual std::string mass_calls() const = 0;

  /// State k is the one that the next operations are about.
  virtual void set(std::size_t k) = 0;
  virtual void fk() = 0;    ///< poses, Jacobian and centre of mass
  virtual void id() = 0;    ///< torques
  virtual void mass() = 0;  ///< mass matrix with the kinematics it needs

  /// The state without what the library has no place for.
  virtual State comparable(State s) const = 0;
  /// Of the state that is set, all computed here.
  virtual Answers answers() = 0;
};

/// The libraries that this program was built with.
std::vector<std::unique_ptr<Peer>> peers(const std::vector<State>& states);
std::unique_ptr<Peer> mujoco_peer(const std::vector<State>& states);
std::unique_ptr<Peer> kdl_peer(const std::vector<State>& states);

/// Largest difference between the plug-in and a peer on some of the states, each quantity relative
/// to its largest entry.
double largest_difference(Host& host, Peer& peer, const std::vector<State>& states);

}  // namespace bench
