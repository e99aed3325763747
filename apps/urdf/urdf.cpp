#include "apps/urdf/urdf.hpp"

#include <charconv>
#include <cmath>

namespace urdf_export {
namespace {

constexpr char head[] = R"(<?xml version="1.0"?>
<!--
  Written by orvek23-urdf from what the plug-in's interface shows. Units: m, kg, rad.

  Link frames are the plug-in's body frames; joints and links have the plug-in's names.
  base_link is massless and coincides with the root body: tools that drop the inertia of a root
  link, as KDL does, keep the root body's.
  Inertia: the rotational inertia of a link about its centre of mass cannot be read through the
  interface. It is zero for this robot, whose bodies are point masses; so it is zero here.
  Joints are continuous: the interface knows no limits of angle, rate or torque, and none are made
  up here.
-->
<robot name="orvek23">
  <link name="base_link"/>
)";

/// The shortest decimal that reads back to the same number.
template <class Number>
std::string text(Number value) {
  char digits[32];
  return {digits, std::to_chars(digits, digits + sizeof digits, value + Number{0}).ptr};  // no -0
}

template <class Vector>
std::string text3(const Vector& v) {
  return text(v[0]) + " " + text(v[1]) + " " + text(v[2]);
}

/// URDF's roll, pitch, yaw: R = Rz(yaw) Ry(pitch) Rx(roll). In double precision, as the angles of
/// all joints along a chain add up.
Eigen::Vector3d roll_pitch_yaw(const Eigen::Matrix3d& R) {
  const double cos_pitch = std::hypot(R(0, 0), R(1, 0));
  const double pitch = std::atan2(-R(2, 0), cos_pitch);
  if (cos_pitch < 1e-9) {  // yaw and roll turn about one axis: roll does it all
    return {std::atan2(-R(1, 2), R(1, 1)), pitch, 0};
  }
  return {std::atan2(R(2, 1), R(2, 2)), pitch, std::atan2(R(1, 0), R(0, 0))};
}

std::string link(const Body& body) {
  if (!(body.mass > 0)) return "  <link name=\"" + body.name + "\"/>\n";
  return "  <link name=\"" + body.name + "\">\n    <inertial>\n      <origin xyz=\"" +
         text3(body.com_body) + "\"/>\n      <mass value=\"" + text(body.mass) +
         "\"/>\n      <inertia ixx=\"0\" ixy=\"0\" ixz=\"0\" iyy=\"0\" iyz=\"0\" izz=\"0\"/>\n"
         "    </inertial>\n  </link>\n";
}

std::string joint(const Body& body) {
  const std::string child = "    <child link=\"" + body.name + "\"/>\n";
  if (!body.joint) {
    return "  <joint name=\"base_link-" + body.name +
           "\" type=\"fixed\">\n    <parent link=\"base_link\"/>\n" + child + "  </joint>\n";
  }
  const Joint& j = *body.joint;
  return "  <joint name=\"" + j.name + "\" type=\"continuous\">\n    <parent link=\"" + j.parent +
         "\"/>\n" + child + "    <origin xyz=\"" + text3(j.p_parent.cast<float>()) + "\" rpy=\"" +
         text3(roll_pitch_yaw(j.R_parent)) + "\"/>\n    <axis xyz=\"" +
         text3(j.axis_body.cast<float>()) + "\"/>\n  </joint>\n";
}

}  // namespace

std::string urdf(const std::vector<Body>& bodies) {
  std::string document = head;
  for (const Body& body : bodies) document += link(body) + joint(body);
  return document + "</robot>\n";
}

}  // namespace urdf_export
