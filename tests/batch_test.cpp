// Many states at once: the plug-in's bits, whatever the number of states, threads and strides.

#include <batch/batch.hpp>
#include <cstring>
#include <random>
#include <stdexcept>
#include <vector>

#include "tests/plugin_fixture.hpp"
#include "tests/robot.hpp"

namespace {

using tavo::batch::BodyInertia, tavo::batch::Engine, tavo::batch::In, tavo::batch::Inputs,
    tavo::batch::Out, tavo::batch::Outputs, tavo::batch::Wrench;

constexpr float kUnwritten = -1e30f;

/// Rows of n floats, with room between them that must stay as it is.
struct Table {
  Table(std::size_t rows, std::size_t n, std::size_t gap = 3)
      : n(n), stride(n + gap), floats(rows * stride, kUnwritten) {}

  float* row(std::size_t k) { return &floats[k * stride]; }
  In in() const { return {floats.data(), static_cast<std::ptrdiff_t>(stride)}; }
  Out out() { return {floats.data(), static_cast<std::ptrdiff_t>(stride)}; }

  std::size_t n, stride;
  std::vector<float> floats;
};

/// Inputs of n states, some of their numbers non-finite or huge, for both wrenches of the feet.
struct Motion {
  explicit Motion(std::size_t n, bool with_oddities) : n(n) {
    std::mt19937 random(test::kSeed);
    const float odd[] = {NAN, INFINITY, -0.0f, 1e-41f, 3e7f, 2e5f};
    for (std::size_t k = 0; k < n; ++k) {
      const test::State s = test::random_state(random);
      for (std::size_t j = 0; j < 28; ++j) {
        q.row(k)[j] = static_cast<float>(s.q[j]);
        dq.row(k)[j] = static_cast<float>(s.dq[j]);
        ddq.row(k)[j] = static_cast<float>(s.ddq[j]);
      }
      for (std::size_t j = 0; j < 6; ++j) {  // moment first there, force first here
        left.row(k)[j] = static_cast<float>(s.fext[12][(j + 3) % 6]);
        right.row(k)[j] = static_cast<float>(s.fext[18][(j + 3) % 6]);
      }
      if (with_oddities && k % 3 == 0) {
        (k % 2 == 0 ? q : dq).row(k)[6 + k % 22] = odd[k / 3 % std::size(odd)];
      }
      // The root goes through a transform, as a host's does.
      const KT::Math::Transform pose = test::transform(s.q.head(6));
      std::memcpy(poses.row(k), pose.m, sizeof(pose.m));
    }
    inputs.nb_states = n;
    inputs.q = q.in();
    inputs.root_pose = poses.in();
    inputs.dq = dq.in();
    inputs.ddq = ddq.in();
    wrenches[0] = {12, left.in()};
    wrenches[1] = {18, right.in()};
    inputs.wrenches = wrenches;
    inputs.nb_wrenches = 2;
  }
  Motion(const Motion&) = delete;

  std::size_t n;
  Table q{n, 28}, dq{n, 28}, ddq{n, 28}, left{n, 6}, right{n, 6}, poses{n, 12};
  Wrench wrenches[2];
  Inputs inputs;
};

struct Results {
  explicit Results(std::size_t n, unsigned long partial_body)
      : tables{{n, 276}, {n, 276}, {n, 3},  {n, 3}, {n, 168},
               {n, 784}, {n, 406}, {n, 28}, {n, 3}, {n, 84}} {
    Out* const wanted[] = {&outputs.poses,
                           &outputs.poses_in_root,
                           &outputs.com,
                           &outputs.com_in_root,
                           &outputs.jacobian,
                           &outputs.mass_matrix,
                           &outputs.mass_matrix_packed,
                           &outputs.torques,
                           &outputs.partial_com_in_root,
                           &outputs.partial_com_jacobian};
    for (std::size_t k = 0; k < std::size(wanted); ++k) *wanted[k] = tables[k].out();
    outputs.partial_body = partial_body;
  }
  Results(const Results&) = delete;

