// What the plug-in asks of the heap.

#include <cmath>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>
#ifdef ORVEK23_HAVE_BATCH
#include <batch/batch.hpp>
#endif

#include "tests/heap_watch.hpp"
#include "tests/plugin_fixture.hpp"
#include "tests/robot.hpp"

namespace {

using test::Heap;

class Allocation : public PluginTest {
 protected:
  void SetUp() override {
#ifdef MALLOC_IS_TAKEN
    GTEST_SKIP() << "a sanitizer holds malloc";
#endif
  }

  // What `action` does to the heap; allocations number first..last fail.
  template <class Action>
  static Heap watch(const Action& action, long first = -1, long last = -1) {
    return test::watch_heap(action, first, last);
  }
};

TEST_F(Allocation, TheWatchSeesThePluginsMalloc) {
  tavo::Plugin::System made;
  const Heap seen = watch([&] { made = plugin.create(); });
  EXPECT_GE(seen.asked, 5) << "the object and its buffers";
  EXPECT_EQ(seen.live, seen.asked);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(made.get()) % 16, 0u);
  EXPECT_EQ(watch([&] { made.reset(); }).live, -seen.live) << "everything went back by free";
}

#ifdef ORVEK23_HAVE_BATCH
// A million states in calls of a thousand must not go through the heap a thousand times.
TEST_F(Allocation, ABatchNeedsNone) {
  std::vector<float> q(28 * 100), results(276 * 100);
  tavo::batch::Inputs in;
  in.nb_states = 100;
  in.q = {q.data(), 28};
  tavo::batch::Outputs out;
  out.poses = {results.data(), 276};
  out.torques = {results.data(), 28};
  tavo::batch::Engine engine;
  EXPECT_EQ(watch([&] { engine.evaluate(in, out); }).asked, 0);
}
#endif

// A control loop must not wait for the heap.
TEST_F(Allocation, SettersGettersAndAMillionComputationsNeedNone) {
  const std::vector<float> joints(22, 0.3f), wrench(6, 1.f);
  const KT::Math::Transform frame = test::transform(oracle::Vector::Constant(6, 0.5));
  const Eigen::Matrix3f inertia = Eigen::Matrix3f::Identity() * 1e-3f;
  Eigen::Matrix<float, 3, Eigen::Dynamic> J(3, 28);
  float sum = 0;
  const Heap setters = watch([&] {
    robot.setRootPose(frame);
    robot.setRootVelocity({1, 2, 3, 4, 5, 6});
    robot.setRootAcceleration({1, 2, 3, 4, 5, 6});
    robot.setJointAnglesPos(joints);
    robot.setJointAnglesVel(joints);
    robot.setJointAnglesAcc(joints);
    robot.setJointAnglePos(3, 1);
    robot.setJointAngleVel(3, 1);
    robot.setJointAngleAcc(3, 1);
    robot.setExternalWrench(3, wrench);
    robot.setExternalWrench(3, wrench, frame);
    robot.setPose(3, frame);
    robot.setVolatilePose(0, frame);
    robot.setBodyInertia(3, 0.1f, {0, 0, 0.01f}, inertia);
    tavo::partialComJacobian(robot, 3, J);
    sum += robot.getPose(3).m[0] + robot.getPoseInRoot(3).m[0] + robot.getRootPose().m[0] +
           robot.getVolatilePose(0).m[0] + robot.getComPosition().x + robot.getComPosition(3).x +
           robot.getComPositionInRoot().x + robot.getRootVelocity().vx +
           robot.getRootAcceleration().vx + robot.getMass() + robot.getMass(3) +
           robot.getPartialMass(3) + robot.getGeneralizedMass()(0, 0) +
           robot.getJacobianInRoot()(0, 0) + *robot.getJointAnglesPos().first +
           *robot.getJointAnglesVel().first + *robot.getJointAnglesAcc().first +
           *robot.getJointAnglesTorque().first + robot.getJointAngleTorque(3);
    for (unsigned long i = 0; i < 22; ++i) {
      sum += static_cast<float>(robot.getJointAngleId(robot.getJointAngleName(i)) +
                                robot.getBodyId(robot.getBodyName(i)));
    }
  });
  EXPECT_EQ(setters.asked, 0);
  const Heap computations = watch([&] {
#ifdef ORVEK23_EMULATED
    constexpr unsigned long cycles = 20'000;
#else
    constexpr unsigned long cycles = 1'000'000;
#endif
    for (unsigned long k = 0; k < cycles; ++k) {
      robot.setJointAnglePos(k % 22, static_cast<float>(k) * 1e-3f);
      robot.computeFwdKinematics();
      robot.computeGeneralizedMass();
      robot.computeInverseDynamics();
      robot.computePartialComJacobian(k % 23, J);
      sum += robot.computePartialComPositionInRoot(k % 23).x;
    }
  });
  EXPECT_EQ(computations.asked, 0);
  EXPECT_TRUE(std::isfinite(sum));
}

