// Times of the quantities that hosts derive from the plug-in, over random states in turn.
//
// Each row is the difference of two passes over all states, in CPU time, the median of 21: one in
// which a state is set and goes through kinematics and inverse dynamics and the quantity is then
// computed, one without the quantity. So it is what the quantity costs beside the plug-in's own
// work. The label says what we hold ourselves to, where there is a limit.

#include <algorithm>
#include <ctime>
#include <functional>
#include <host/loader.hpp>
#include <quantities/quantities.hpp>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "bench/states.hpp"

namespace {

namespace tq = tavo::quantities;

double cpu_seconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// A host with everything that a balance monitor or a controller keeps.
struct Host {
  tavo::Plugin::System robot = tavo::Plugin(PLUGIN_PATH).create();
  tq::State state{*robot};
  tq::TorqueDerivatives derivatives{*robot};
  tq::InverseKinematics ik{*robot};
  std::vector<tq::Sole> soles;
  tq::SupportPolygon polygon;
  tq::Regressor Y;
  tq::BodyWrenches feet = tq::BodyWrenches::Zero();
  tq::JointVector torques = tq::JointVector::Constant(0.1);
  tq::JointVector rotors = tq::JointVector::Constant(1e-3);
  std::vector<unsigned long> both = {12, 18};

  Host() {
    for (const unsigned long foot : both) {
      soles.push_back({foot,
                       {{-0.045, -0.025, -0.035},
                        {-0.045, 0.025, -0.035},
                        {-0.045, 0.025, 0.075},
                        {-0.045, -0.025, 0.075}}});
      feet.col(static_cast<int>(foot)) << 24, 1, -1, 0.1, 0.2, -0.1;
    }
  }
  void set(const bench::State& s) {
    robot->setRootPose(s.root_pose);
    robot->setRootVelocity(s.root_velocity);
    robot->setRootAcceleration(s.root_acceleration);
    robot->setJointAnglesPos(s.q);
    robot->setJointAnglesVel(s.dq);
    robot->setJointAnglesAcc(s.ddq);
    robot->computeFwdKinematics();
    robot->computeInverseDynamics();
  }
  double margin() {
    polygon.clear();
    for (const tq::Sole& sole : soles) polygon.add(state, sole);
    const std::optional<tq::Vector3> point = zero_moment_point(state);
    return point ? polygon.margin(*point) : 0;
  }
};

template <class Value>
void keep(Value value) {
  benchmark::DoNotOptimize(value);
}

struct Row {
  const char* name;
  const char* limit;
  std::function<void(Host&)> compute;
};

const std::vector<Row> rows = {
    {"monitor: update, com velocity, momentum, root wrench, zmp, margin", "limit 3000 ns",
     [](Host& h) {
       h.state.update();
       keep(com_velocity(h.state));
       keep(centroidal_momentum(h.state));
       keep(root_wrench(h.state));
       keep(h.margin());
     }},
    {"TorqueDerivatives::compute", "limit 80000 ns", [](Host& h) { h.derivatives.compute(); }},
    {"State::update", "", [](Host& h) { h.state.update(); }},
};

// These need an update before them, which is not counted.
const std::vector<Row> rows_after_update = {
    {"position", "",
     [](Host& h) {
       keep(position(h.state, {12, {0.1, 0, 0}}));
     }},
    {"jacobian", "", [](Host& h) { keep(jacobian(h.state, {12}, tq::Frame::body)); }},
    {"twist", "", [](Host& h) { keep(twist(h.state, {12}, tq::Frame::body)); }},
    {"classical_acceleration", "",
     [](Host& h) { keep(classical_acceleration(h.state, {12}, tq::Frame::body)); }},
    {"classical_drift", "", [](Host& h) { keep(classical_drift(h.state, {12}, tq::Frame::body)); }},
    {"com_velocity", "", [](Host& h) { keep(com_velocity(h.state)); }},
    {"com_jacobian", "", [](Host& h) { keep(com_jacobian(h.state)); }},
    {"centroidal_momentum", "", [](Host& h) { keep(centroidal_momentum(h.state)); }},
    {"centroidal_momentum_matrix", "", [](Host& h) { keep(centroidal_momentum_matrix(h.state)); }},
    {"centroidal_momentum_rate", "", [](Host& h) { keep(centroidal_momentum_rate(h.state)); }},
    {"energy", "", [](Host& h) { keep(energy(h.state)); }},
    {"root_wrench", "", [](Host& h) { keep(root_wrench(h.state)); }},
    {"force_parts", "", [](Host& h) { keep(force_parts(h.state)); }},
    {"inverse_dynamics with wrenches", "",
     [](Host& h) { keep(inverse_dynamics(h.state, h.feet)); }},
    {"stance on one foot", "", [](Host& h) { keep(stance(h.state, 12)); }},
    {"centre_of_pressure", "",
     [](Host& h) { keep(centre_of_pressure(h.state, tq::Plane::ground(), h.feet)); }},
    {"zero_moment_point", "", [](Host& h) { keep(zero_moment_point(h.state)); }},
    {"support polygon, zmp and margin", "", [](Host& h) { keep(h.margin()); }},
    {"divergent_component", "", [](Host& h) { keep(divergent_component(h.state, 6)); }},
    {"mass_matrix", "", [](Host& h) { keep(mass_matrix(h.state)); }},
    {"forward_dynamics", "",
     [](Host& h) { keep(forward_dynamics(h.state, h.torques, h.feet, h.rotors)); }},
    {"forward_dynamics, both feet held", "",
     [](Host& h) { keep(forward_dynamics(h.state, h.torques, h.feet, h.rotors, h.both)); }},
    {"regressor", "", [](Host& h) { regressor(h.state, h.Y); }},
    {"inverse kinematics of a leg, 0.02 m away", "",
     [](Host& h) {
       h.ik.clear();
       h.ik.options.moving = chain_to(h.ik.model(), 12);
       tq::Pose target = h.state.pose(12);
       target.p.z() += 0.02;
       h.ik.reach({12}, target);
       h.ik.options.most_attempts = 1;
       keep(h.ik.solve());
     }},
};

void add(const Row& row, bool after_update) {
  static Host host;
  static const std::vector<bench::State> states = bench::random_states();
  const auto pass = [&row, after_update](bool with) {
    const double start = cpu_seconds();
    for (const bench::State& s : states) {
      host.set(s);
      if (after_update) host.state.update();
      if (with) row.compute(host);
    }
    return cpu_seconds() - start;
  };
  const auto run = [pass, &row](benchmark::State& state) {
    constexpr int rounds = 21;
    std::vector<double> differences, without;
    for (auto _ : state) {
      for (int round = 0; round < rounds; ++round) {
        without.push_back(pass(false));
        differences.push_back(pass(true) - without.back());
      }
      state.SetIterationTime(median(differences) / static_cast<double>(states.size()));
    }
    state.counters["ratio_to_plugin"] = median(differences) / median(without);
    state.SetLabel(row.limit);
  };
  benchmark::RegisterBenchmark(row.name, run)->UseManualTime()->Iterations(1);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (const Row& row : rows) add(row, false);
  for (const Row& row : rows_after_update) add(row, true);
  benchmark::RunSpecifiedBenchmarks();
}
