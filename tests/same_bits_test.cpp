// One result, whatever instruction set or compiler computed it: robots that replay each other's
// logs rely on it.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "tests/plugin_fixture.hpp"
#include "tests/robot.hpp"

namespace {

/// FNV-1a over the bits of all outputs of 10,000 states. The plain form's partial Jacobian goes
/// through Eigen's general product, whose order of sums is Eigen's own: its bits are hashed apart.
struct Hashes {
  std::uint64_t all = 14695981039346656037u, partial_jacobian = all;
};

void add(std::uint64_t& hash, const float* values, std::size_t n) {
  for (std::size_t k = 0; k < n; ++k) {
    std::uint32_t bits;
    std::memcpy(&bits, values + k, sizeof(bits));
    hash = (hash ^ bits) * 1099511628211u;
  }
}

Hashes hashes_of(const std::string& path) {
  const tavo::Plugin plugin(path);
  const tavo::Plugin::System system = plugin.create();
  tavo::RigidBodySystem& robot = *system;
  std::mt19937 random(test::kSeed);
  Eigen::Matrix<float, 3, Eigen::Dynamic> J(3, 28);
  Hashes hashes;
  for (unsigned long k = 0; k < 10000; ++k) {
    test::set_state(robot, test::random_state(random));
    robot.computeFwdKinematics();
    robot.computeGeneralizedMass();
    robot.computePartialComJacobian(k % 23, J);
    robot.computeInverseDynamics();
    const KT::Math::Position3D partial_com = robot.computePartialComPositionInRoot(k % 23);
    for (unsigned long i = 0; i < 23; ++i) {
      add(hashes.all, robot.getPose(i).m, 12);
      add(hashes.all, robot.getPoseInRoot(i).m, 12);
    }
    add(hashes.all, &robot.getComPosition().x, 3);
    add(hashes.all, &partial_com.x, 3);
    add(hashes.all, robot.getJacobianInRoot().data(), 6 * 28);
    add(hashes.all, robot.getGeneralizedMass().data(), 28 * 28);
    add(hashes.all, robot.getJointAnglesTorque().first, 22);
    add(hashes.partial_jacobian, J.data(), 3 * 28);
  }
  return hashes;
}

// Those of this build, or the ones that ORVEK23_PLUGINS names: scripts/matrix.sh has many.
std::vector<std::string> plugins() {
  const char* const named = std::getenv("ORVEK23_PLUGINS");
  if (named == nullptr) {
    return {PLUGIN_PATH, BASELINE_PLUGIN_PATH, PLAIN_PLUGIN_PATH, CHECKED_PLUGIN_PATH};
  }
  std::vector<std::string> paths;
  std::istringstream in(named);
  for (std::string path; std::getline(in, path, ':');) paths.push_back(path);
  return paths;
}

TEST(Bits, AreTheSameOnEveryPathAndFromEveryCompiler) {
  for (const std::string& path : plugins()) {
    SCOPED_TRACE(path);
    const Hashes hashes = hashes_of(path);
    // These change with the order of an operation, never with the build.
    EXPECT_EQ(hashes.all, 15412645929034628086u);
    EXPECT_EQ(hashes.partial_jacobian, 16580927470481208038u);
  }
}

}  // namespace
