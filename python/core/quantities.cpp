// The quantities library under its own names: bodies by name or index, points as (body, position),
// a body alone being its origin. Results are new arrays.

#include <quantities/quantities.hpp>

#include "python/core/robot.hpp"

namespace orvek23::python {
namespace q = tavo::quantities;
namespace {

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

unsigned long body_of(const State& s, py::handle which) {
  return s.robot.body(which);
}

q::BodyPoint point_of(const Robot& robot, py::handle point) {
  if (py::isinstance<py::tuple>(point) || py::isinstance<py::list>(point)) {
    const auto pair = point.cast<py::sequence>();
    if (pair.size() != 2) throw py::value_error("point: a body, or (body, position) is needed");
    return {robot.body(py::object(pair[0])), matrix<3>(py::object(pair[1]), "point: position")};
  }
  return {robot.body(point), Vector3::Zero()};
}

// A mapping from bodies to 6 numbers, or 6 x 23 as the library has it; none: nothing acts.
q::BodyWrenches wrenches_of(const Robot& robot, py::handle value) {
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

q::Plane plane_of(py::handle plane) {
  return plane.is_none() ? q::Plane::ground() : plane.cast<q::Plane>();
}

py::object maybe(const std::optional<Vector3>& point) {
  return point ? py::object(array(*point)) : py::object(py::none());
}

py::tuple pair(const q::Wrench& w) {
  return py::make_tuple(array(w.force), array(w.moment));
}

using Numbers = py::handle;
const auto no_wrenches = [] { return py::arg("wrenches") = py::none(); };
const auto on_ground = [] { return py::arg("plane") = py::none(); };

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

void bind_dynamics(py::module_& m) {
  py::class_<q::ForwardDynamics>(m, "ForwardDynamics", "What motors and surroundings bring about.")
      .def_property_readonly(
          "ddq", [](q::ForwardDynamics& f) { return array(f.ddq); }, "(28,) accelerations.")
      .def_property_readonly(
          "held", [](q::ForwardDynamics& f) { return array(f.held); },
          "(6, 23): wrenches on the held bodies.");
  m.def(
      "forward_dynamics",
      [](State& s, Numbers torques, py::handle w, Numbers rotors, const py::sequence& held) {
        return q::forward_dynamics(s.state, matrix<q::nb_joints>(torques, "torques"),
                                   wrenches_of(s.robot, w), matrix<q::nb_joints>(rotors, "rotors"),
                                   bodies_of(s.robot, held));
      },
      py::arg("state"), py::arg("torques"), py::arg("wrenches"), py::arg("rotors"),
      py::arg("held") = py::tuple(),
      "(H + rotors) ddq = torques - C dq - g + J^T w; rotors: 22 inertias at the joints (kg m2), "
      "without which accelerations mean nothing; held bodies do not move.");

  struct Derivatives {
    py::object owner;
    Robot& robot;
    q::TorqueDerivatives derivatives;
    explicit Derivatives(py::object of)
        : owner(std::move(of)), robot(owner.cast<Robot&>()), derivatives(robot.system()) {}
  };
  py::class_<Derivatives>(m, "TorqueDerivatives", "Derivatives of the 22 torques, (22, 28) each.")
      .def(py::init<py::object>(), py::arg("robot"))
      .def(
          "compute",
          [](Derivatives& d) {
            d.robot.compute([&](tavo::RigidBodySystem&) { d.derivatives.compute(); });
          },
          "At the robot's present state, which it keeps.")
      .def(
          "by_position", [](Derivatives& d) { return array(d.derivatives.by_position()); },
          "(22, 28): by q (N m/rad).")
      .def(
          "by_rate", [](Derivatives& d) { return array(d.derivatives.by_rate()); },
          "(22, 28): by dq.")
      .def(
          "by_acceleration", [](Derivatives& d) { return array(d.derivatives.by_acceleration()); },
          "(22, 28): by ddq.");
}

void bind_identification(py::module_& m) {
  m.def(
      "regressor",
      [](State& s) {
        q::Regressor Y;
        q::regressor(s.state, Y);
        return array(Y);
      },
      py::arg("state"), "(28, 230): times parameters the inverse dynamics.");
  m.def(
      "parameters", [](State& s) { return array(q::parameters(s->model())); }, py::arg("state"),
      "(230,): ten a body: m, h (3), inertia about the body's origin xx, yx, yy, zx, zy, zz.");
  m.def(
      "masses_of",
      [](State& s, const py::sequence& bodies) {
        return array(q::masses_of(s->model(), bodies_of(s.robot, bodies)));
      },
      py::arg("state"), py::arg("bodies"),
      "(230, k): unknowns for Identification, each body's mass at its centre of mass.");
  m.def(
      "all_parameters", [] { return array(q::all_parameters()); },
      "(230, 230): each parameter an unknown.");
  py::enum_<q::Measured>(m, "Measured", "Which torques were measured.")
      .value("joints", q::Measured::joints)
      .value("joints_and_root", q::Measured::joints_and_root);
  using Result = q::Identification::Result;
  py::class_<Result>(m, "IdentificationResult", "What came out.")
      .def_readonly("samples", &Result::samples, "How many were added.")
      .def_readonly("rank", &Result::rank, "How many combinations the samples tell apart.")
      .def_readonly("residual", &Result::residual, "Deviation of a measured force (N m, N).")
      .def_property_readonly(
          "unknowns", [](Result& r) { return array(r.unknowns); }, "(k,)")
      .def_property_readonly(
          "deviations", [](Result& r) { return array(r.deviations); },
          "(k,), infinite where only combinations are told.")
      .def_property_readonly(
          "combinations", [](Result& r) { return array(r.combinations); }, "(rank, k)")
      .def_property_readonly(
          "values", [](Result& r) { return array(r.values); }, "(rank,)")
      .def_property_readonly(
          "value_deviations", [](Result& r) { return array(r.value_deviations); }, "(rank,)");
  py::class_<q::Identification>(m, "Identification", "Least squares for unknowns, by samples.")
      .def(py::init([](Numbers unknowns, q::Measured measured) {
             const py::array_t<double> given = numbers(unknowns, "unknowns");
             if (given.ndim() != 2 || given.shape(0) != q::nb_parameters) {
               throw py::value_error("unknowns: 230 x k numbers are needed");
             }
             using Rows = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;
             return q::Identification(
                 Eigen::Map<const Rows>(given.data(), given.shape(0), given.shape(1)), measured);
           }),
           py::arg("unknowns"), py::arg("measured") = q::Measured::joints)
      .def(
          "add",
          [](q::Identification& i, State& s, Numbers torques, py::handle w) {
            i.add(s.state, matrix<q::nb_joints>(torques, "torques"), wrenches_of(s.robot, w));
          },
          py::arg("state"), py::arg("torques"), no_wrenches(), "A measured sample.")
      .def("solve", &q::Identification::solve, py::arg("tolerance") = 1e-5, "The best fit.");
}

void bind_inverse_kinematics(py::module_& m) {
  py::class_<q::Configuration>(m, "Configuration", "World pose of the root and joint angles.")
      .def(py::init([](py::handle root, Numbers joints) {
             return q::Configuration{pose_from(root, "root"),
                                     matrix<q::nb_joints>(joints, "joints")};
           }),
           py::arg("root"), py::arg("joints"))
      .def_property_readonly(
          "root", [](q::Configuration& c) { return array(c.root); }, "(4, 4)")
      .def_property_readonly(
          "joints", [](q::Configuration& c) { return array(c.joints); }, "(22,) rad.");
  m.def(
      "configuration_of",
      [](py::object robot) { return q::configuration_of(robot.cast<Robot&>().system()); },
      py::arg("robot"), "What the robot holds.");
  m.def(
      "moved",
      [](const q::Configuration& c, Numbers d) {
        return q::moved(c, matrix<q::nb_dofs>(d, "displacement"));
      },
      py::arg("configuration"), py::arg("displacement"), "Where 28 rates times a time lead.");
  m.def(
      "rotation", [](Numbers turn) { return array(q::rotation(matrix<3>(turn, "turn"))); },
      py::arg("turn"), "(3, 3): of a rotation vector (rad).");
  m.def(
      "rotation_vector", [](Numbers R) { return array(q::rotation_vector(rotation_from(R, "R"))); },
      py::arg("R"), "(3,): of a rotation.");

  struct Search {
    py::object owner;
    Robot& robot;
    q::InverseKinematics ik;
    explicit Search(py::object of)
        : owner(std::move(of)), robot(owner.cast<Robot&>()), ik(robot.system()) {}
  };
  using Result = q::InverseKinematics::Result;
  py::class_<Result>(m, "InverseKinematicsResult", "What was found.")
      .def_readonly("reached", &Result::reached, "All targets to within the tolerance.")
      .def_readonly("position_error", &Result::position_error, "Largest (m).")
      .def_readonly("orientation_error", &Result::orientation_error, "Largest (rad).")
      .def_readonly("iterations", &Result::iterations, "Of all attempts.")
      .def_readonly("configuration", &Result::configuration, "Of the best attempt.");
  py::class_<Search>(m, "InverseKinematics", "Brings bodies and the centre of mass to targets.")
      .def(py::init<py::object>(), py::arg("robot"))
      .def(
          "clear", [](Search& s) { s.ik.clear(); }, "Forgets all targets.")
      .def(
          "reach",
          [](Search& s, py::handle point, py::handle target) {
            const q::BodyPoint p = point_of(s.robot, point);
            const bool place =
                !py::isinstance<py::tuple>(target) && numbers(target, "target").size() == 3;
            if (place) {
              s.ik.reach(p, Vector3(matrix<3>(target, "target")));
            } else {
              s.ik.reach(p, pose_from(target, "target"));
            }
          },
          py::arg("point"), py::arg("target"),
          "A point shall come to a place (3, world, m) or its body's frame there to a pose.")
      .def(
          "reach_com", [](Search& s, Numbers x) { s.ik.reach_com(matrix<3>(x, "target")); },
          py::arg("target"), "The centre of mass shall come to a place (3, world, m).")
      .def(
          "solve",
          [](Search& s, py::handle moving, double tolerance, int iterations, int attempts,
             Numbers lower, Numbers upper) {
            q::InverseKinematics::Options options;
            if (!moving.is_none()) {
              const q::Model model(s.robot.system());
              options.moving.setConstant(false);
              for (const py::handle body : moving) {
                options.moving = options.moving || q::chain_to(model, s.robot.body(body));
              }
            }
            options.tolerance = tolerance;
            options.most_iterations = iterations;
            options.most_attempts = attempts;
            if (!lower.is_none()) options.lower = matrix<q::nb_joints>(lower, "lower");
            if (!upper.is_none()) options.upper = matrix<q::nb_joints>(upper, "upper");
            s.ik.options = options;
            Result result;
            s.robot.compute([&](tavo::RigidBodySystem&) { result = s.ik.solve(); });
            return result;
          },
          py::kw_only(), py::arg("moving") = py::none(), py::arg("tolerance") = 1e-6,
          py::arg("most_iterations") = 100, py::arg("most_attempts") = 10,
          py::arg("lower") = py::none(), py::arg("upper") = py::none(),
          "Searches from the robot's positions and leaves it at what it found. moving: the bodies "
          "whose chains of joints from the root may move; None: root and all joints.");
}

}  // namespace

void bind_quantities(py::module_& parent) {
  py::module_ m = parent.def_submodule("quantities", "What controllers derive, in float64.");
  m.attr("gravity") = q::gravity;
  bind_state(m);
  bind_frames(m);
  bind_momentum(m);
  bind_forces(m);
  bind_balance(m);
  bind_dynamics(m);
  bind_identification(m);
  bind_inverse_kinematics(m);
}

}  // namespace orvek23::python
