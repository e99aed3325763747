#include "bench/operations.hpp"

#include <algorithm>
#include <malloc.h>
#include <numeric>
#include <stdexcept>

namespace bench {
namespace {

void set_joints(Host& h, const State& s) {
  h.system->setJointAnglesPos(s.q);
}
void set_root(Host& h, const State& s) {
  h.system->setRootPose(s.root_pose);
}
void set_pose(Host& h, const State& s) {
  set_root(h, s);
  set_joints(h, s);
}
void set_rates_and_wrenches(Host& h, const State& s) {
  h.system->setRootVelocity(s.root_velocity);
  h.system->setRootAcceleration(s.root_acceleration);
  h.system->setJointAnglesVel(s.dq);
  h.system->setJointAnglesAcc(s.ddq);
  for (unsigned long i = 0; i < nb_bodies; ++i) h.system->setExternalWrench(i, s.wrenches[i]);
}
void set_motion(Host& h, const State& s) {
  set_pose(h, s);
  set_rates_and_wrenches(h, s);
}

void kinematics_except_root(Host& h, const State&) {
  h.system->computeFwdKinematicsExceptRoot();
}
void pose_in_root(Host& h, const State& s) {
  set_joints(h, s);
  kinematics_except_root(h, s);
}
void pose_in_world(Host& h, const State& s) {
  set_pose(h, s);
  h.system->computeFwdKinematics();
}
void mass_matrix(Host& h, const State&) {
  h.system->computeGeneralizedMass();
}

/// What a controller does at every tick.
void cycle(Host& h, const State& s) {
  pose_in_world(h, s);
  h.seen += h.system->getPose(s.body).m[3] + h.system->getComPosition().z;
  set_rates_and_wrenches(h, s);
  h.system->computeInverseDynamics();
  const tavo::JointRange torques = h.system->getJointAnglesTorque();
  h.seen = std::accumulate(torques.first, torques.second, h.seen);
}

constexpr Operation table[] = {
    {"FKx", "computeFwdKinematicsExceptRoot", set_joints, kinematics_except_root},
    {"FKr", "computeFwdKinematicsOnlyRoot", set_root,
     [](Host& h, const State&) { h.system->computeFwdKinematicsOnlyRoot(); }},
    {"FK", "computeFwdKinematics", set_pose,
     [](Host& h, const State&) { h.system->computeFwdKinematics(); }},
    {"ID", "computeInverseDynamics, 23 wrenches", set_motion,
     [](Host& h, const State&) { h.system->computeInverseDynamics(); }},
    {"MM", "computeGeneralizedMass", pose_in_root, mass_matrix},
    {"FKx+MM", "computeFwdKinematicsExceptRoot, computeGeneralizedMass", set_joints,
     [](Host& h, const State& s) {
       kinematics_except_root(h, s);
       mass_matrix(h, s);
     }},
    {"PJ", "computePartialComJacobian, J of its final size", pose_in_world,
     [](Host& h, const State& s) { h.system->computePartialComJacobian(s.body, h.J); }},
    {"PC", "computePartialComPositionInRoot", pose_in_root,
     [](Host& h, const State& s) {
       h.seen += h.system->computePartialComPositionInRoot(s.body).x;
     }},
    {"cycle", "setters of pose, FK, getters; setters of rates and 23 wrenches, ID, getter", nothing,
     cycle},
    {"call", "getMass", nothing, [](Host& h, const State&) { h.seen += h.system->getMass(); }},
};

}  // namespace

Host::Host(const std::string& plugin_path) {
  const tavo::Plugin plugin(plugin_path);
  const std::size_t before = mallinfo2().uordblks;
  system = plugin.create();
  heap_size = mallinfo2().uordblks - before;
  object_size = malloc_usable_size(system.get());
  const State state = random_states().front();
  for (const Operation& op : table) {
    op.prepare(*this, state);
    op.run(*this, state);
  }
}

std::span<const Operation> operations() {
  return table;
}

const Operation& operation(const std::string& name) {
  const auto op = std::ranges::find(table, name, &Operation::name);
  if (op == std::end(table)) throw std::out_of_range("no operation named \"" + name + "\"");
  return *op;
}

void nothing(Host&, const State&) {}

}  // namespace bench
