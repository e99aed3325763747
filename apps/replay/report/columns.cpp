#include "apps/replay/report/columns.hpp"

#include <algorithm>
#include <utility>

#include "apps/replay/quantity_signals.hpp"
#include "motion/robot_names.hpp"
#include "motion/soles.hpp"

namespace replay {
namespace {

std::vector<std::string> with_prefix(const std::string& prefix,
                                     const std::vector<std::string>& names) {
  std::vector<std::string> result;
  for (const std::string& name : names) result.push_back(prefix + name);
  return result;
}

// q.JOINT and d.JOINT: what the plug-in was given.
Signal joint_signal(const std::string& prefix, const std::vector<std::string>& joints,
                    tavo::JointRange (tavo::RigidBodySystem::*values)() const) {
  Signal signal;
  signal.columns = with_prefix(prefix, joints);
  signal.read = [values](const Observation& observed, std::vector<float>& row) {
    const tavo::JointRange range = (observed.system().*values)();
    row.insert(row.end(), range.first, range.second);
  };
  return signal;
}

// One number a foot, in the order of foot_bodies.
template <class Value>
Signal feet_signal(const std::string& prefix, Value value) {
  Signal signal;
  for (const char* foot : motion::foot_bodies) signal.columns.push_back(prefix + foot);
  signal.read = [value](const Observation& observed, std::vector<float>& row) {
    for (std::size_t foot = 0; foot < motion::foot_bodies.size(); ++foot) {
      row.push_back(value(observed, foot));
    }
  };
  return signal;
}

Signal residual_signal(const std::string& column,
                       quantities::Vector3 quantities::Wrench::*component) {
  Signal signal;
  signal.columns = {column};
  signal.read = [component](const Observation& observed, std::vector<float>& row) {
    row.push_back(static_cast<float>((observed.root_wrench().*component).norm()));
  };
  return signal;
}

// BODY.fx .. BODY.nz, as the motion has them.
Signal wrench_signal(const std::string& name, unsigned long body) {
  Signal signal;
  signal.columns = with_prefix(name, {".fx", ".fy", ".fz", ".nx", ".ny", ".nz"});
  signal.read = [body](const Observation& observed, std::vector<float>& row) {
    for (const double number : observed.wrenches().col(static_cast<Eigen::Index>(body))) {
      row.push_back(static_cast<float>(number));
    }
  };
  return signal;
}

Signal force_signal(const std::string& name, unsigned long body) {
  Signal signal;
  signal.columns = {"force." + name};
  signal.read = [body](const Observation& observed, std::vector<float>& row) {
    const auto column = static_cast<Eigen::Index>(body);
    row.push_back(static_cast<float>(observed.wrenches().col(column).head<3>().norm()));
  };
  return signal;
}

float sole_height(const Observation& observed, std::size_t foot) {
  const tavo::RigidBodySystem& system = observed.system();
  return motion::sole_point(system.getPose(system.getBodyId(motion::foot_bodies[foot]))).z;
}

}  // namespace

std::vector<ReportSignal> report_signals(const Observation& observed) {
  const tavo::RigidBodySystem& system = observed.system();
  const std::vector<std::string> joints = motion::names_of(system).joints;
  std::vector<ReportSignal> signals = {
      {pose_signal(system, system.getRootName()), "m", true, false},
      {joint_signal("q.", joints, &tavo::RigidBodySystem::getJointAnglesPos), "rad", true, true},
      {joint_signal("d.", joints, &tavo::RigidBodySystem::getJointAnglesVel), "rad/s", false, true},
      {torque_signal(system), "N m", true, true},
      {com_signal(), "m", true, true},
      {feet_signal("stands.", [](const Observation& o,
                                 std::size_t foot) { return o.stands(foot) ? 1.f : 0.f; }),
       "", true, false},
      {feet_signal("height.", sole_height), "m", false, true},
      {residual_signal("residual.force", &quantities::Wrench::force), "N", false, true},
      {residual_signal("residual.moment", &quantities::Wrench::moment), "N m", false, true}};
  for (auto& [name, signal] : quantity_signals(system)) {
    if (name == "margin" || name == "zmp" || name == "cop" || name == "capture-point") {
      signals.push_back({std::move(signal), "m", true, true});
    }
  }
  for (const unsigned long body : observed.wrench_bodies()) {
    const std::string& name = system.getBodyName(body);
    signals.push_back({wrench_signal(name, body), "N, N m", true, false});
    signals.push_back({force_signal(name, body), "N", false, true});
  }
  return signals;
}

}  // namespace replay
