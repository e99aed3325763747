// What the quantities ask of the heap in a control loop: nothing. A program of its own, since its
// malloc takes the place of the C library's.

#include <cstdlib>
#include <quantities/inverse_kinematics.hpp>

#include "tests/heap_watch.hpp"
#include "tests/quantities/fixture.hpp"

#ifndef MALLOC_IS_TAKEN
namespace {

template <class Matrix>
double first(const Matrix& values) {
  return values(0, 0);
}

TEST_F(QuantitiesTest, ALoopAllocatesNothing) {
  robot.setRootPose(KT::Math::transformFromPosition6D({0, 0, 0.32f, 0.1f, 0.2f, 0.3f}));
  std::vector<float> q(22);
  q[8] = q[14] = q[10] = q[16] = -0.3f;
  q[9] = q[15] = 0.6f;
  robot.setJointAnglesPos(q);
  robot.computeFwdKinematics();
  state.update();
  const std::vector<unsigned long> feet = {kLeftFoot, kRightFoot};
  const tq::Sole left = sole(kLeftFoot), right = sole(kRightFoot);
  const tq::JointVector rotors = tq::JointVector::Constant(1e-3);
  const tq::BodyWrenches none = tq::BodyWrenches::Zero();
  const tq::Plane ground = tq::Plane::ground();
  tq::SupportPolygon polygon;
  tq::TorqueDerivatives derivatives(robot);
  tq::InverseKinematics ik(robot);
  static tq::Regressor Y;
  double sum = 0;

  test::heap_watch.on = true;
  state.update();
  for (const tq::Frame frame : {tq::Frame::body, tq::Frame::world, tq::Frame::world_at_point}) {
    sum += first(position(state, {12})) + first(jacobian(state, {12}, frame)) +
           first(twist(state, {12}, frame)) + first(classical_acceleration(state, {12}, frame)) +
           first(classical_drift(state, {12}, frame));
  }
  sum += first(com_position(state)) + first(com_velocity(state)) + first(com_acceleration(state)) +
         first(com_drift(state)) + first(com_jacobian(state)) + first(centroidal_momentum(state)) +
         first(centroidal_momentum_matrix(state)) + first(centroidal_momentum_rate(state)) +
         first(centroidal_momentum_drift(state)) + energy(state).total() + energy_rate(state) +
         joint_power(state, rotors) + wrench_power(state, none);
  sum += first(force_parts(state).total()) + first(wrench_part(state, none)) +
         first(wrench_part(state, 12, {})) + first(inverse_dynamics(state, none)) +
         root_wrench(state, none).force.x() + first(mass_matrix(state));
  const tq::Stance stance =
      tq::stance(state, kLeftFoot, kRightFoot, tq::Sharing::least_ankle_torque);
  sum += first(tq::stance(state, kLeftFoot, kRightFoot, tq::Sharing::by_distance).torques);
  polygon.add(state, left);
  polygon.add(state, right);
  sum += polygon.margin(*zero_moment_point(state)) +
         first(*centre_of_pressure(state, left, stance.feet)) +
         first(*centre_of_pressure(state, ground, stance.feet)) + first(capture_point(state));
  sum += first(forward_dynamics(state, stance.torques, none, rotors).ddq) +
         first(forward_dynamics(state, stance.torques, none, rotors, feet).ddq);
  derivatives.compute();
  regressor(state, Y);
  ik.reach({kLeftFoot}, state.pose(kLeftFoot));
  ik.reach({kRightFoot}, tq::Vector3(state.pose(kRightFoot).p + tq::Vector3(0, 0, 0.02)));
  ik.reach_com(com_position(state));
  const bool reached = ik.solve().reached;
  test::heap_watch.on = false;

  EXPECT_EQ(long{test::heap_watch.asked}, 0);
  EXPECT_TRUE(reached);
  EXPECT_TRUE(std::isfinite(sum));
  test::heap_watch.on = true;
  void* volatile block = std::malloc(100);  // volatile: clang takes an unused pair away
  std::free(block);
  test::heap_watch.on = false;
  EXPECT_GT(long{test::heap_watch.asked}, 0) << "the watch sees nothing";
}

}  // namespace
#endif
