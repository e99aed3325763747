#include "apps/urdf/shapes.hpp"

#include <algorithm>

namespace urdf_export {
namespace {

using Eigen::Isometry3d, Eigen::Vector3d;

constexpr double stick_radius = 0.012;

Shape stick(const Vector3d& end) {
  Isometry3d pose = Isometry3d::Identity();
  pose.linear() = Eigen::Quaterniond::FromTwoVectors(Vector3d::UnitZ(), end).toRotationMatrix();
  pose.translation() = end / 2;
  return {Stick{end.norm(), stick_radius}, pose};
}

/// A foot that stands flat has its x axis up, y to the right, z ahead, and stands on the ground
/// 0.045 m below the ankle. How far the sole reaches is no property of the model.
Shape sole() {
  constexpr double ankle_height = 0.045, thickness = 0.01, half_width = 0.025;
  constexpr double heel = -0.035, toe = 0.075;
  Isometry3d pose = Isometry3d::Identity();
  pose.translation() << thickness / 2 - ankle_height, 0, (heel + toe) / 2;
  return {Sole{{thickness, 2 * half_width, toe - heel}}, pose};
}

/// The end of a chain, by what it is called: a foot, the head, else a forearm.
std::vector<Shape> end_of_chain(const Body& body) {
  const Vector3d com = body.com_body.cast<double>();
  if (body.name.find("Ankle") != std::string::npos) {
    const Shape plate = sole();
    return {stick({plate.pose_body.translation().x(), 0, 0}), plate};
  }
  if (!(body.mass > 0)) return {};
  if (body.name.find("Head") != std::string::npos) {
    Isometry3d pose = Isometry3d::Identity();
    pose.translation() = com;
    return {{Ball{com.norm()}, pose}};
  }
  return {stick(2 * com)};
}

}  // namespace

std::vector<std::vector<Shape>> shapes(const std::vector<Body>& bodies) {
  constexpr double least_length = 0.001;  // several joints share one origin
  std::vector<std::vector<Shape>> result;
  for (const Body& body : bodies) {
    std::vector<Shape> own;
    bool is_end = true;
    for (const Body& other : bodies) {
      if (!other.joint || other.joint->parent != body.name) continue;
      is_end = false;
      const Vector3d& end = other.joint->p_parent;
      if (end.norm() > least_length) own.push_back(stick(end));
    }
    result.push_back(is_end ? end_of_chain(body) : own);
  }
  return result;
}

const Colour& colour(const Body& body) {
  return colours[body.name.starts_with('L') ? 1 : body.name.starts_with('R') ? 2 : 0];
}

}  // namespace urdf_export
