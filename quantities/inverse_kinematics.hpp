#pragma once

/// @file
/// Inverse kinematics of legs, arms and the whole body.

#include <array>
#include <cstddef>
#include <host/rigid_body_system.hpp>
#include <limits>
#include <quantities/configuration.hpp>
#include <quantities/state.hpp>
#include <quantities/types.hpp>
#include <vector>

#include <Eigen/Core>

namespace tavo::quantities {

/// Which of the 28 coordinates may move; `a || b` unites two.
using Moving = Eigen::Array<bool, nb_dofs, 1>;

/// The root and all joints.
Moving whole_body();
/// The joints between the root and a body. Throws std::invalid_argument for a body that is not
/// there.
Moving chain_to(const Model& model, unsigned long body);

/// Finds root pose and joint angles that bring bodies and the centre of mass where they shall be,
/// by damped least squares: Levenberg 1944, Marquardt 1963, the damping of Nielsen 1999; for robots
/// Nakamura, Hanafusa 1986. What the targets leave open moves as little as it can.
///
///   InverseKinematics ik(*robot);
///   ik.reach({left_foot}, left_world);         // pose
///   ik.reach({right_foot}, right_world);
///   ik.reach_com(com_world);
///   if (!ik.solve().reached) ...
class InverseKinematics {
 public:
  static constexpr std::size_t most_targets = 6;  ///< of bodies; the centre of mass is one more

  /// How to search.
  struct Options {
    Moving moving = whole_body();  ///< what may move
    double tolerance = 1e-6;       ///< m and rad, of every target
    int most_iterations = 100;     ///< of one attempt
    /// A search can end in a fold (a straight knee) though the target is within reach. Then it
    /// starts anew from the first configuration with each moving joint off by up to 0.7 rad, the
    /// same ones at every call. 1: no second attempt.
    int most_attempts = 10;
    /// Lower limits of the joints, rad. The start is moved to within the limits.
    JointVector lower = JointVector::Constant(-std::numeric_limits<double>::infinity());
    /// Upper limits of the joints, rad.
    JointVector upper = JointVector::Constant(std::numeric_limits<double>::infinity());
  };

  /// What was found, seen in the poses of the system itself.
  struct Result {
    bool reached;                 ///< all targets to within the tolerance
    double position_error;        ///< largest distance of a point or the centre of mass, m
    double orientation_error;     ///< largest angle, rad
    int iterations;               ///< of all attempts
    Configuration configuration;  ///< of the best attempt
  };

  /// Keeps a reference: the system must outlive this. Allocates. Throws like Model.
  explicit InverseKinematics(RigidBodySystem& system);

  Options options;  ///< may be changed before any search

  /// Tree and inertias; inertias that the host has set do matter here only by masses and centres of
  /// mass, which are read at construction.
  Model& model() { return state_.model(); }

  /// Forgets all targets.
  void clear();
  /// The point shall come to the target's origin, the body's axes to the target's axes (world).
  /// Throws std::invalid_argument for a body that is not there, a target that is not finite or no
  /// rotation, or too many targets.
  void reach(const BodyPoint& point, const Pose& target_world);
  /// The point shall come to a place, m, in any orientation. Throws likewise.
  void reach(const BodyPoint& point, const Vector3& target_world);
  /// The centre of mass of all bodies shall come to a place, m; replaces an earlier one.
  void reach_com(const Vector3& target_world);

  /// Searches from the system's present positions. Leaves the system at what was found, reached or
  /// not, with its kinematics computed. Throws std::invalid_argument if there is no target or a
  /// lower limit is above an upper one.
  Result solve();

 private:
  struct Target {
    BodyPoint point;
    Pose pose;
    bool oriented;
  };
  /// How far the targets are from a configuration.
  struct Errors {
    double squares;  ///< sum of all, m2 and rad2
    double position, orientation;
    bool within(double tolerance) const {
      return position <= tolerance && orientation <= tolerance;
    }
  };

  void add(const Target& target);
  void check() const;
  void go_to(const Configuration& configuration);
  Errors errors() const;
  void normal_equations();
  Moving moving_from(const Configuration& at) const;
  Configuration stepped(const Configuration& at, double damping) const;
  Result search(const Configuration& start);
  Configuration limited(Configuration configuration) const;
  Configuration shaken(const Configuration& start, int attempt) const;

  RigidBodySystem& system_;
  State state_;
  std::array<Target, most_targets> targets_;
  std::size_t nb_targets_ = 0;
  bool com_has_target_ = false;
  Vector3 com_target_ = Vector3::Zero();
  MassMatrix JtJ_ = MassMatrix::Zero();
  Coordinates Jte_ = Coordinates::Zero();
  std::vector<float> joints_;
};

}  // namespace tavo::quantities
