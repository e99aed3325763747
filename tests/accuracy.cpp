// Measures the plug-in against the double-precision oracle and prints a table; fails if an error
// leaves its bound. Usage: accuracy [STATES]

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <host/loader.hpp>
#include <string>

#include "tests/robot.hpp"

namespace {

// Error of each state, also relative to the size of the quantity in that state.
struct Quantity {
  const char* name;
  const char* size_name;
  double bound;
  double largest = 0, relative = 0, sum = 0, states = 0;

  void add(const oracle::Matrix& got, const oracle::Matrix& want, double size) {
    const double error = test::error(got, want);
    largest = std::max(largest, error);
    relative = std::max(relative, error / size);
    sum += error / size;
    ++states;
  }
  void add(const oracle::Matrix& got, const oracle::Matrix& want) {
    add(got, want, want.cwiseAbs().maxCoeff());
  }
  bool print() const {
    const bool good = relative <= bound;
    std::printf("| %s | %s | %.2g | %.2g | %.2g | %.2g |%s\n", name, size_name, largest, relative,
                sum / states, bound, good ? "" : " TOO LARGE");
    return good;
  }
};

}  // namespace

int main(int argc, char** argv) {
  const tavo::Plugin plugin(PLUGIN_PATH);
  const tavo::Plugin::System robot = plugin.create();
  const long states = argc > 1 ? std::atol(argv[1]) : 10000;
  Quantity position{"position of a body in the world, m", "1 m", 4e-7};
  Quantity rotation{"entry of a rotation in the world", "1", 2e-6};
  Quantity com{"centre of mass in the world, m", "1 m", 2e-7};
  Quantity jacobian{"Jacobian in the root", "1", 1.5e-6};
  Quantity mass_matrix{"mass matrix", "its largest entry", 1e-6};
  Quantity partial{"partial momentum Jacobian, kg m", "its largest entry", 2e-6};
  Quantity torques{"joint torques, N m", "the state's largest torque", 1e-5};
  std::mt19937 random(test::kSeed);
  for (long k = 0; k < states; ++k) {
    const test::State state = test::random_state(random);
    const oracle::Configuration want(test::robot_tree(), state.q);
    test::set_state(*robot, state);
    robot->computeFwdKinematics();
    robot->computeGeneralizedMass();
    robot->computeInverseDynamics();
    for (unsigned long i = 0; i < 23; ++i) {
      const oracle::Pose pose = test::pose(robot->getPose(i));
      position.add(pose.p, want.in_world[i].p, 1);
      rotation.add(pose.R, want.in_world[i].R, 1);
    }
    com.add(test::point(robot->getComPosition()), want.com_world, 1);
    jacobian.add(robot->getJacobianInRoot().cast<double>(), want.J, 1);
    mass_matrix.add(robot->getGeneralizedMass().cast<double>(), want.mass_matrix());
    torques.add(test::torques(*robot),
                want.inverse_dynamics(state.dq, state.ddq, state.fext).tail(test::kJoints));
    const unsigned long left_out = static_cast<unsigned long>(k) % 23;
    const oracle::Tree rest = oracle::without(test::robot_tree(), static_cast<int>(left_out));
    Eigen::Matrix<float, 3, Eigen::Dynamic> J;
    tavo::partialComJacobian(*robot, left_out, J);
    partial.add(J.cast<double>(), oracle::Configuration(rest, state.q).momentum_jacobian());
  }

  std::printf("Largest and mean errors over %ld random states (seed %u):\n\n", states, test::kSeed);
  std::puts(
      "| Quantity | Relative to | Largest error | Relative, largest | Relative, mean | Bound |");
  std::puts("|---|---|---|---|---|---|");
  bool good = true;
  for (const Quantity* q :
       {&position, &rotation, &com, &jacobian, &mass_matrix, &partial, &torques}) {
    good = q->print() && good;
  }
  return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
