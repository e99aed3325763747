// A robot thrown into the air, its joints swinging freely: two seconds of forward dynamics by Runge
// and Kutta's fourth-order rule. Nothing drives it, so its energy, rotors and gravity included,
// must stay.
//
//   forward_simulation PLUGIN

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <host/loader.hpp>
#include <quantities/quantities.hpp>

using namespace tavo::quantities;

static const JointVector rotors = JointVector::Constant(1e-3);  // kg m2, seen at the joints

int main(int, char** argv) {
  const tavo::Plugin plugin(argv[1]);
  const tavo::Plugin::System robot = plugin.create();
  State state(*robot);
  std::vector<float> q(22);

  // Takes the state to a place and a speed.
  const auto go_to = [&](const Configuration& at, const Coordinates& dq) {
    std::copy(at.joints.begin(), at.joints.end(), q.begin());
    robot->setRootPose(to_host(at.root));
    robot->setJointAnglesPos(q);
    robot->computeFwdKinematics();
    state.update(dq, Coordinates::Zero());
  };
  const auto acceleration = [&](const Configuration& at, const Coordinates& dq) -> Coordinates {
    go_to(at, dq);
    return forward_dynamics(state, JointVector::Zero(), BodyWrenches::Zero(), rotors).ddq;
  };
  const auto total_energy = [&] {
    const JointVector turning = state.dq().tail<22>();
    return energy(state).total() + 0.5 * turning.dot(rotors.cwiseProduct(turning));
  };

  Configuration at;
  at.root.p = {0, 0, 1};
  at.joints.segment<6>(6) << 0, 0.2, -0.4, 0.8, -0.4, 0.1;
  Coordinates dq = Coordinates::Zero();
  dq.head<6>() << 1, 0, 4, 1, 2, -1;
  for (int j = 0; j < 22; ++j) dq[6 + j] = 2 * std::sin(j);
  go_to(at, dq);
  const double before = total_energy();
  const Vector3 momentum = centroidal_momentum(state).head<3>();
  std::printf("time  centre of mass z  kinetic energy  total energy\n");
  const double h = 0.0005;
  double drift = 0;
  for (int k = 0; k <= 4000; ++k) {
    go_to(at, dq);
    drift = std::max(drift, std::abs(total_energy() - before));
    if (k % 1000 == 0) {
      std::printf("%.1f s  %8.3f m  %12.2f J  %12.2f J\n", k * h, com_position(state).z(),
                  energy(state).kinetic, total_energy());
    }
    // Each stage starts anew from `at`, with the mean rate since then.
    const Coordinates a1 = acceleration(at, dq);
    const Coordinates v2 = dq + h / 2 * a1, a2 = acceleration(moved(at, h / 2 * dq), v2);
    const Coordinates v3 = dq + h / 2 * a2, a3 = acceleration(moved(at, h / 2 * v2), v3);
    const Coordinates v4 = dq + h * a3, a4 = acceleration(moved(at, h * v3), v4);
    at = moved(at, h / 6 * (dq + 2 * v2 + 2 * v3 + v4));
    dq += h / 6 * (a1 + 2 * a2 + 2 * a3 + a4);
  }
  const double spun = (centroidal_momentum(state).head<3>() - momentum).norm() / momentum.norm();
  std::printf("energy drifts by %s 1e-3 J of %.1f J\n", drift < 1e-3 ? "less than" : "more than",
              before);
  std::printf("angular momentum about the centre of mass by %s 1e-3 of itself\n",
              spun < 1e-3 ? "less than" : "more than");
}
