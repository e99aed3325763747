// Torques that hold a crouching robot, on both feet and on one, and with a load of 0.5 kg in the
// left hand.
//
//   gravity_compensation PLUGIN

#include <cstdio>
#include <host/loader.hpp>
#include <quantities/quantities.hpp>
#include <string>

using namespace tavo::quantities;

static void print(const char* what, const tavo::RigidBodySystem& robot, const Stance& stance) {
  const auto torque = [&](const char* joint) {
    return stance.torques[static_cast<Eigen::Index>(robot.getJointAngleId(joint))];
  };
  std::printf("%-26s %5.2f %5.2f %5.2f   %5.2f %5.2f %5.2f   %6.3f   %4.0f %%\n", what,
              torque("LHipRoll"), torque("LKneePitch"), torque("LAnklePitch"), torque("RHipRoll"),
              torque("RKneePitch"), torque("RAnklePitch"), torque("LShoulderPitch"),
              100 * stance.share);
}

int main(int, char** argv) {
  const tavo::Plugin plugin(argv[1]);
  const tavo::Plugin::System robot = plugin.create();
  robot->setRootPose(KT::Math::transformFromPosition6D({0, 0, 0.3f, 0, 0, 0}));
  for (const std::string side : {"L", "R"}) {
    robot->setJointAnglePos(robot->getJointAngleId(side + "HipPitch"), -0.5f);
    robot->setJointAnglePos(robot->getJointAngleId(side + "KneePitch"), 1);
    robot->setJointAnglePos(robot->getJointAngleId(side + "AnklePitch"), -0.5f);
  }
  robot->computeFwdKinematics();

  State state(*robot);
  state.update(Coordinates::Zero(), Coordinates::Zero());  // at rest, and so it shall stay
  const unsigned long left = robot->getBodyId("LAnkleRoll"), right = robot->getBodyId("RAnkleRoll");
  const unsigned long hand = robot->getBodyId("LElbowRoll");

  // A weight at the hand's origin: its force is known in the world's axes.
  BodyWrenches load = BodyWrenches::Zero();
  const Matrix3 to_hand = state.pose(static_cast<int>(hand)).R.transpose();
  load.col(static_cast<int>(hand)).head<3>() = to_hand * Vector3(0, 0, -0.5 * gravity);

  std::puts(
      "torques, N m                LHipR LKnee LAnkP   RHipR RKnee RAnkP   LShouP   left foot");
  print("both feet", *robot, stance(state, left, right, Sharing::least_ankle_torque));
  print("both feet, by distance", *robot, stance(state, left, right, Sharing::by_distance));
  print("left foot", *robot, stance(state, left));
  print("both feet and the load", *robot,
        stance(state, left, right, Sharing::least_ankle_torque, load));
}
