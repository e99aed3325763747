#include "apps/replay/plot/skeleton.hpp"

#include <algorithm>
#include <cstdint>

#include "apps/replay/sole_outline.hpp"
#include "motion/soles.hpp"

namespace replay {
namespace motion = tavo::motion;
namespace {

using Eigen::Vector3d;

Side side_of(const std::string& name) {
  return name.starts_with('L') ? Side::left : name.starts_with('R') ? Side::right : Side::middle;
}

bool is_foot(const std::string& body) {
  return std::find(motion::foot_bodies.begin(), motion::foot_bodies.end(), body) !=
         motion::foot_bodies.end();
}

Vector3d origin(const KT::Math::Transform& pose) {
  return {pose.m[3], pose.m[7], pose.m[11]};
}

Eigen::Matrix3d axes(const KT::Math::Transform& pose) {
  return Eigen::Map<const Eigen::Matrix<float, 3, 4, Eigen::RowMajor>>(pose.m)
      .leftCols<3>()
      .cast<double>();
}

}  // namespace

Vector3d as_vector(const KT::Math::Position3D& point) {
  return {point.x, point.y, point.z};
}

Skeleton::Skeleton(const tavo::RigidBodySystem& system) : point_count_(system.getNbBodies()) {
  const std::vector<std::int64_t> parents = system.getParentsVector();
  for (std::size_t body = 0; body < parents.size(); ++body) {
    const std::string& name = system.getBodyName(body);
    const Side side = side_of(name);
    if (parents[body] >= 0) {  // from the root to a shoulder or a hip it is the trunk
      bars_.push_back({static_cast<std::size_t>(parents[body]), body,
                       parents[body] == 0 ? Side::middle : side});
    }
    const auto child = std::find(parents.begin(), parents.end(), static_cast<std::int64_t>(body));
    if (child != parents.end()) continue;
    const EndKind kind = is_foot(name)          ? EndKind::sole
                         : side == Side::middle ? EndKind::ball
                                                : EndKind::rod;
    const Vector3d ahead = axes(system.getPose(body)).transpose() * axes(system.getPose(0)).col(0);
    add_end({body, kind, ahead}, side);
    add_limb_joints(system, ends_.back());
  }
}

// The points that points() appends for this end, joined.
void Skeleton::add_end(const End& end, Side side) {
  ends_.push_back(end);
  const std::size_t first = point_count_, second = first + 1;
  bars_.push_back({end.body, first, side});
  if (end.kind == EndKind::sole) {
    bars_.insert(bars_.end(), {{first, second, side}, {second, end.body, side}});
  }
  if (end.kind == EndKind::ball) {
    balls_.push_back({second, first});
    bars_.push_back({second, second + 1, side});
  }
  point_count_ += end.kind == EndKind::rod ? 1 : end.kind == EndKind::sole ? 2 : 3;
}

// From the end of a chain to the root, so a limb's joints stand in reverse order first.
void Skeleton::add_limb_joints(const tavo::RigidBodySystem& system, const End& end) {
  const std::vector<std::int64_t> parents = system.getParentsVector();
  const auto first = static_cast<std::ptrdiff_t>(limb_joints_.size());
  for (std::size_t body = end.body; parents[body] >= 0;
       body = static_cast<std::size_t>(parents[body])) {
    const std::string& name = system.getBodyName(body);
    const Side side = side_of(name);
    const Limb limb = end.kind == EndKind::sole   ? Limb::leg
                      : end.kind == EndKind::ball ? Limb::head
                                                  : Limb::arm;
    limb_joints_.push_back(
        {system.getJointAngleId(name), side, side == Side::middle ? name : name.substr(1), limb});
  }
  std::reverse(limb_joints_.begin() + first, limb_joints_.end());
}

std::vector<Vector3d> Skeleton::points(const tavo::RigidBodySystem& system) const {
  std::vector<Vector3d> points;
  points.reserve(point_count_);
  for (unsigned long body = 0; body < system.getNbBodies(); ++body) {
    points.push_back(origin(system.getPose(body)));
  }
  for (const End& end : ends_) {
    const KT::Math::Transform& pose = system.getPose(end.body);
    const Vector3d com = as_vector(system.getComPosition(end.body));
    switch (end.kind) {
      case EndKind::sole:
        points.push_back(as_vector(motion::sole_point(pose, sole_heel)));
        points.push_back(as_vector(motion::sole_point(pose, sole_toe)));
        break;
      case EndKind::rod:
        points.push_back(2 * com - origin(pose));
        break;
      case EndKind::ball:
        points.push_back((origin(pose) + com) / 2);
        points.push_back(com);
        points.push_back(com + 0.75 * (com - origin(pose)).norm() * (axes(pose) * end.ahead));
        break;
    }
  }
  return points;
}

}  // namespace replay
