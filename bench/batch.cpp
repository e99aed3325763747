// Many states at once beside the plug-in in a loop that leaves the same arrays. Rows:
//   loop/...    the plug-in's setters, its three operations, its results copied to the arrays
//   batch/...   the engine
//   .../all     forward kinematics, inverse dynamics and mass matrix: poses, centre of mass,
//               torques, the whole matrix
//   .../packed  the same with the matrix's lower triangle
//   .../small   forward kinematics and inverse dynamics: centre of mass and torques
// The counter ns is for one state; bytes are those of its rows, in and out.

#include <batch/batch.hpp>
#include <cstring>
#include <host/loader.hpp>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/states.hpp"

namespace {

using tavo::batch::Engine, tavo::batch::Inputs, tavo::batch::Outputs;
enum What { all, packed, small };
constexpr std::size_t nb_dofs = 28, nb_joints = 22, poses_size = 23 * 12, full = 28 * 28,
                      triangle = 28 * 29 / 2;

std::size_t matrix_size(What what) {
  return what == all ? full : what == packed ? triangle : 0;
}
std::size_t bytes_of(What what) {
  const std::size_t out =
      what == small ? 3 + nb_dofs : poses_size + 3 + nb_dofs + matrix_size(what);
  return sizeof(float) * (3 * nb_dofs + out);
}

/// Rows of inputs and of results.
struct Tables {
  explicit Tables(std::size_t n, What what)
      : n(n),
        q(n * nb_dofs),
        dq(q),
        ddq(q),
        poses(what == small ? 0 : n * poses_size),
        com(3 * n),
        torques(n * nb_dofs),
        H(n * matrix_size(what)) {
    const std::vector<bench::State> states = bench::random_states();
    for (std::size_t k = 0; k < n; ++k) {
      const bench::State& s = states[k % states.size()];
      const KT::Math::Position6D p = KT::Math::position6DFromTransform(s.root_pose);
      const float root[] = {p.x, p.y, p.z, p.alpha, p.beta, p.gamma};
      std::memcpy(&q[k * nb_dofs], root, sizeof(root));
      std::memcpy(&q[k * nb_dofs + 6], s.q.data(), sizeof(float) * nb_joints);
      std::memcpy(&dq[k * nb_dofs], &s.root_velocity, sizeof(root));
      std::memcpy(&dq[k * nb_dofs + 6], s.dq.data(), sizeof(float) * nb_joints);
      std::memcpy(&ddq[k * nb_dofs], &s.root_acceleration, sizeof(root));
      std::memcpy(&ddq[k * nb_dofs + 6], s.ddq.data(), sizeof(float) * nb_joints);
    }
  }
  std::size_t n;
  std::vector<float> q, dq, ddq, poses, com, torques, H;
};

void by_engine(Engine& engine, Tables& t, What what) {
  Inputs in;
  in.nb_states = t.n;
  in.q = {t.q.data(), nb_dofs};
  in.dq = {t.dq.data(), nb_dofs};
  in.ddq = {t.ddq.data(), nb_dofs};
  Outputs out;
  out.com = {t.com.data(), 3};
  out.torques = {t.torques.data(), nb_dofs};
  if (what != small) out.poses = {t.poses.data(), poses_size};
  if (what == all) out.mass_matrix = {t.H.data(), full};
  if (what == packed) out.mass_matrix_packed = {t.H.data(), triangle};
  engine.evaluate(in, out);
}

void by_plugin(tavo::RigidBodySystem& robot, Tables& t, What what) {
  std::vector<float> q(nb_joints), dq(nb_joints), ddq(nb_joints);
  for (std::size_t k = 0; k < t.n; ++k) {
    const float *qk = &t.q[k * nb_dofs], *dqk = &t.dq[k * nb_dofs], *ddqk = &t.ddq[k * nb_dofs];
    robot.setRootPose(
        KT::Math::transformFromPosition6D({qk[0], qk[1], qk[2], qk[3], qk[4], qk[5]}));
    robot.setRootVelocity({dqk[0], dqk[1], dqk[2], dqk[3], dqk[4], dqk[5]});
    robot.setRootAcceleration({ddqk[0], ddqk[1], ddqk[2], ddqk[3], ddqk[4], ddqk[5]});
    q.assign(qk + 6, qk + nb_dofs);
    dq.assign(dqk + 6, dqk + nb_dofs);
    ddq.assign(ddqk + 6, ddqk + nb_dofs);
    robot.setJointAnglesPos(q);
    robot.setJointAnglesVel(dq);
    robot.setJointAnglesAcc(ddq);
    robot.computeFwdKinematics();
    robot.computeInverseDynamics();
    if (what != small) robot.computeGeneralizedMass();
    std::memcpy(&t.com[3 * k], &robot.getComPosition().x, 3 * sizeof(float));
    std::memcpy(&t.torques[k * nb_dofs + 6], robot.getJointAnglesTorque().first,
                nb_joints * sizeof(float));
    if (what == small) continue;
    for (std::size_t i = 0; i < 23; ++i) {
      std::memcpy(&t.poses[k * poses_size + 12 * i], robot.getPose(i).m, 12 * sizeof(float));
    }
    const float* H = robot.getGeneralizedMass().data();
    if (what == all) {
      std::memcpy(&t.H[k * full], H, full * sizeof(float));
    } else {
      float* out = &t.H[k * triangle];
      for (std::size_t i = 0; i < nb_dofs; ++i) {
        std::memcpy(out, H + nb_dofs * i, (i + 1) * sizeof(float));
        out += i + 1;
      }
    }
  }
}

void finish(benchmark::State& state, const Tables& t, What what) {
  const double states = static_cast<double>(state.iterations()) * static_cast<double>(t.n);
  state.counters["ns"] =
      benchmark::Counter(states * 1e-9, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["bytes"] = static_cast<double>(bytes_of(what));
}

const int registered = [] {
  for (const auto& [what, name] : {std::pair{all, "all"}, {packed, "packed"}, {small, "small"}}) {
    for (const int n : {64, 10000}) {
      const std::string tail = std::string("/") + name + "/" + std::to_string(n);
      benchmark::RegisterBenchmark(("loop" + tail).c_str(), [=, what = what](benchmark::State& s) {
        const tavo::Plugin plugin(PLUGIN_PATH);
        const auto robot = plugin.create();
        Tables t(n, what);
        for (auto _ : s) by_plugin(*robot, t, what);
        finish(s, t, what);
      })->UseRealTime();
      for (const unsigned threads : {1u, 2u}) {
        const std::string label = threads == 1 ? "batch" : "batch-2";
        benchmark::RegisterBenchmark((label + tail).c_str(), [=, what = what](benchmark::State& s) {
          Engine engine(threads);
          Tables t(n, what);
          for (auto _ : s) by_engine(engine, t, what);
          finish(s, t, what);
        })->UseRealTime();
      }
    }
  }
  return 0;
}();

}  // namespace

BENCHMARK_MAIN();
