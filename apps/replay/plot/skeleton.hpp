#pragma once

#include <cstddef>
#include <host/rigid_body_system.hpp>
#include <string>
#include <vector>

#include <Eigen/Core>

namespace replay {

enum class Side { middle, left, right };

Eigen::Vector3d as_vector(const KT::Math::Position3D& point);

/// The robot as a stick figure, made from the names and parents that the plug-in gives. A foot ends
/// in its sole, the head in a ball about its centre of mass with a nose, a forearm where it would
/// if it were an even rod.
class Skeleton {
 public:
  /// A line between two points.
  struct Bar {
    std::size_t from, to;
    Side side;
  };
  /// A sphere about one point through another.
  struct Ball {
    std::size_t centre, rim;
  };
  /// A limb is a leg if it ends in a foot, the head if it is in the middle.
  enum class Limb { leg, arm, head };
  /// A joint of a limb. `kind`: its name without the side.
  struct LimbJoint {
    std::size_t index;
    Side side;
    std::string kind;
    Limb limb;
  };

  /// Of a system whose kinematics are computed, all joint angles zero: the robot looks ahead.
  explicit Skeleton(const tavo::RigidBodySystem& system);

  const std::vector<Bar>& bars() const { return bars_; }
  const std::vector<Ball>& balls() const { return balls_; }
  const std::vector<LimbJoint>& limb_joints() const { return limb_joints_; }

  /// Where the figure's points are in the world (m), from the system's getters: the origins of the
  /// bodies, then the ends of the chains.
  std::vector<Eigen::Vector3d> points(const tavo::RigidBodySystem& system) const;

 private:
  enum class EndKind { sole, rod, ball };
  struct End {
    std::size_t body;
    EndKind kind;
    Eigen::Vector3d ahead;  // the robot's x axis when it was created, in the body's frame
  };

  void add_end(const End& end, Side side);
  void add_limb_joints(const tavo::RigidBodySystem& system, const End& end);

  std::vector<End> ends_;
  std::size_t point_count_;
  std::vector<Bar> bars_;
  std::vector<Ball> balls_;
  std::vector<LimbJoint> limb_joints_;
};

}  // namespace replay
