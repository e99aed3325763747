#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <initializer_list>
#include <system_error>

#include "python/core/robot.hpp"

namespace orvek23::python {
namespace fs = std::filesystem;
using KT::Math::Position3D, KT::Math::Transform;
using tavo::RigidBodySystem;
namespace {

// The folder of the package, in which this library is.
fs::path package_folder() {
  Dl_info info;
  ::dladdr(reinterpret_cast<const void*>(&open_plugin), &info);
  return fs::absolute(info.dli_fname).parent_path();
}

// The first of the places, seen from the package, where there is something; else the first.
std::string companion(std::initializer_list<const char*> places) {
  const fs::path package = package_folder();
  for (const char* place : places) {
    std::error_code absent;
    const fs::path found = fs::canonical(package / place, absent);
    if (!absent) return found.string();
  }
  return (package / *places.begin()).string();
}

py::bytes bytes(const KT::Math::Transform& pose) {
  return {reinterpret_cast<const char*>(pose.m), sizeof pose.m};
}
Transform transform_of(const py::bytes& bytes) {
  const std::string text = bytes;
  Transform pose;
  if (text.size() != sizeof pose.m) throw py::value_error("the pickle of a robot is damaged");
  std::copy(text.begin(), text.end(), reinterpret_cast<char*>(pose.m));
  return pose;
}

}  // namespace

OpenPlugin& open_plugin(const std::string& path) {
  // Never destroyed: robots may outlive the end of the interpreter.
  static auto& open = *new std::map<std::string, std::unique_ptr<OpenPlugin>>;
  std::error_code absent;
  const fs::path place = fs::canonical(fs::absolute(path), absent);
  if (absent) {
    errno = absent.value();
    PyErr_SetFromErrnoWithFilename(PyExc_OSError, path.c_str());
    throw py::error_already_set();
  }
  auto& plugin = open[place.string()];
  if (!plugin) {
    try {
      plugin = std::make_unique<OpenPlugin>(
          OpenPlugin{place.string(), tavo::Plugin(place.string()), {}});
    } catch (const std::runtime_error& fault) {
      throw py::import_error(fault.what());
    }
  }
  return *plugin;
}

// In a wheel, in the build folder, and installed.
std::string companion_plugin() {
  return companion({"lib/liborvek23.so", "../../lib/liborvek23.so", "../../../liborvek23.so"});
}
std::string companion_report_template() {
  return companion({"share/orvek23/report.html", "../../share/orvek23/report.html",
                    "../../../../share/orvek23/report.html"});
}

std::shared_mutex& shared_inertias() {
  static auto& mutex = *new std::shared_mutex;
  return mutex;
}

Robot::Robot(const std::string& path) : plugin_(open_plugin(path)) {
  {
    const Exclusive alone;
    system_ = plugin_.plugin.create();
  }
  names_ = tavo::motion::names_of(*system_);
}

void Robot::set_root_pose(const Transform& pose_world) {
  system_->setRootPose(pose_world);
  root_pose_ = pose_world;
}

void Robot::set_wrench(unsigned long body, const std::vector<float>& wrench,
                       const std::optional<Transform>& frame) {
  if (frame) {
    system_->setExternalWrench(body, wrench, *frame);
  } else {
    system_->setExternalWrench(body, wrench);
  }
  wrenches_[body] = {wrench, frame};
}

void Robot::set_inertia(unsigned long body, float mass, const Position3D& com,
                        const Eigen::Matrix3f& I) {
  system();
  const Exclusive alone;
  system().setBodyInertia(body, mass, com, I);
  plugin_.inertias[body] = {
      mass, {com.x, com.y, com.z}, {I(0, 0), I(1, 0), I(1, 1), I(2, 0), I(2, 1), I(2, 2)}};
}

py::tuple Robot::state() {
  RigidBodySystem& s = system();
  py::dict wrenches;
  for (const auto& [body, wrench] : wrenches_) {
    wrenches[py::int_(body)] = py::make_tuple(
        wrench.first, wrench.second ? py::object(bytes(*wrench.second)) : py::object(py::none()));
  }
  return py::make_tuple(plugin_.path, bytes(root_pose_), six(s.getRootVelocity()),
                        six(s.getRootAcceleration()), floats(s.getJointAnglesPos()),
                        floats(s.getJointAnglesVel()), floats(s.getJointAnglesAcc()), wrenches);
}

void Robot::restore(const py::tuple& state) {
  set_root_pose(transform_of(state[1]));
  system_->setRootVelocity(six(py::object(state[2]), "root_velocity"));
  system_->setRootAcceleration(six(py::object(state[3]), "root_acceleration"));
  system_->setJointAnglesPos(state[4].cast<std::vector<float>>());
  system_->setJointAnglesVel(state[5].cast<std::vector<float>>());
  system_->setJointAnglesAcc(state[6].cast<std::vector<float>>());
  for (const auto& [body, wrench] : state[7].cast<py::dict>()) {
    const auto pair = wrench.cast<py::tuple>();
    std::optional<Transform> frame;
    if (!pair[1].is_none()) frame = transform_of(pair[1]);
    set_wrench(body.cast<unsigned long>(), pair[0].cast<std::vector<float>>(), frame);
  }
  compute([](RigidBodySystem& s) {
    s.computeFwdKinematics();
    s.computeGeneralizedMass();
    s.computeInverseDynamics();
  });
}

void hand_over(const OpenPlugin& plugin, tavo::quantities::Model& model) {
  for (const auto& [body, inertia] : plugin.inertias) {
    const float* const I = inertia.inertia_com;
    Eigen::Matrix3d I_com;
    I_com << I[0], I[1], I[3], I[1], I[2], I[4], I[3], I[4], I[5];
    const float* const c = inertia.com;
    model.set_body_inertia(body, inertia.mass, {c[0], c[1], c[2]}, I_com);
  }
}

}  // namespace orvek23::python
