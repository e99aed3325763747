#include "python/core/quantities.hpp"

namespace orvek23::python {
namespace {

void bind_state(py::module_& m) {
  py::class_<State> state(
      m, "State",
      "How the robot stands and moves, read once a cycle; every quantity is computed from it, in "
      "float64. Inertias that Robot.set_body_inertia was given before are taken over. One thread "
      "at a time.");
  state.def(py::init<py::object>(), py::arg("robot"))
      .def(
          "update",
          [](State& s, Numbers dq, Numbers ddq) {
            s.robot.system();
            if (dq.is_none() != ddq.is_none()) throw py::value_error("dq and ddq: both or none");
            if (dq.is_none()) {
              s.state.update();
            } else {
              s.state.update(matrix<q::nb_dofs>(dq, "dq"), matrix<q::nb_dofs>(ddq, "ddq"));
            }
          },
          py::arg("dq") = py::none(), py::arg("ddq") = py::none(),
          "Reads what robot.forward() left, and the rates that the robot holds or 28 each in "
          "float64, coordinate order.")
      .def_property_readonly(
          "robot", [](State& s) { return s.owner; }, "The robot.")
      .def_property_readonly(
          "dq", [](State& s) { return array(s->dq()); }, "(28,) rates.")
      .def_property_readonly(
          "ddq", [](State& s) { return array(s->ddq()); }, "(28,) accelerations.")
      .def_property_readonly(
          "motions", [](State& s) { return array(s->motions()); },
          "(6, 28): the Jacobian in the root's frame, angular then linear.")
      .def_property_readonly(
          "mass", [](State& s) { return s->model().mass(); }, "Mass of all bodies (kg).")
      .def_property_readonly(
          "root", [](State& s) { return array(s->root()); }, "(4, 4): world pose of the root.")
      .def(
          "pose",
          [](State& s, py::handle body) {
            return array(s->pose(static_cast<int>(body_of(s, body))));
          },
          py::arg("body"), "(4, 4): world pose of a body, composed in float64.")
      .def(
          "set_body_inertia",
          [](State& s, py::handle body, double mass, Numbers com, Numbers inertia) {
            s.state.model().set_body_inertia(body_of(s, body), mass, matrix<3>(com, "com"),
                                             matrix<3, 3>(inertia, "inertia_at_com"));
          },
          py::arg("body"), py::arg("mass"), py::arg("com"), py::arg("inertia_at_com"),
          "What was given to Robot.set_body_inertia after this state was made.");
  state.attr("__module__") = "orvek23.quantities";
}

void bind_frames(py::module_& m) {
  py::enum_<q::Frame>(m, "Frame", "The frame that a motion is written in.")
      .value("body", q::Frame::body, "The body's axes, at the point.")
      .value("world", q::Frame::world, "The world's axes, at the world's origin.")
      .value("world_at_point", q::Frame::world_at_point, "The world's axes, at the point.");
  m.def(
      "position",
      [](State& s, py::handle p) { return array(q::position(s.state, point_of(s.robot, p))); },
      py::arg("state"), py::arg("point"), "(3,): world position of a point of a body (m).");
  const auto motion = [&m](const char* name, auto function, const char* doc) {
    m.def(
        name,
        [function](State& s, py::handle p, q::Frame frame) {
          return array(function(s.state, point_of(s.robot, p), frame));
        },
        py::arg("state"), py::arg("point"), py::arg("frame"), doc);
  };
  motion("jacobian", &q::jacobian,
         "(6, 28): angular, then linear, per unit rate; J dq is the twist.");
  motion("twist", &q::twist, "(6,): angular (rad/s), then linear (m/s).");
  motion("spatial_acceleration", &q::spatial_acceleration,
         "(6,): angular, then linear; the derivative of the twist's numbers in body and world.");
  motion("classical_acceleration", &q::classical_acceleration,
         "(6,): angular, then that of the point itself; without gravity.");
  motion("spatial_drift", &q::spatial_drift, "(6,): spatial acceleration less J ddq.");
  motion("classical_drift", &q::classical_drift, "(6,): classical acceleration less J ddq.");
}

void bind_momentum(py::module_& m) {
  const auto whole = [&m](const char* name, auto function, const char* doc) {
    m.def(
        name, [function](State& s) { return array(function(s.state)); }, py::arg("state"), doc);
  };
  whole("com_position", &q::com_position, "(3,): centre of mass, world (m).");
  whole("com_velocity", &q::com_velocity, "(3,): its velocity, world (m/s).");
  whole("com_acceleration", &q::com_acceleration, "(3,): its acceleration, world (m/s2).");
  whole("com_drift", &q::com_drift, "(3,): com_acceleration less com_jacobian ddq.");
  whole("com_jacobian", &q::com_jacobian, "(3, 28): velocity of the centre of mass per unit rate.");
  whole("centroidal_momentum", &q::centroidal_momentum,
        "(6,): angular about the centre of mass (N m s), linear (N s), world axes.");
  whole("centroidal_momentum_matrix", &q::centroidal_momentum_matrix,
        "(6, 28): times dq the centroidal momentum.");
  whole("centroidal_momentum_rate", &q::centroidal_momentum_rate,
        "(6,): its derivative: moment (N m), force (N), gravity included.");
  whole("centroidal_momentum_drift", &q::centroidal_momentum_drift,
        "(6,): that derivative less the matrix times ddq.");
  whole("mass_matrix", &q::mass_matrix, "(28, 28): joint-space mass matrix in float64.");
  py::class_<q::Energy>(m, "Energy", "Energy of the bodies (J).")
      .def_readonly("kinetic", &q::Energy::kinetic, "Of all bodies' motion (J).")
      .def_readonly("potential", &q::Energy::potential,
                    "Of gravity, 0 with the centre of mass at z = 0 (J).")
      .def_property_readonly("total", &q::Energy::total, "Both (J).");
  m.def(
      "energy", [](State& s) { return q::energy(s.state); }, py::arg("state"), "Energy.");
  m.def(
      "energy_rate", [](State& s) { return q::energy_rate(s.state); }, py::arg("state"),
      "Its derivative (W).");
  m.def(
      "joint_power",
      [](State& s, Numbers torques) {
        return q::joint_power(s.state, matrix<q::nb_joints>(torques, "torques"));
      },
      py::arg("state"), py::arg("torques"), "Power of 22 joint torques (W).");
  m.def(
      "wrench_power",
      [](State& s, py::handle w) { return q::wrench_power(s.state, wrenches_of(s.robot, w)); },
      py::arg("state"), py::arg("wrenches"), "Power of external wrenches (W).");
}

}  // namespace

void bind_motion_quantities(py::module_& m) {
  bind_state(m);
  bind_frames(m);
  bind_momentum(m);
}

void bind_quantities(py::module_& parent) {
  py::module_ m = parent.def_submodule("quantities", "What controllers derive, in float64.");
  m.attr("gravity") = q::gravity;
  bind_motion_quantities(m);
  bind_balance_quantities(m);
  bind_method_quantities(m);
}

}  // namespace orvek23::python
