#pragma once

// What the examples that read a motion have in common.

#include <host/loader.hpp>
#include <motion/motion_file.hpp>
#include <motion/rates.hpp>
#include <motion/robot_names.hpp>
#include <motion/soles.hpp>
#include <quantities/quantities.hpp>

/// A motion's samples with their rates, one after another, handed to the system and to a state.
class Walk {
 public:
  Walk(const char* path, tavo::RigidBodySystem& robot)
      : robot_(robot),
        file_(path, tavo::motion::names_of(robot)),
        states_([this] { return file_.next(); }) {}

  /// Goes on to the next sample: false at the end. Then `state` is that of the sample.
  bool next(tavo::quantities::State& state) {
    const auto moving = states_.next();
    if (!moving) return false;
    const auto& sample = moving->sample;
    time = sample.time;
    q.assign(sample.q.begin(), sample.q.end());
    robot_.setRootPose(tavo::quantities::to_host({sample.R_world, sample.p_world}));
    robot_.setJointAnglesPos(q);
    robot_.computeFwdKinematics();
    state.update(moving->velocity, moving->acceleration);
    wrenches.setZero();
    const auto bodies = file_.wrench_bodies();
    for (std::size_t k = 0; k < bodies.size(); ++k) {
      wrenches.col(static_cast<int>(bodies[k])) =
          sample.wrenches.segment<6>(6 * static_cast<Eigen::Index>(k));
    }
    return true;
  }

  double time = 0;       // s
  std::vector<float> q;  // joint angles, rad
  tavo::quantities::BodyWrenches wrenches;

 private:
  tavo::RigidBodySystem& robot_;
  tavo::motion::MotionFile file_;
  tavo::motion::StateStream states_;
};

/// The area that stands, of a foot: this robot's is not in its model.
inline tavo::quantities::Sole sole_of(const tavo::RigidBodySystem& robot, const char* foot) {
  const double down = -0.045, back = -0.035, front = 0.075, side = 0.025;  // x up, y right, z ahead
  return {robot.getBodyId(foot),
          {{down, -side, back}, {down, side, back}, {down, side, front}, {down, -side, front}}};
}
