// A comparison with a library that others keep: the Orocos Kinematics and Dynamics Library. It
// knows fixed bases only, so the root stays still.

#include <kdl/tree.hpp>
#include <kdl/treefksolverpos_recursive.hpp>
#include <kdl/treeidsolver_recursive_newton_euler.hpp>

#include "tests/plugin_fixture.hpp"
#include "tests/robot.hpp"

namespace {

KDL::Vector vector(const oracle::Vector3& v) {
  return {v.x(), v.y(), v.z()};
}

KDL::Tree kdl_tree(const tavo::RigidBodySystem& robot) {
  KDL::Tree tree("Torso");
  const oracle::Tree& bodies = test::robot_tree();
  for (unsigned long i = 1; i < 23; ++i) {
    const oracle::Body& b = bodies[i];
    const oracle::Vector3 c = b.h / b.m;
    const oracle::Matrix3 Ic = b.I + b.m * oracle::cross(c) * oracle::cross(c);
    const KDL::Rotation axes(vector(b.E.row(0)), vector(b.E.row(1)), vector(b.E.row(2)));
    const KDL::Frame placement(axes, vector(b.r));
    const KDL::Joint joint(robot.getBodyName(i), placement.p, placement.M.UnitZ(),
                           KDL::Joint::RotAxis);
    const KDL::RigidBodyInertia inertia(
        b.m, vector(c),
        KDL::RotationalInertia(Ic(0, 0), Ic(1, 1), Ic(2, 2), Ic(0, 1), Ic(0, 2), Ic(1, 2)));
    tree.addSegment(KDL::Segment(robot.getBodyName(i), joint, placement, inertia),
                    robot.getBodyName(static_cast<unsigned long>(b.parent)));
  }
  return tree;
}

TEST_F(PluginTest, PosesAndTorquesMatchAnotherLibrary) {
  const KDL::Tree tree = kdl_tree(robot);
  KDL::TreeFkSolverPos_recursive kinematics(tree);
  test::for_random_states(100, [&](test::State state) {
    state.dq.head(6).setZero();
    state.ddq.head(6).setZero();
    test::set_state(robot, state);
    robot.computeFwdKinematics();
    robot.computeInverseDynamics();

    const oracle::Pose root = test::pose(robot.getRootPose());
    KDL::JntArray q(22), dq(22), ddq(22), torques(22);
    q.data = state.q.tail(22);
    dq.data = state.dq.tail(22);
    ddq.data = state.ddq.tail(22);
    KDL::WrenchMap wrenches;
    for (unsigned long i = 0; i < 23; ++i) {
      const std::string& name = robot.getBodyName(i);
      const oracle::Vector6& F = state.fext[i];
      wrenches[name] = {vector(F.tail<3>()), vector(F.head<3>())};
      KDL::Frame frame;
      ASSERT_GE(kinematics.JntToCart(q, frame, name), 0);
      const oracle::Pose pose = test::pose(robot.getPoseInRoot(i));
      EXPECT_LE((vector(pose.p) - frame.p).Norm(), 2e-6) << name;
      EXPECT_LE((vector(pose.R.col(2)) - frame.M.UnitZ()).Norm(), 2e-6) << name;
      EXPECT_LE((vector(pose.R.col(0)) - frame.M.UnitX()).Norm(), 2e-6) << name;
    }
    KDL::TreeIdSolver_RNE dynamics(tree, vector(root.R.transpose() * oracle::Vector3(0, 0, -9.81)));
    ASSERT_GE(dynamics.CartToJnt(q, dq, ddq, wrenches, torques), 0);
    EXPECT_LE(test::error(test::torques(robot), torques.data),
              2e-5 * torques.data.cwiseAbs().maxCoeff());
  });
}

}  // namespace
