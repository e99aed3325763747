#include "python/core/quantities.hpp"

namespace orvek23::python {
namespace {

void bind_forces(py::module_& m) {
  py::class_<q::ForceParts>(m, "ForceParts", "Inverse dynamics by cause, (28,) each.")
      .def_property_readonly(
          "gravity", [](q::ForceParts& p) { return array(p.gravity); }, "g(q)")
      .def_property_readonly(
          "velocity", [](q::ForceParts& p) { return array(p.velocity); }, "C(q, dq) dq")
      .def_property_readonly(
          "inertia", [](q::ForceParts& p) { return array(p.inertia); }, "H(q) ddq")
      .def_property_readonly(
          "total", [](q::ForceParts& p) { return array(p.total()); }, "All.");
  m.def(
      "force_parts", [](State& s) { return q::force_parts(s.state); }, py::arg("state"),
      "Generalized forces by cause: root force, moment (root frame), torques.");
  m.def(
      "wrench_part",
      [](State& s, py::handle w) {
        return array(q::wrench_part(s.state, wrenches_of(s.robot, w)));
      },
      py::arg("state"), py::arg("wrenches"), "(28,): what wrenches add, -J^T w.");
  m.def(
      "inverse_dynamics",
      [](State& s, py::handle w) {
        return array(w.is_none() ? q::inverse_dynamics(s.state)
                                 : q::inverse_dynamics(s.state, wrenches_of(s.robot, w)));
      },
      py::arg("state"), no_wrenches(),
      "(28,): all generalized forces, the root's six first (root frame), in float64.");
  m.def(
      "root_wrench",
      [](State& s, py::handle w) {
        return pair(w.is_none() ? q::root_wrench(s.state)
                                : q::root_wrench(s.state, wrenches_of(s.robot, w)));
      },
      py::arg("state"), no_wrenches(),
      "(force, moment) about the root's origin, root frame, that a support would have to add.");
  py::enum_<q::Sharing>(m, "Sharing", "How two feet share what the motion needs.")
      .value("least_ankle_torque", q::Sharing::least_ankle_torque)
      .value("by_distance", q::Sharing::by_distance);
  py::class_<q::Stance>(m, "Stance", "Torques in stance and the wrenches that go with them.")
      .def_property_readonly(
          "torques", [](q::Stance& s) { return array(s.torques); }, "(22,) N m.")
      .def_property_readonly(
          "feet", [](q::Stance& s) { return array(s.feet); },
          "(6, 23): column i is the wrench on body i, its frame.")
      .def_readonly("share", &q::Stance::share, "Of the force on the first foot.");
  m.def(
      "stance",
      [](State& s, py::handle foot, py::handle second, q::Sharing sharing, py::handle others) {
        const q::BodyWrenches w = wrenches_of(s.robot, others);
        if (second.is_none()) return q::stance(s.state, body_of(s, foot), w);
        return q::stance(s.state, body_of(s, foot), body_of(s, second), sharing, w);
      },
      py::arg("state"), py::arg("foot"), py::arg("second_foot") = py::none(),
      py::arg("sharing") = q::Sharing::by_distance, py::arg("others") = py::none(),
      "Joint torques with the ground's wrenches on one foot or two.");
}

void bind_balance(py::module_& m) {
  py::class_<q::Plane>(m, "Plane", "A plane through a point (m), square to a normal.")
      .def(py::init([](Numbers point, Numbers normal) {
             return q::Plane(matrix<3>(point, "point"), matrix<3>(normal, "normal"));
           }),
           py::arg("point"), py::arg("normal"))
      .def_static("ground", &q::Plane::ground, py::arg("height") = 0.0, "Level ground (m).")
      .def_property_readonly(
          "point", [](q::Plane& p) { return array(p.point()); }, "(3,) m.")
      .def_property_readonly(
          "normal", [](q::Plane& p) { return array(p.normal()); }, "(3,) of length 1.")
      .def(
          "coordinates",
          [](q::Plane& p, Numbers x) { return array(p.coordinates(matrix<3>(x, "x"))); },
          py::arg("x"), "(2,): coordinates of x's projection (m).")
      .def(
          "at", [](q::Plane& p, Numbers x) { return array(p.at(matrix<2>(x, "coordinates"))); },
          py::arg("coordinates"), "(3,): the point with these coordinates (m).");
  py::class_<q::Sole>(m, "Sole", "The part of a body that can stand: three corners or more.")
      .def(py::init([](py::object robot, py::handle body, py::handle corners) {
             std::vector<Vector3> points;
             for (const py::handle corner : corners) points.push_back(matrix<3>(corner, "corner"));
             return q::Sole(robot.cast<Robot&>().body(body), points);
           }),
           py::arg("robot"), py::arg("body"), py::arg("corners"))
      .def_property_readonly("body", &q::Sole::body, "Index of the body.");
  m.def(
      "centre_of_pressure",
      [](State& s, py::handle on, py::handle w) {
        const q::BodyWrenches wrenches = wrenches_of(s.robot, w);
        return maybe(py::isinstance<q::Sole>(on)
                         ? q::centre_of_pressure(s.state, on.cast<const q::Sole&>(), wrenches)
                         : q::centre_of_pressure(s.state, plane_of(on), wrenches));
      },
      py::arg("state"), py::arg("on"), py::arg("wrenches"),
      "(3,), world (m): of wrenches on a sole or a plane (None: the ground); None if they do not "
      "press.");
  m.def(
      "zero_moment_point",
      [](State& s, py::handle plane, py::handle others) {
        const q::Plane on = plane_of(plane);
        return maybe(others.is_none()
                         ? q::zero_moment_point(s.state, on)
                         : q::zero_moment_point(s.state, on, wrenches_of(s.robot, others)));
      },
      py::arg("state"), on_ground(), py::arg("others") = py::none(),
      "(3,), world (m): of the motion, beside other wrenches than the ground's; None in flight.");
  py::class_<q::SupportPolygon>(m, "SupportPolygon", "Convex hull of the soles that stand.")
      .def(py::init([](py::handle plane) { return q::SupportPolygon(plane_of(plane)); }),
           on_ground())
      .def("clear", &q::SupportPolygon::clear, "Nothing stands any more.")
      .def(
          "add", [](q::SupportPolygon& p, State& s, const q::Sole& sole) { p.add(s.state, sole); },
          py::arg("state"), py::arg("sole"), "Adds a sole.")
      .def("__len__", &q::SupportPolygon::size)
      .def_property_readonly(
          "corners",
          [](q::SupportPolygon& p) {
            Eigen::Matrix<double, Eigen::Dynamic, 3> corners(static_cast<Eigen::Index>(p.size()),
                                                             3);
            for (std::size_t i = 0; i < p.size(); ++i) {
              corners.row(static_cast<Eigen::Index>(i)) = p.corner(i);
            }
            return array(corners);
          },
          "(n, 3): counterclockwise, world (m).")
      .def(
          "margin", [](q::SupportPolygon& p, Numbers x) { return p.margin(matrix<3>(x, "point")); },
          py::arg("point"), "Distance from the border (m): positive inside, -inf of nothing.");
  m.def(
      "natural_frequency",
      [](State& s, py::handle plane) { return q::natural_frequency(s.state, plane_of(plane)); },
      py::arg("state"), on_ground(), "sqrt(g / height of the centre of mass) (rad/s).");
  m.def(
      "divergent_component",
      [](State& s, double omega) { return array(q::divergent_component(s.state, omega)); },
      py::arg("state"), py::arg("omega"), "(3,): c + c' / omega, world (m).");
  m.def(
      "capture_point",
      [](State& s, py::handle plane) { return array(q::capture_point(s.state, plane_of(plane))); },
      py::arg("state"), on_ground(), "(3,): instantaneous capture point, world (m).");
}

}  // namespace

void bind_balance_quantities(py::module_& m) {
  bind_forces(m);
  bind_balance(m);
}

}  // namespace orvek23::python