// The tables are new vectors each time; an error's message is made only when it is needed.
TEST_F(Allocation, TablesAndErrorsAreTheOnlyOtherCalls) {
  EXPECT_EQ(watch([&] { robot.getParentsVector(); }).asked, 1);
  EXPECT_EQ(watch([&] { robot.getDofNumbersVector(); }).asked, 1);
  EXPECT_EQ(watch([&] { robot.getDofIndexesVector(); }).asked, 1);
  EXPECT_EQ(watch([&] { robot.getName(); }).asked, 0);
  EXPECT_GT(watch([&] { message_of<std::out_of_range>([&] { robot.getBodyId(""); }); }).asked, 0);
}

// Every allocation of `create` fails in turn, alone and with all that follow it (then the exception
// itself finds no storage either).
TEST_F(Allocation, CreateLeaksNothingWhenStorageRunsOut) {
  const long needed = watch([&] { plugin.create(); }).asked;
  for (long k = 0; k < 2 * needed; ++k) {
    const long first = k / 2, last = k % 2 == 0 ? first : needed;
    std::string thrown;
    const Heap seen =
        watch([&] { thrown = message_of<std::bad_alloc>([&] { plugin.create(); }); }, first, last);
    EXPECT_EQ(thrown, "std::bad_alloc") << "allocation " << first;
    EXPECT_EQ(seen.live, 0) << "allocation " << first;
  }
  EXPECT_NE(plugin.create(), nullptr);
}

using Matrix3X = Eigen::Matrix<float, 3, Eigen::Dynamic>;
struct PartialJacobian {
  const char* name;
  void (*compute)(tavo::RigidBodySystem&, unsigned long, Matrix3X&);
};
void PrintTo(const PartialJacobian& way, std::ostream* out) {
  *out << way.name;
}
class AllocationOfJ : public Allocation, public testing::WithParamInterface<PartialJacobian> {};

// Storage that is freed before there is new one is freed twice; a matrix sized for an index that
// computes nothing holds whatever the heap held.
TEST_P(AllocationOfJ, KeepsWhatItHadWithoutStorageAndBeyondTheBodies) {
  robot.computeFwdKinematics();
  Matrix3X J(3, 5);
  J << 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15;
  const Eigen::Matrix<float, 3, 5> before = J;
  const float* const storage = J.data();
  const auto expect_kept = [&](const char* after) {
    EXPECT_EQ(J.data(), storage) << after;
    ASSERT_EQ(J.cols(), 5) << after;
    EXPECT_EQ(J, before) << after;
  };
  std::string thrown;
  const auto compute = [&] { GetParam().compute(robot, 3, J); };
  const Heap seen = watch([&] { thrown = message_of<std::bad_alloc>(compute); }, 0, 1000);
  EXPECT_EQ(thrown, "std::bad_alloc");
  EXPECT_EQ(seen.live, 0);
  expect_kept("no storage");
  for (const unsigned long i : {23ul, 24ul, -1ul}) {
    EXPECT_EQ(watch([&] { GetParam().compute(robot, i, J); }).asked, 0) << i;
    expect_kept("index beyond the bodies");
  }
  const Heap enough = watch(compute);
  EXPECT_EQ(enough.asked, 1);
  EXPECT_EQ(enough.live, 0) << "the old storage went back";
  EXPECT_EQ(J.cols(), 28);
}

INSTANTIATE_TEST_SUITE_P(Ways, AllocationOfJ,
                         testing::Values(PartialJacobian{"operation",
                                                         [](tavo::RigidBodySystem& robot,
                                                            unsigned long i, Matrix3X& J) {
                                                           robot.computePartialComJacobian(i, J);
                                                         }},
                                         PartialJacobian{"loader", tavo::partialComJacobian}),
                         [](const auto& way) { return way.param.name; });

}  // namespace
