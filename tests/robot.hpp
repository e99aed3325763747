#pragma once

#include <array>
#include <host/rigid_body_system.hpp>
#include <limits>
#include <random>
#include <span>
#include <vector>

#include <gtest/gtest.h>

#include "model/body_row.hpp"
#include "tests/oracle.hpp"

/// The robot as the oracle sees it, random states, and the way from and to the host's types.
namespace test {

constexpr double kEps = std::numeric_limits<float>::epsilon();
constexpr unsigned kSeed = 23;
constexpr int kBodies = 23;
constexpr int kJoints = 22;

/// The stored floats, 0.707107 included, widened.
oracle::Tree tree_of(std::span<const metapod::BodyRow> rows);
const oracle::Tree& robot_tree();

/// Numbers of a state; all are floats, so that the library gets exactly what the oracle gets.
struct State {
  oracle::Vector q, dq, ddq;
  std::vector<oracle::Vector6> fext;  // body frames, moment first
};
State random_state(std::mt19937& random, int bodies = kBodies);

/// The host's way to set a state: the root's six coordinates pass through a transform.
void set_state(tavo::RigidBodySystem& robot, const State& state);
KT::Math::Transform transform(const oracle::Vector& root_coordinates);

oracle::Pose pose(const KT::Math::Transform& t);
oracle::Vector3 point(const KT::Math::Position3D& p);
oracle::Vector torques(const tavo::RigidBodySystem& robot);
std::vector<float> floats(const oracle::Vector& values);

/// Largest absolute difference; infinite if any entry is not finite or the shapes differ.
double error(const oracle::Matrix& got, const oracle::Matrix& want);

/// Calls check(state) for random states until one fails, and says which one that was.
template <class Check>
void for_random_states(int count, const Check& check, int bodies = kBodies) {
  std::mt19937 random(kSeed);
  for (int k = 0; k < count && !testing::Test::HasFailure(); ++k) {
    SCOPED_TRACE(testing::Message() << "state " << k << " of seed " << kSeed);
    check(random_state(random, bodies));
  }
}

}  // namespace test
