#include "apps/urdf/urdf.hpp"

#include <charconv>
#include <cmath>
#include <tinyxml2.h>

#include "apps/urdf/shapes.hpp"

namespace urdf_export {
namespace {

constexpr char head[] = R"(
  Written by orvek23-urdf from what the plug-in's interface shows. Units: m, kg, rad.

  Link frames are the plug-in's body frames; links have the names of its bodies.
  Inertia: the robot's bodies are point masses. As many tools take no body without rotational
  inertia about its centre of mass, each has a little.
  Joints are continuous: the interface knows no limits of angle, rate or torque, and none are made
  up here. Without shapes to collide, nothing stands on a ground.
  Visuals are for the eye: the model has no outlines.
  The element mujoco is for that tool alone: it keeps the links that do not move, and the visuals.
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

class Writer {
 public:
  explicit Writer(const Options& options) : options_(options) {}

  std::string document(const std::vector<Body>& bodies) {
    xml_.PushHeader(false, true);
    xml_.PushComment(head);
    element("robot", {{"name", "orvek23"}}, [&] {
      element("mujoco", {}, [&] {
        element("compiler", {{"fusestatic", "false"}, {"discardvisual", "false"}});
      });
      for (const Colour& c : colours) {
        element("material", {{"name", c.name}}, [&] { element("color", {{"rgba", c.rgba}}); });
      }
      const std::vector<std::vector<Shape>> seen = shapes(bodies);
      if (options_.root != Root::none) element("link", {{"name", root_link()}});
      for (std::size_t i = 0; i < bodies.size(); ++i) {
        link(bodies[i], seen[i]);
        if (bodies[i].joint) joint(bodies[i]);
        if (!bodies[i].joint && options_.root != Root::none) root_joint(bodies[i]);
      }
    });
    return xml_.CStr();
  }

 private:
  using Attributes = std::vector<std::pair<const char*, std::string>>;

  void element(const char* name, const Attributes& attributes) {
    element(name, attributes, [] {});
  }
  template <class Content>
  void element(const char* name, const Attributes& attributes, const Content& content) {
    xml_.OpenElement(name);
    for (const auto& [key, value] : attributes) xml_.PushAttribute(key, value.c_str());
    content();
    xml_.CloseElement();
  }

  void link(const Body& body, const std::vector<Shape>& seen) {
    element("link", {{"name", body.name}}, [&] {
      if (body.mass > 0) inertial(body);
      for (const Shape& shape : seen) visual(shape, colour(body));
    });
  }

  void inertial(const Body& body) {
    const std::string I = text(options_.least_inertia);
    element("inertial", {}, [&] {
      element("origin", {{"xyz", text3(body.com_body)}, {"rpy", "0 0 0"}});
      element("mass", {{"value", text(body.mass)}});
      element("inertia",
              {{"ixx", I}, {"ixy", "0"}, {"ixz", "0"}, {"iyy", I}, {"iyz", "0"}, {"izz", I}});
    });
  }

  void visual(const Shape& shape, const Colour& own) {
    element("visual", {}, [&] {
      element("origin", {{"xyz", text3(shape.pose_body.translation().cast<float>())},
                         {"rpy", text3(roll_pitch_yaw(shape.pose_body.linear()).cast<float>())}});
      element("geometry", {},
              [&] { std::visit([&](const auto& form) { draw(form); }, shape.form); });
      element("material", {{"name", own.name}});
    });
  }

  static std::string length(double value) { return text(static_cast<float>(value)); }
  void draw(const Stick& s) {
    element("cylinder", {{"radius", length(s.radius)}, {"length", length(s.length)}});
  }
  void draw(const Ball& b) { element("sphere", {{"radius", length(b.radius)}}); }
  void draw(const Sole& s) { element("box", {{"size", text3(s.size.cast<float>())}}); }

  void joint(const Body& body) {
    const Joint& j = *body.joint;
    element("joint", {{"name", j.name + options_.joint_suffix}, {"type", "continuous"}}, [&] {
      element("parent", {{"link", j.parent}});
      element("child", {{"link", body.name}});
      element("origin", {{"xyz", text3(j.p_parent.cast<float>())},
                         {"rpy", text3(roll_pitch_yaw(j.R_parent))}});
      element("axis", {{"xyz", text3(j.axis_body.cast<float>())}});
    });
  }

  std::string root_link() const { return options_.root == Root::base_link ? "base_link" : "world"; }
  void root_joint(const Body& body) {
    const char* const type = options_.root == Root::floating ? "floating" : "fixed";
    element("joint", {{"name", root_link() + "-" + body.name}, {"type", type}}, [&] {
      element("parent", {{"link", root_link()}});
      element("child", {{"link", body.name}});
    });
  }

  const Options& options_;
  tinyxml2::XMLPrinter xml_;
};

}  // namespace

std::string urdf(const std::vector<Body>& bodies, const Options& options) {
  return Writer(options).document(bodies);
}

}  // namespace urdf_export
