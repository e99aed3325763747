#pragma once

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "tests/plugin_fixture.hpp"
#include "tests/robot.hpp"

/// The URDF as a tool's reader sees it, held to the plug-in. It comes from the program itself, as
/// users get it.
namespace test {

inline std::string output_of(const std::string& command, int& status) {
  std::FILE* pipe = popen(command.c_str(), "r");
  std::string text;
  for (int c; (c = std::fgetc(pipe)) != EOF;) text += static_cast<char>(c);
  status = pclose(pipe);
  return text;
}

/// What orvek23-urdf prints.
inline std::string urdf_document(const std::string& options = "") {
  int status = -1;
  const std::string document = output_of(URDF_PROGRAM " " + options, status);
  EXPECT_EQ(status, 0) << options;
  return document;
}

/// The names of bodies and joints, as the document is to have them.
inline std::string joint_name(const std::string& body) {
  return body + "_joint";
}

/// What the two standard streams get while `action` runs: tools warn there.
inline std::string printed_by(const std::function<void()>& action) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  action();
  return testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr();
}

/// What a tool makes of the joint angles that it is given.
struct Reading {
  double mass;
  oracle::Vector3 com_root;
  std::array<oracle::Pose, kBodies> poses_root;
};

/// Agreement asked for: m for points, 1 for entries of rotation matrices.
constexpr double kTolerance = 2e-6;

/// Holds `read`, which takes the 22 joint angles in the plug-in's order, to the plug-in: a wrong
/// parent, origin, order of roll, pitch and yaw, sign of an axis, mass or centre of mass moves some
/// body or the centre of mass.
inline void expect_agreement(tavo::RigidBodySystem& robot,
                             const std::function<Reading(const oracle::Vector&)>& read) {
  double mass = 0, points = 0, rotations = 0, com = 0;
  for_random_states(1000, [&](const State& state) {
    set_state(robot, state);
    robot.computeFwdKinematics();
    const Reading reading = read(state.q.tail(kJoints));
    mass = std::max(mass, std::abs(reading.mass - robot.getMass()));
    com = std::max(com, error(reading.com_root, point(robot.getComPositionInRoot())));
    for (int i = 0; i < kBodies; ++i) {
      const oracle::Pose want = pose(robot.getPoseInRoot(i));
      points = std::max(points, error(reading.poses_root[i].p, want.p));
      rotations = std::max(rotations, error(reading.poses_root[i].R, want.R));
    }
    EXPECT_LE(mass, kTolerance);
    EXPECT_LE(com, kTolerance);
    EXPECT_LE(points, kTolerance);
    EXPECT_LE(rotations, kTolerance);
  });
  std::printf(
      "largest deviations: mass %.2g kg, centre of mass %.2g m, points %.2g m, "
      "rotations %.2g\n",
      mass, com, points, rotations);
}

}  // namespace test
