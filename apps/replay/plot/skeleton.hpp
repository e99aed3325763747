#pragma once

#include <cstddef>
#include <host/rigid_body_system.hpp>
#include <string>
#include <vector>

#include <Eigen/Core>

namespace replay {

enum class Side { middle, left, right };

Eigen::Vector3d as_vector(const KT::Math::Position3D& point);

/// A point seen from the robot's right when it looks along x: x and z.
inline Eigen::Vector2d from_side(const Eigen::Vector3d& point) {
  return {point.x(), point.z()};
}

/// The outline of a sole as it is drawn, in metres from the point below the ankle: the robot's
/// model has none.
inline constexpr float drawn_heel = -0.035f, drawn_toe = 0.075f, drawn_half_width = 0.025f;

/// The robot as a stick figure, made from the names and parents that the plug-in gives. A foot ends
/// in its sole, the head in a ball about its centre of mass, a forearm where it would if it were
/// an even rod.
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
  /// A joint of a leg, which ends in a foot, or of an arm. `kind`: its name without the side.
  struct LimbJoint {
    std::size_t index;
    Side side;
    std::string kind;
    bool leg;
  };

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
