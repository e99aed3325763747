#pragma once

// The quantities library under its own names: bodies by name or index, points as (body, position),
// a body alone being its origin. Results are new arrays.

#include <optional>
#include <quantities/quantities.hpp>

#include "python/core/robot.hpp"

namespace orvek23::python {
namespace q = tavo::quantities;
using q::Vector3;

/// A state, with the robot that it reads and keeps alive.
struct State {
  py::object owner;
  Robot& robot;
  q::State state;

  explicit State(py::object of)
      : owner(std::move(of)), robot(owner.cast<Robot&>()), state(robot.system()) {
    hand_over(robot.plugin(), state.model());
  }
  const q::State* operator->() const { return &state; }
};

inline unsigned long body_of(const State& s, py::handle which) {
  return s.robot.body(which);
}

inline q::BodyPoint point_of(const Robot& robot, py::handle point) {
  if (py::isinstance<py::tuple>(point) || py::isinstance<py::list>(point)) {
    const auto pair = point.cast<py::sequence>();
    if (pair.size() != 2) throw py::value_error("point: a body, or (body, position) is needed");
    return {robot.body(py::object(pair[0])), matrix<3>(py::object(pair[1]), "point: position")};
  }
  return {robot.body(point), Vector3::Zero()};
}

// A mapping from bodies to 6 numbers, or 6 x 23 as the library has it; none: nothing acts.
inline q::BodyWrenches wrenches_of(const Robot& robot, py::handle value) {
  q::BodyWrenches wrenches = q::BodyWrenches::Zero();
  if (value.is_none()) return wrenches;
  if (!py::hasattr(value, "items")) return matrix<6, q::nb_bodies>(value, "wrenches");
  for (const py::handle item : value.attr("items")()) {
    const auto pair = item.cast<py::tuple>();
    wrenches.col(static_cast<int>(robot.body(py::object(pair[0])))) =
        matrix<6>(py::object(pair[1]), "wrench");
  }
  return wrenches;
}

template <class Parts>
std::vector<unsigned long> bodies_of(const Robot& robot, const Parts& which) {
  std::vector<unsigned long> bodies;
  for (const py::handle body : which) bodies.push_back(robot.body(body));
  return bodies;
}

inline q::Plane plane_of(py::handle plane) {
  return plane.is_none() ? q::Plane::ground() : plane.cast<q::Plane>();
}

inline py::object maybe(const std::optional<Vector3>& point) {
  return point ? py::object(array(*point)) : py::object(py::none());
}

inline py::tuple pair(const q::Wrench& w) {
  return py::make_tuple(array(w.force), array(w.moment));
}

using Numbers = py::handle;
inline py::arg_v no_wrenches() {
  return py::arg("wrenches") = py::none();
}
inline py::arg_v on_ground() {
  return py::arg("plane") = py::none();
}

void bind_motion_quantities(py::module_& m);   ///< state, frames, momentum
void bind_balance_quantities(py::module_& m);  ///< forces, stance, balance
void bind_method_quantities(py::module_& m);   ///< dynamics, identification, inverse kinematics

}  // namespace orvek23::python
