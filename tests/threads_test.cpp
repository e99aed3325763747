// Two control loops in one process, each with its own system. Built for ThreadSanitizer too.

#include <thread>

#include "tests/plugin_fixture.hpp"
#include "tests/robot.hpp"

namespace {

std::vector<float> run(tavo::RigidBodySystem& robot, unsigned seed) {
  std::mt19937 random(seed);
  Eigen::Matrix<float, 3, Eigen::Dynamic> J(3, 28);
  std::vector<float> results;
  const auto keep = [&results](const float* begin, const float* end) {
    results.insert(results.end(), begin, end);
  };
  for (unsigned long k = 0; k < 200; ++k) {
    test::set_state(robot, test::random_state(random));
    robot.computeFwdKinematics();
    robot.computeGeneralizedMass();
    robot.computeInverseDynamics();
    robot.computePartialComJacobian(k % 23, J);
    results.push_back(robot.computePartialComPositionInRoot(k % 23).z);
    keep(robot.getPose(22).m, robot.getPose(22).m + 12);
    keep(robot.getJointAnglesTorque().first, robot.getJointAnglesTorque().second);
    keep(J.data(), J.data() + J.size());
    keep(robot.getGeneralizedMass().data(), robot.getGeneralizedMass().data() + 28 * 28);
  }
  return results;
}

// A result that depends on another system or on earlier calls, or a scratch value shared between
// systems.
TEST_F(PluginTest, TwoThreadsComputeTheBitsOfOne) {
  const tavo::Plugin::System first = plugin.create(), second = plugin.create();
  const std::vector<float> want_first = run(robot, 1), want_second = run(robot, 2);
  std::vector<float> got_first, got_second;
  {
    std::jthread a([&] { got_first = run(*first, 1); });
    std::jthread b([&] { got_second = run(*second, 2); });
  }
  EXPECT_EQ(got_first, want_first);
  EXPECT_EQ(got_second, want_second);
}

}  // namespace
