#include "python/core/robot.hpp"

#include <cstdio>
#include <cstdlib>

namespace orvek23::python {
namespace {

using KT::Math::Position3D, KT::Math::Transform, KT::Math::Velocity6D;
using Matrix3X = Eigen::Matrix<float, 3, Eigen::Dynamic>;

// That of the environment, else the one that comes along.
std::string default_plugin() {
  const char* const chosen = std::getenv("ORVEK23_PLUGIN");
  return chosen != nullptr && *chosen != '\0' ? chosen : companion_plugin();
}

py::array pose_view(py::handle owner, const Transform& pose) {
  return view(owner, pose.m, {3, 4}, {4, 1});
}
py::array point(const Position3D& p) {
  return array(Eigen::Vector3f(p.x, p.y, p.z));
}
py::array point_view(py::handle owner, const Position3D& p) {
  return view(owner, &p.x, {3}, {1});
}
py::array range_view(py::handle owner, const tavo::JointRange& range) {
  return view(owner, range.first, {range.second - range.first}, {1});
}
template <int Size>
std::vector<float> narrowed(const Eigen::Matrix<double, Size, 1>& values) {
  const Eigen::Matrix<float, Size, 1> narrow = values.template cast<float>();
  return {narrow.data(), narrow.data() + Size};
}

struct Wrench {
  unsigned long body;
  std::vector<float> wrench;
  std::optional<Transform> frame;
};

// A wrench, or (wrench, pose of the frame that it is given in).
Wrench wrench_from(const Robot& robot, py::handle body, py::handle value, py::handle frame) {
  Wrench w = {robot.body(body), narrowed<6>(matrix<6>(value, "wrench")), std::nullopt};
  if (!frame.is_none()) w.frame = transform(frame, "frame");
  return w;
}

void set_everything(Robot& robot, py::handle q, py::handle dq, py::handle ddq, py::handle root,
                    py::handle root_velocity, py::handle root_acceleration, py::handle wrenches) {
  tavo::RigidBodySystem& system = robot.system();
  const Names& joints = robot.names().joints;
  std::optional<std::vector<float>> new_q, new_dq, new_ddq;
  if (!q.is_none()) new_q = joint_values(q, floats(system.getJointAnglesPos()), joints, "q");
  if (!dq.is_none()) new_dq = joint_values(dq, floats(system.getJointAnglesVel()), joints, "dq");
  if (!ddq.is_none())
    new_ddq = joint_values(ddq, floats(system.getJointAnglesAcc()), joints, "ddq");
  std::optional<Transform> new_root;
  std::optional<Velocity6D> velocity, acceleration;
  if (!root.is_none()) new_root = transform(root, "root");
  if (!root_velocity.is_none()) velocity = six(root_velocity, "root_velocity");
  if (!root_acceleration.is_none()) acceleration = six(root_acceleration, "root_acceleration");
  std::vector<Wrench> new_wrenches;
  if (!wrenches.is_none()) {
    for (const py::handle item : wrenches.attr("items")()) {
      const auto pair = item.cast<py::tuple>();
      new_wrenches.push_back(
          wrench_from(robot, py::object(pair[0]), py::object(pair[1]), py::none()));
    }
  }
  // All of it is good: now it counts.
  if (new_q) system.setJointAnglesPos(*new_q);
  if (new_dq) system.setJointAnglesVel(*new_dq);
  if (new_ddq) system.setJointAnglesAcc(*new_ddq);
  if (new_root) robot.set_root_pose(*new_root);
  if (velocity) system.setRootVelocity(*velocity);
  if (acceleration) system.setRootAcceleration(*acceleration);
  for (const Wrench& w : new_wrenches) robot.set_wrench(w.body, w.wrench, w.frame);
}

using Class = py::class_<Robot>;
using tavo::RigidBodySystem;

void bind_names(Class& c) {
  c.def(
       "get_name", [](Robot& r) { return r.system().getName(); }, "Name of the system: empty.")
      .def(
          "get_nb_dofs", [](Robot& r) { return r.system().getNbDofs(); },
          "Number of joint angles, 22: the coordinates without the root's six.")
      .def(
          "get_nb_bodies", [](Robot& r) { return r.system().getNbBodies(); },
          "Number of bodies, 23.")
      .def(
          "get_nb_volatile_frames", [](Robot& r) { return r.system().getNbVolatileFrames(); },
          "Number of poses that are stored and never computed, 1.")
      .def(
          "get_root_name", [](Robot& r) { return r.system().getRootName(); },
          "Name of body 0, \"Torso\".")
      .def(
          "get_joint_angle_name",
          [](Robot& r, py::handle i) { return r.system().getJointAngleName(r.joint(i)); },
          py::arg("joint"), "Name of a joint angle, which is that of the body it moves.")
      .def(
          "get_joint_angle_id", [](Robot& r, py::handle n) { return r.joint(n); }, py::arg("name"),
          "Index of a joint angle, 0 to 21. KeyError with the nearest name.")
      .def(
          "get_body_name", [](Robot& r, py::handle i) { return r.system().getBodyName(r.body(i)); },
          py::arg("body"), "Name of a body.")
      .def(
          "get_body_id", [](Robot& r, py::handle n) { return r.body(n); }, py::arg("name"),
          "Index of a body, 0 to 22. KeyError with the nearest name.")
      .def(
          "get_parents_vector",
          [](Robot& r) { return py::array(py::cast(r.system().getParentsVector())); },
          "(23,) int64: parent of each body, -1 for the root.")
      .def(
          "get_dof_numbers_vector",
          [](Robot& r) { return py::array(py::cast(r.system().getDofNumbersVector())); },
          "(23,) int64: number of coordinates of each body, 6, then 1.")
      .def(
          "get_dof_indexes_vector",
          [](Robot& r) { return py::array(py::cast(r.system().getDofIndexesVector())); },
          "(23,) int64: first coordinate of each body, 0, then 6 to 27.");
}

void bind_masses(Class& c) {
  c.def(
       "get_mass",
       [](Robot& r, py::handle body) {
         return body.is_none() ? r.system().getMass() : r.system().getMass(r.body(body));
       },
       py::arg("body") = py::none(), "Mass of a body, of all if none is named (kg).")
      .def(
          "get_partial_mass",
          [](Robot& r, py::handle body) { return r.system().getPartialMass(r.body(body)); },
          py::arg("body"), "Mass of all bodies but one (kg).")
      .def(
          "set_body_inertia",
          [](Robot& r, py::handle body, double mass, py::handle com, py::handle inertia) {
            const Eigen::Vector3f c_b = matrix<3>(com, "com").cast<float>();
            const Eigen::Matrix3f I =
                inertia.is_none()
                    ? Eigen::Matrix3f(Eigen::Matrix3f::Zero())
                    : Eigen::Matrix3f(matrix<3, 3>(inertia, "inertia_at_com").cast<float>());
            if (!(mass > 0)) throw py::value_error("mass: a positive number is needed");
            r.set_inertia(r.body(body), static_cast<float>(mass), {c_b[0], c_b[1], c_b[2]}, I);
          },
          py::arg("body"), py::arg("mass"), py::arg("com"), py::arg("inertia_at_com") = py::none(),
          "Replaces a body's inertia for every robot of the process with this plug-in: mass (kg), "
          "centre of mass (3, m, body frame), 3 x 3 rotational inertia about it (kg m2, body "
          "axes; none: a point mass). Waits for computations in other threads. Compute again "
          "after it.");
}

void bind_state(Class& c) {
  c.def("set", &set_everything, py::arg("q") = py::none(), py::arg("dq") = py::none(),
        py::arg("ddq") = py::none(), py::arg("root") = py::none(),
        py::arg("root_velocity") = py::none(), py::arg("root_acceleration") = py::none(),
        py::arg("wrenches") = py::none(),
        "Sets what is named, or nothing if any of it is wrong. q, dq, ddq: 22 numbers (rad, rad/s, "
        "rad/s2), or a mapping from joints to numbers, which leaves the other joints as they are. "
        "root: see set_root_pose. root_velocity, root_acceleration: 6, linear then angular, in "
        "the root's own frame. wrenches: a mapping from bodies to 6 numbers, force then moment, in "
        "the body's frame.")
      .def(
          "set_root_pose",
          [](Robot& r, py::handle pose) {
            r.system();
            r.set_root_pose(transform(pose, "pose"));
          },
          py::arg("pose"),
          "World pose of the root [R | p], x -> R x + p: 4 x 4, 3 x 4, (rotation, p), (x, y, z, "
          "roll, pitch, yaw) or (x, y, z, qw, qx, qy, qz). A rotation is 3 x 3, (roll, pitch, yaw) "
          "with R = Rz(yaw) Ry(pitch) Rx(roll), a quaternion (w, x, y, z) or a scipy Rotation.")
      .def(
          "get_root_pose",
          [](const py::object& self) {
            return pose_view(self, self.cast<Robot&>().system().getRootPose());
          },
          "(3, 4) view: world pose of the root, [R | p].")
      .def(
          "set_root_velocity",
          [](Robot& r, py::handle v) { r.system().setRootVelocity(six(v, "velocity")); },
          py::arg("velocity"), "6: linear (m/s), then angular (rad/s), in the root's own frame.")
      .def(
          "set_root_acceleration",
          [](Robot& r, py::handle a) { r.system().setRootAcceleration(six(a, "acceleration")); },
          py::arg("acceleration"),
          "6: the derivatives of the six numbers of the velocity (m/s2, rad/s2).")
      .def(
          "get_root_velocity", [](Robot& r) { return six(r.system().getRootVelocity()); },
          "(6,) copy of what was set.")
      .def(
          "get_root_acceleration", [](Robot& r) { return six(r.system().getRootAcceleration()); },
          "(6,) copy of what was set.");

  struct JointOperations {
    const char *suffix, *unit;
    void (RigidBodySystem::*set_all)(const std::vector<float>&);
    void (RigidBodySystem::*set)(unsigned long, float);
    float (RigidBodySystem::*get)(unsigned long) const;
    tavo::JointRange (RigidBodySystem::*get_all)() const;
  };
  using S = RigidBodySystem;
  for (const JointOperations& o :
       {JointOperations{"pos", "rad", &S::setJointAnglesPos, &S::setJointAnglePos,
                        &S::getJointAnglePos, &S::getJointAnglesPos},
        JointOperations{"vel", "rad/s", &S::setJointAnglesVel, &S::setJointAngleVel,
                        &S::getJointAngleVel, &S::getJointAnglesVel},
        JointOperations{"acc", "rad/s2", &S::setJointAnglesAcc, &S::setJointAngleAcc,
                        &S::getJointAngleAcc, &S::getJointAnglesAcc}}) {
    const std::string suffix = o.suffix, unit = std::string(" (") + o.unit + ").";
    c.def(("set_joint_angles_" + suffix).c_str(),
          [o](Robot& r, py::handle values) {
            S& system = r.system();
            (system.*o.set_all)(joint_values(values, floats((system.*o.get_all)()),
                                             r.names().joints, "joint vector"));
          },
          py::arg("values"), ("22 numbers, or a mapping from joints to numbers" + unit).c_str());
    c.def(("set_joint_angle_" + suffix).c_str(),
          [o](Robot& r, py::handle i, float value) { (r.system().*o.set)(r.joint(i), value); },
          py::arg("joint"), py::arg("value"), ("One joint's number" + unit).c_str());
    c.def(("get_joint_angle_" + suffix).c_str(),
          [o](Robot& r, py::handle i) { return (r.system().*o.get)(r.joint(i)); }, py::arg("joint"),
          ("One joint's number" + unit).c_str());
    c.def(("get_joint_angles_" + suffix).c_str(),
          [o](const py::object& self) {
            return range_view(self, (self.cast<Robot&>().system().*o.get_all)());
          },
          ("(22,) view, joint-angle order" + unit).c_str());
  }
  c.def(
      "set_external_wrench",
      [](Robot& r, py::handle body, py::handle wrench, py::handle frame) {
        r.system();
        const Wrench w = wrench_from(r, body, wrench, frame);
        r.set_wrench(w.body, w.wrench, w.frame);
      },
      py::arg("body"), py::arg("wrench"), py::arg("frame") = py::none(),
      "6: force (N), then moment (N m) about the body's origin, in the body's frame; or, with "
      "the pose of a frame in the body's frame, about that frame's origin in its axes. Stays "
      "until it is replaced.");
}

void bind_kinematics(Class& c) {
  const auto computes = [&c](const char* name, void (RigidBodySystem::*operation)(),
                             const char* doc) {
    c.def(
        name, [operation](Robot& r) { r.compute([&](RigidBodySystem& s) { (s.*operation)(); }); },
        doc);
  };
  using S = RigidBodySystem;
  computes("compute_fwd_kinematics_except_root", &S::computeFwdKinematicsExceptRoot,
           "Fills get_pose_in_root, get_jacobian_in_root, get_com_position_in_root.");
  computes("compute_fwd_kinematics_only_root", &S::computeFwdKinematicsOnlyRoot,
           "Fills get_root_pose, get_pose, get_com_position; enough when only the root has moved.");
  computes("compute_fwd_kinematics", &S::computeFwdKinematics, "Both of the two before it.");
  computes("forward", &S::computeFwdKinematics, "compute_fwd_kinematics, by its short name.");
  computes("compute_generalized_mass", &S::computeGeneralizedMass,
           "Fills get_generalized_mass, for the positions of the last kinematics or inverse "
           "dynamics.");
  computes("compute_inverse_dynamics", &S::computeInverseDynamics,
           "Fills the torques; needs no kinematics before it.");
  c.def(
       "inverse",
       [](const py::object& self) {
         Robot& r = self.cast<Robot&>();
         r.compute([](S& s) { s.computeInverseDynamics(); });
         return range_view(self, r.system().getJointAnglesTorque());
       },
       "compute_inverse_dynamics, then get_joint_angles_torque.")
      .def(
          "compute_partial_com_jacobian",
          [](Robot& r, py::handle body) {
            const unsigned long i = r.body(body);
            Matrix3X J;
            r.compute([&](S& s) { tavo::partialComJacobian(s, i, J); });
            return array(J);
          },
          py::arg("body"),
          "(3, 28) copy: mass times the Jacobian of the centre of mass of all bodies but one, "
          "world axes (kg, kg m).")
      .def(
          "compute_partial_com_position_in_root",
          [](Robot& r, py::handle body) {
            const unsigned long i = r.body(body);
            Position3D com;
            r.compute([&](S& s) { com = s.computePartialComPositionInRoot(i); });
            return point(com);
          },
          py::arg("body"),
          "(3,) copy: centre of mass of all bodies but one, root frame (m); of body 0: "
          "get_com_position, world frame.")
      .def(
          "get_pose_in_root",
          [](const py::object& self, py::handle body) {
            Robot& r = self.cast<Robot&>();
            return pose_view(self, r.system().getPoseInRoot(r.body(body)));
          },
          py::arg("body"), "(3, 4) view: pose of a body in the root's frame, [R | p].")
      .def(
          "get_pose",
          [](const py::object& self, py::handle body) {
            Robot& r = self.cast<Robot&>();
            return pose_view(self, r.system().getPose(r.body(body)));
          },
          py::arg("body"), "(3, 4) view: world pose of a body, [R | p]: x -> R x + p.")
      .def(
          "pose",
          [](Robot& r, py::handle body) {
            return array(tavo::quantities::from_host(r.system().getPose(r.body(body))));
          },
          py::arg("body"), "(4, 4) copy, float64: world pose of a body.")
      .def(
          "set_pose",
          [](Robot& r, py::handle body, py::handle pose) {
            r.system().setPose(r.body(body), transform(pose, "pose"));
          },
          py::arg("body"), py::arg("pose"),
          "Overwrites a body's stored world pose until the next kinematics.")
      .def(
          "get_volatile_pose",
          [](const py::object& self, py::handle frame) {
            S& s = self.cast<Robot&>().system();
            return pose_view(self,
                             s.getVolatilePose(index_of(frame, Names{"0"}, "volatile frame")));
          },
          py::arg("frame") = 0, "(3, 4) view: what set_volatile_pose stored.")
      .def(
          "set_volatile_pose",
          [](Robot& r, py::handle frame, py::handle pose) {
            r.system().setVolatilePose(index_of(frame, Names{"0"}, "volatile frame"),
                                       transform(pose, "pose"));
          },
          py::arg("frame"), py::arg("pose"), "Stores a world pose that nothing computes.")
      .def(
          "get_com_position",
          [](const py::object& self, py::handle body) {
            Robot& r = self.cast<Robot&>();
            return body.is_none() ? point_view(self, r.system().getComPosition())
                                  : point(r.system().getComPosition(r.body(body)));
          },
          py::arg("body") = py::none(),
          "(3,): centre of mass in the world (m), a view; of one body, a copy.")
      .def(
          "get_com_position_in_root",
          [](const py::object& self) {
            return point_view(self, self.cast<Robot&>().system().getComPositionInRoot());
          },
          "(3,) view: centre of mass in the root's frame (m).")
      .def(
          "get_generalized_mass",
          [](const py::object& self) {
            const auto& H = self.cast<Robot&>().system().getGeneralizedMass();
            return view(self, H.data(), {H.rows(), H.cols()}, {1, H.rows()});
          },
          "(28, 28) view: joint-space mass matrix (kg, kg m, kg m2), coordinate order.")
      .def(
          "get_jacobian_in_root",
          [](const py::object& self) {
            const auto& J = self.cast<Robot&>().system().getJacobianInRoot();
            return view(self, J.data(), {J.rows(), J.cols()}, {1, J.rows()});
          },
          "(6, 28) view: motion per unit rate of each coordinate, angular then linear, root frame, "
          "at the root's origin.")
      .def(
          "get_joint_angle_torque",
          [](Robot& r, py::handle joint) { return r.system().getJointAngleTorque(r.joint(joint)); },
          py::arg("joint"), "Torque of a joint (N m).")
      .def(
          "get_joint_angles_torque",
          [](const py::object& self) {
            return range_view(self, self.cast<Robot&>().system().getJointAnglesTorque());
          },
          "(22,) view: joint torques (N m).");
}

void bind_object(Class& c) {
  c.def(py::init([](py::handle plugin) {
          return std::make_unique<Robot>(
              plugin.is_none()
                  ? default_plugin()
                  : py::module_::import("os").attr("fspath")(plugin).cast<std::string>());
        }),
        py::arg("plugin") = py::none(),
        "A robot at the world's origin, everything zero. `plugin`: path of the plug-in; else that "
        "of the environment variable ORVEK23_PLUGIN, else the one that comes along.")
      .def_property_readonly(
          "bodies", [](Robot& r) { return py::tuple(py::cast(r.names().bodies)); },
          "Names of the 23 bodies.")
      .def_property_readonly(
          "joints", [](Robot& r) { return py::tuple(py::cast(r.names().joints)); },
          "Names of the 22 joint angles.")
      .def_property_readonly(
          "coordinates", [](Robot& r) { return py::tuple(py::cast(r.names().coordinates())); },
          "Names of the 28 coordinates of rates and matrices.")
      .def_property_readonly(
          "plugin", [](Robot& r) { return r.plugin().path; }, "Path of the plug-in.")
      .def_property_readonly("closed", &Robot::closed, "Whether close() was called.")
      .def("close", &Robot::close,
           "No further call; views that are held keep what they show. What `with` calls.")
      .def("__enter__", [](py::object self) { return self; })
      .def("__exit__", [](Robot& r, const py::args&) { r.close(); })
      .def("__repr__",
           [](Robot& r) {
             if (r.closed()) return std::string("<orvek23.Robot, closed>");
             char text[64];
             std::snprintf(text, sizeof text, "<orvek23.Robot of %zu bodies, %.4f kg, ",
                           r.names().bodies.size(), r.system().getMass());
             return text + r.plugin().path + ">";
           })
      .def(py::pickle([](Robot& r) { return r.state(); },
                      [](const py::tuple& state) {
                        auto robot = std::make_unique<Robot>(state[0].cast<std::string>());
                        robot->restore(state);
                        return robot;
                      }));
}

}  // namespace

void bind_robot(py::module_& m) {
  Class c(
      m, "Robot",
      "A humanoid of 23 bodies, 22 revolute joints and 28 coordinates, computed by a plug-in in "
      "single precision. SI units, radians, world z up. Bodies and joints by name or index. "
      "Setters store, compute_... computes, getters show what the last computation left: a view "
      "is read-only, shows later results too and keeps the robot alive; .copy() keeps what it "
      "shows. One thread at a time; inertias belong to the process. A pickle or a copy holds "
      "path and state, not inertias, and computes its results anew.");
  c.attr("__module__") = "orvek23";
  bind_object(c);
  bind_names(c);
  bind_masses(c);
  bind_state(c);
  bind_kinematics(c);
  m.def(
      "default_plugin", &default_plugin,
      "Path of the plug-in that Robot() opens: of ORVEK23_PLUGIN, else the one that comes along.");
}

}  // namespace orvek23::python