  std::vector<Table> tables;
  Outputs outputs;
};

void expect_same(const float* got, const float* want, std::size_t n, const char* what) {
  for (std::size_t k = 0; k < n; ++k) {
    const bool same = std::memcmp(got + k, want + k, sizeof(float)) == 0 ||
                      (std::isnan(got[k]) && std::isnan(want[k]));
    ASSERT_TRUE(same) << what << " entry " << k << ": " << got[k] << " instead of " << want[k];
  }
}

/// Row by row what the plug-in's operations leave.
void expect_results_of_plugin(Motion& motion, Results& results) {
  const tavo::Plugin plugin(PLUGIN_PATH);
  const auto robot = plugin.create();
  std::vector<Table>& t = results.tables;
  Eigen::Matrix<float, 3, Eigen::Dynamic> J(3, 28);
  for (std::size_t k = 0; k < motion.n && !testing::Test::HasFatalFailure(); ++k) {
    SCOPED_TRACE(testing::Message() << "state " << k);
    const float *q = motion.q.row(k), *dq = motion.dq.row(k), *ddq = motion.ddq.row(k);
    KT::Math::Transform pose;
    std::memcpy(pose.m, motion.poses.row(k), sizeof(pose.m));
    robot->setRootPose(pose);
    robot->setRootVelocity({dq[0], dq[1], dq[2], dq[3], dq[4], dq[5]});
    robot->setRootAcceleration({ddq[0], ddq[1], ddq[2], ddq[3], ddq[4], ddq[5]});
    robot->setJointAnglesPos({q + 6, q + 28});
    robot->setJointAnglesVel({dq + 6, dq + 28});
    robot->setJointAnglesAcc({ddq + 6, ddq + 28});
    robot->setExternalWrench(12, {motion.left.row(k), motion.left.row(k) + 6});
    robot->setExternalWrench(18, {motion.right.row(k), motion.right.row(k) + 6});
    robot->computeFwdKinematics();
    robot->computeGeneralizedMass();
    robot->computePartialComJacobian(results.outputs.partial_body, J);
    robot->computeInverseDynamics();
    const auto partial = robot->computePartialComPositionInRoot(results.outputs.partial_body);
    for (unsigned long i = 0; i < 23; ++i) {
      expect_same(t[0].row(k) + 12 * i, robot->getPose(i).m, 12, "pose");
      expect_same(t[1].row(k) + 12 * i, robot->getPoseInRoot(i).m, 12, "pose in root");
    }
    const Eigen::MatrixXf& H = robot->getGeneralizedMass();
    expect_same(t[2].row(k), &robot->getComPosition().x, 3, "com");
    expect_same(t[3].row(k), &robot->getComPositionInRoot().x, 3, "com in root");
    expect_same(t[4].row(k), robot->getJacobianInRoot().data(), 168, "Jacobian");
    expect_same(t[5].row(k), H.data(), 784, "mass matrix");
    const float* packed = t[6].row(k);
    for (int i = 0; i < 28; packed += ++i) {
      const Eigen::VectorXf row = H.row(i).head(i + 1);
      expect_same(packed, row.data(), static_cast<std::size_t>(i) + 1, "packed mass matrix");
    }
    expect_same(t[7].row(k) + 6, robot->getJointAnglesTorque().first, 22, "torques");
    expect_same(t[8].row(k), &partial.x, 3, "partial com");
    expect_same(t[9].row(k), J.data(), 84, "partial Jacobian");
    for (Table& table : t) {
      for (std::size_t j = table.n; j < table.stride; ++j) EXPECT_EQ(table.row(k)[j], kUnwritten);
    }
  }
}

// Tails, and blocks of every instruction set.
TEST(Batch, HasThePluginsBits) {
  for (const std::size_t n : {1, 5, 16, 37, 1003}) {
    Motion motion(n, true);
    Results results(n, n % 22 + 1);
    Engine().evaluate(motion.inputs, results.outputs);
    expect_results_of_plugin(motion, results);
  }
}

// The root's generalized forces, which no operation hands out, against the oracle.
TEST(Batch, LeavesTheRootsWrench) {
  std::mt19937 random(test::kSeed);
  for (int k = 0; k < 20; ++k) {
    test::State s = test::random_state(random);
    for (oracle::Vector6& F : s.fext) F.setZero();
    const std::vector<float> q = test::floats(s.q), dq = test::floats(s.dq),
                             ddq = test::floats(s.ddq);
    std::vector<float> torques(28);
    Inputs in;
    in.nb_states = 1;
    in.q = {q.data(), 0};
    in.dq = {dq.data(), 0};
    in.ddq = {ddq.data(), 0};
    Outputs out;
    out.torques = {torques.data(), 0};
    Engine().evaluate(in, out);
    const oracle::Vector want =
        oracle::Configuration(test::robot_tree(), s.q).inverse_dynamics(s.dq, s.ddq, s.fext);
    const Eigen::Map<const Eigen::VectorXf> got(torques.data(), 28);
    EXPECT_LE(test::error(got.cast<double>(), want), 2e-5 * want.cwiseAbs().maxCoeff());
  }
}

TEST(Batch, DoesNotDependOnThreads) {
  constexpr std::size_t n = 2000;
  Motion motion(n, false);
  Results one(n, 4), many(n, 4);
  Engine(1).evaluate(motion.inputs, one.outputs);
  Engine engine(3);
  EXPECT_EQ(engine.threads(), 3u);
  for (int again = 0; again < 3; ++again) {
    engine.evaluate(motion.inputs, many.outputs);
    for (std::size_t k = 0; k < one.tables.size(); ++k) {
      ASSERT_EQ(std::memcmp(one.tables[k].floats.data(), many.tables[k].floats.data(),
                            one.tables[k].floats.size() * sizeof(float)),
                0)
          << "table " << k;
    }
  }
}

// A robot whose hand was given a tool: what setBodyInertia does, without touching the process.
TEST(Batch, TakesInertias) {
  const tavo::Plugin plugin(PLUGIN_PATH);
  const auto robot = plugin.create();
  std::vector<BodyInertia> inertias(23);
  for (unsigned long i = 0; i < 23; ++i) {
    const float m = 0.1f + 0.02f * static_cast<float>(i), x = 0.01f * static_cast<float>(i);
    inertias[i] = {m, {x, 0.02f, -x}, {3e-4f, 1e-5f, 2e-4f, -1e-5f, 2e-5f, 4e-4f}};
    Eigen::Matrix3f I;
    I << 3e-4f, 0, 0, 1e-5f, 2e-4f, 0, -1e-5f, 2e-5f, 4e-4f;
    robot->setBodyInertia(i, m, {x, 0.02f, -x}, I);
  }
  Motion motion(20, false);
  motion.inputs.inertias = inertias.data();
  Results results(20, 7);
  Engine().evaluate(motion.inputs, results.outputs);
  expect_results_of_plugin(motion, results);  // a new object sums the changed masses
}

TEST(Batch, RefusesWhatItCannotDo) {
  Motion motion(3, false);
  Results results(3, 23);
  Engine engine;
  EXPECT_THROW(engine.evaluate(motion.inputs, results.outputs), std::invalid_argument);
  results.outputs.partial_body = 0;  // whole body: there is no such operation in the root's frame
  EXPECT_THROW(engine.evaluate(motion.inputs, results.outputs), std::invalid_argument);
  results.outputs.partial_body = 3;
  motion.wrenches[1].body = 23;
  EXPECT_THROW(engine.evaluate(motion.inputs, results.outputs), std::invalid_argument);
  motion.wrenches[1].body = 18;
  motion.inputs.q = {};
  EXPECT_THROW(engine.evaluate(motion.inputs, results.outputs), std::invalid_argument);
  for (const Table& table : results.tables) EXPECT_EQ(table.floats[0], kUnwritten);
}

}  // namespace
