// Which masses does the real robot have? A walk whose torques and foot wrenches were measured with
// noise, of a robot that carries 0.1 kg more on its torso and 0.05 kg more in its left hand than
// the model.
//
//   mass_calibration PLUGIN MOTION

#include <cstdio>
#include <random>

#include <Eigen/Geometry>

#include "walk.hpp"

using namespace tavo::quantities;

int main(int, char** argv) {
  const tavo::Plugin plugin(argv[1]);
  const tavo::Plugin::System robot = plugin.create();
  State state(*robot);
  Walk walk(argv[2], *robot);
  const std::vector<unsigned long> bodies = {robot->getBodyId("Torso"),
                                             robot->getBodyId("LElbowRoll")};
  const Eigen::Vector2d truth(0.1, 0.05);

  const Unknowns masses = masses_of(state.model(), bodies);
  Identification identification(masses, Measured::joints_and_root);
  Regressor Y;
  std::mt19937 random(1);
  std::normal_distribution<double> noise(0, 0.01);  // N and N m, on every measured value
  const auto measured = [&](double value) { return value + noise(random); };
  while (walk.next(state)) {
    // The measurement, made up: what more the heavier robot needs goes through its left foot or,
    // while that is in the air, its right one.
    regressor(state, Y);
    const Coordinates forces = inverse_dynamics(state, walk.wrenches) + Y * masses * truth;
    const bool left = walk.wrenches.col(12).norm() > 0;
    const int foot = left ? 12 : 18;
    const Pose& pose = state.body(foot).pose;
    const Vector3 f = forces.head<3>(), n = forces.segment<3>(3);
    BodyWrenches more = BodyWrenches::Zero();
    more.col(foot) << pose.R.transpose() * f, pose.R.transpose() * (n - pose.p.cross(f));
    const Coordinates all = forces + wrench_part(state, more);
    BodyWrenches wrenches = walk.wrenches + more;
    for (const int k : {12, 18}) {
      if (wrenches.col(k).norm() > 0) wrenches.col(k) = wrenches.col(k).unaryExpr(measured);
    }
    identification.add(state, all.tail<22>().unaryExpr(measured), wrenches);
  }
  const Identification::Result found = identification.solve();
  std::printf("samples %zu, residual %.3f N m\n", found.samples, found.residual);
  for (std::size_t k = 0; k < bodies.size(); ++k) {
    const auto i = static_cast<Eigen::Index>(k);
    std::printf("%-11s %+.4f kg, standard deviation %.4f kg; in truth %+.4f kg\n",
                robot->getBodyName(bodies[k]).c_str(), found.unknowns[i], found.deviations[i],
                truth[i]);
  }
}
