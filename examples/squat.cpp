// A squat by inverse kinematics: feet where they are, centre of mass down and up again above them,
// torso upright. Writes squat.csv, a motion that orvek23-replay takes.
//
//   squat PLUGIN

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <host/loader.hpp>
#include <motion/motion_writer.hpp>
#include <quantities/quantities.hpp>
#include <string>

using namespace tavo::quantities;

int main(int, char** argv) {
  const tavo::Plugin plugin(argv[1]);
  const tavo::Plugin::System robot = plugin.create();
  const unsigned long left = robot->getBodyId("LAnkleRoll"), right = robot->getBodyId("RAnkleRoll");
  robot->setRootPose(KT::Math::transformFromPosition6D({0, 0, 0.325f, 0, 0, 0}));
  for (const std::string side : {"L", "R"}) {  // knees a little bent, arms down
    robot->setJointAnglePos(robot->getJointAngleId(side + "HipPitch"), -0.25f);
    robot->setJointAnglePos(robot->getJointAngleId(side + "KneePitch"), 0.5f);
    robot->setJointAnglePos(robot->getJointAngleId(side + "AnklePitch"), -0.25f);
    robot->setJointAnglePos(robot->getJointAngleId(side + "ShoulderPitch"), 1.4f);
  }
  robot->computeFwdKinematics();
  State state(*robot);

  // Feet flat on the ground: x up, y to the right, z ahead. The torso stays upright.
  Pose feet[2];
  for (const int k : {0, 1}) {
    feet[k].R << 0, 0, 1, 0, -1, 0, 1, 0, 0;
    feet[k].p = {0, k == 0 ? 0.05 : -0.05, 0.045};
  }
  std::ofstream file("squat.csv");
  tavo::motion::MotionWriter writer(file, tavo::motion::names_of(*robot));
  const double top = com_position(state).z(), depth = 0.06;
  InverseKinematics ik(*robot);
  ik.options.moving = whole_body();
  ik.options.moving.segment<6>(6) = false;  // head and left arm stay,
  ik.options.moving.tail<4>() = false;      // and so does the right arm
  int reached = 0, iterations = 0;
  double position_error = 0, deepest = 0;
  for (int k = 0; k <= 400; ++k) {
    const double turn = std::clamp((k - 50) / 300.0, 0.0, 1.0) * 2 * M_PI;
    ik.clear();
    ik.reach({left}, feet[0]);
    ik.reach({right}, feet[1]);
    // Down with an acceleration that begins and ends softly.
    const double down = 0.5 * depth * (1 - std::cos(turn));
    ik.reach_com({0.01, 0, top - 0.005 - down});
    const InverseKinematics::Result result = ik.solve();
    reached += result.reached;
    iterations += result.iterations;
    position_error = std::max(position_error, result.position_error);

    const Configuration& at = result.configuration;
    deepest = std::max(deepest, at.joints[static_cast<int>(robot->getJointAngleId("LKneePitch"))]);
    tavo::motion::Sample sample{};
    sample.time = 0.01 * k;
    sample.p_world = at.root.p;
    sample.R_world = at.root.R;
    sample.q = at.joints;
    sample.velocity = sample.acceleration = Coordinates::Constant(std::nan(""));  // not given
    writer.add(sample);
  }
  std::printf("samples reached          %d of 401\n", reached);
  std::printf("largest error            %s 1e-6 m\n", position_error < 1e-6 ? "below" : "above");
  std::printf("iterations a sample      %.0f\n", iterations / 401.0);
  std::printf("knees at the bottom      %.2f rad\n", deepest);
}
