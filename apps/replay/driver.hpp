#pragma once

#include <chrono>
#include <functional>
#include <host/rigid_body_system.hpp>
#include <vector>

#include "motion/rates.hpp"

namespace replay {
namespace motion = tavo::motion;

/// Takes states through the plug-in, one after another, as a control loop would, and keeps time.
class Driver {
 public:
  /// A computation beyond kinematics and inverse dynamics.
  using Computation = std::function<void(tavo::RigidBodySystem&)>;

  /// The state's wrenches act on `wrench_bodies`.
  Driver(tavo::RigidBodySystem& system, std::vector<unsigned long> wrench_bodies,
         std::vector<Computation> more);

  /// Hands the state over and computes: then the system's getters show this state's results.
  void run(const motion::State& state);

  /// Time spent in the plug-in, in all calls of run().
  std::chrono::duration<double> time_in_plugin() const { return time_in_plugin_; }

 private:
  void narrow(const motion::State& state);
  void call_plugin();

  tavo::RigidBodySystem& system_;
  std::vector<unsigned long> wrench_bodies_;
  std::vector<Computation> more_;
  std::chrono::steady_clock::duration time_in_plugin_{};

  // The state in the interface's types, made before the clock starts.
  KT::Math::Transform root_pose_;
  KT::Math::Velocity6D root_velocity_, root_acceleration_;
  std::vector<float> q_, dq_, ddq_;
  std::vector<std::vector<float>> wrenches_;
};

}  // namespace replay
