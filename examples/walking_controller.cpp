// One cycle of a walking controller, at every sample of a walk that is disturbed: from where the
// robot is and where it should be to torques that the feet can bear.
//
//   walking_controller PLUGIN MOTION

#include <algorithm>
#include <cstdio>
#include <random>

#include "walk.hpp"

using namespace tavo::quantities;

int main(int, char** argv) {
  const tavo::Plugin plugin(argv[1]);
  const tavo::Plugin::System planned = plugin.create(), robot = plugin.create();
  State plan(*planned), state(*robot);
  Walk walk(argv[2], *planned);
  const Sole left = sole_of(*robot, "LAnkleRoll"), right = sole_of(*robot, "RAnkleRoll");

  std::mt19937 random(1);
  std::normal_distribution<double> noise(0, 1);
  std::vector<float> q(22);
  double torque_error = 0, feedback = 0, least = 1;
  int slips = 0, samples = 0;
  while (walk.next(plan)) {
    // What sensors would say: joints 2 mrad, joint rates 0.02 rad/s off.
    Coordinates dq = plan.dq();
    JointVector off;
    for (int j = 0; j < 22; ++j) {
      off[j] = 0.002 * noise(random);
      q[j] = walk.q[j] + static_cast<float>(off[j]);
      dq[6 + j] += 0.02 * noise(random);
    }
    robot->setRootPose(to_host(plan.root()));
    robot->setJointAnglesPos(q);
    robot->computeFwdKinematics();

    // Accelerations: the plan's, and back to it where it was left.
    Coordinates ddq = plan.ddq();
    ddq.tail<22>() += 100 * -off + 20 * (plan.dq() - dq).tail<22>();
    state.update(dq, ddq);

    // Torques: on the feet that the plan has on the ground.
    const bool l = centre_of_pressure(plan, left, walk.wrenches).has_value();
    const bool r = centre_of_pressure(plan, right, walk.wrenches).has_value();
    const Stance now = l && r ? stance(state, left.body(), right.body(), Sharing::by_distance)
                              : stance(state, l ? left.body() : right.body());

    // Can the feet bear that? The force must press within the sole and not slip (friction 0.6).
    for (const Sole* sole : {&left, &right}) {
      const auto pressure = centre_of_pressure(state, *sole, now.feet);
      if (!pressure) continue;
      SupportPolygon area;
      area.add(state, *sole);
      least = std::min(least, area.margin(*pressure));
      const int foot = static_cast<int>(sole->body());
      const Vector3 force = state.pose(foot).R * now.feet.col(foot).head<3>();
      slips += force.head<2>().norm() > 0.6 * force.z();
    }
    const JointVector planned_torques = inverse_dynamics(plan, walk.wrenches).tail<22>();
    if (l != r) {
      const Stance exact = stance(plan, l ? left.body() : right.body());
      torque_error =
          std::max(torque_error, (exact.torques - planned_torques).cwiseAbs().maxCoeff());
      feedback = std::max(feedback, (now.torques - exact.torques).cwiseAbs().maxCoeff());
    }
    ++samples;
  }
  std::printf("samples                                  %d\n", samples);
  std::printf("undisturbed, from the walk's own torques %s 1e-4 N m in single support\n",
              torque_error < 1e-4 ? "below" : "above");
  std::printf("feedback adds at most                    %.1f N m\n", feedback);
  std::printf("least margin of a foot's pressure        %.3f m\n", least);
  std::printf("slipping feet                            %d\n", slips);
}
