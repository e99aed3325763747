#pragma once

#include <array>
#include <string>
#include <variant>
#include <vector>

#include <Eigen/Geometry>

#include "apps/urdf/robot.hpp"

namespace urdf_export {

/// Lengths in m. A stick lies along z of its own frame, every shape about that frame's origin.
struct Stick {
  double length, radius;
};
struct Ball {
  double radius;
};
struct Sole {
  Eigen::Vector3d size;
};

struct Shape {
  std::variant<Stick, Ball, Sole> form;
  Eigen::Isometry3d pose_body;
};

/// What a viewer shows of the bodies, a list for each: a stick from joint to joint, a forearm to
/// where it would end if it were an even rod, a ball for the head about its centre of mass, a sole
/// below each foot. For the eye only: the model has no outlines.
std::vector<std::vector<Shape>> shapes(const std::vector<Body>& bodies);

struct Colour {
  const char* name;
  const char* rgba;
};
/// Colours of what is in the middle, on the left and on the right.
inline constexpr std::array<Colour, 3> colours{
    {{"middle", "0.55 0.55 0.55 1"}, {"left", "0.85 0.33 0.10 1"}, {"right", "0.10 0.40 0.75 1"}}};
/// That of a body, by the first letter of its name.
const Colour& colour(const Body& body);

}  // namespace urdf_export
