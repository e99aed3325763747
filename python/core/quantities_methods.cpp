#include "python/core/quantities.hpp"

namespace orvek23::python {
namespace {

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

void bind_method_quantities(py::module_& m) {
  bind_dynamics(m);
  bind_identification(m);
  bind_inverse_kinematics(m);
}

}  // namespace orvek23::python
