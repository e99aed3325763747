// The checked twin: what it refuses, what it reports, and that it says nothing of a host that does
// everything right. That its bits are the plug-in's: same_bits_test.cpp.

#include <cstdlib>
#include <functional>
#include <limits>
#include <optional>

#include "tests/plugin_fixture.hpp"

namespace {

using Matrix3X = Eigen::Matrix<float, 3, Eigen::Dynamic>;
constexpr unsigned long kWorld = -1ul;
const KT::Math::Transform kPose = KT::Math::transformFromPosition6D({0, 0, 0.3f, 0, 0.1f, 0});
const std::vector<float> kJoints(22, 0.25f), kWrench(6, 1.f);

class Checked : public testing::Test {
 protected:
  void TearDown() override { unsetenv("ORVEK23_CHECK"); }

  std::optional<tavo::Plugin> plugin{CHECKED_PLUGIN_PATH};
  Matrix3X J{3, 28};
};

struct IndexCase {
  const char* name;
  const char* range;
  unsigned long first_wrong;
  std::function<void(tavo::RigidBodySystem&, unsigned long)> call;
};

// One row for each operation whose index the plug-in leaves unchecked: an operation forgotten, or a
// limit one too far, lets a host read what lies behind.
TEST_F(Checked, RefusesEveryIndexOutOfRangeByName) {
  using R = tavo::RigidBodySystem;
  using I = unsigned long;
  const char *const joint = "joint-angle index # is not in 0 to 21",
                    *const body = "body index # is not in 0 to 22",
                    *const slot = "body index # is not in 0 to 23",
                    *const pose = "body index # is not in 0 to 23, nor -1, the world",
                    *const frame = "volatile-frame index # is not in 0 to 0";
  const IndexCase cases[] = {
      {"getJointAngleName", joint, 22, [](R& r, I i) { r.getJointAngleName(i); }},
      {"setJointAnglePos", joint, 22, [](R& r, I i) { r.setJointAnglePos(i, 0); }},
      {"setJointAngleVel", joint, 22, [](R& r, I i) { r.setJointAngleVel(i, 0); }},
      {"setJointAngleAcc", joint, 22, [](R& r, I i) { r.setJointAngleAcc(i, 0); }},
      {"getJointAnglePos", joint, 22, [](R& r, I i) { r.getJointAnglePos(i); }},
      {"getJointAngleVel", joint, 22, [](R& r, I i) { r.getJointAngleVel(i); }},
      {"getJointAngleAcc", joint, 22, [](R& r, I i) { r.getJointAngleAcc(i); }},
      {"getJointAngleTorque", joint, 22, [](R& r, I i) { r.getJointAngleTorque(i); }},
      {"getBodyName", body, 23, [](R& r, I i) { r.getBodyName(i); }},
      {"getMass", body, 23, [](R& r, I i) { r.getMass(i); }},
      {"setBodyInertia", body, 23,
       [](R& r, I i) { r.setBodyInertia(i, 1, {}, Eigen::Matrix3f::Identity()); }},
      {"setExternalWrench", body, 23, [](R& r, I i) { r.setExternalWrench(i, kWrench); }},
      {"setExternalWrench", body, 23, [](R& r, I i) { r.setExternalWrench(i, kWrench, kPose); }},
      {"getPoseInRoot", body, 23, [](R& r, I i) { r.getPoseInRoot(i); }},
      {"getComPosition", body, 23, [](R& r, I i) { r.getComPosition(i); }},
      {"setPose", slot, 24, [](R& r, I i) { r.setPose(i, kPose); }},
      {"getPose", pose, 24, [](R& r, I i) { r.getPose(i); }},
      {"getVolatilePose", frame, 1, [](R& r, I i) { r.getVolatilePose(i); }},
      {"setVolatilePose", frame, 1, [](R& r, I i) { r.setVolatilePose(i, kPose); }},
  };
  for (const IndexCase& c : cases) {
    const tavo::Plugin::System robot = plugin->create();
    for (const unsigned long i : {c.first_wrong, 1000ul, 1ul << 32, kWorld - 1, kWorld}) {
      std::string want = std::string(c.name) + ": " + c.range;
      want.replace(want.find('#'), 1, std::to_string(i));
      if (i == kWorld && c.range == pose) want = "no exception";
      EXPECT_EQ(message_of<std::out_of_range>([&] { c.call(*robot, i); }), want);
    }
    EXPECT_NO_THROW(c.call(*robot, c.first_wrong - 1)) << c.name;
  }
  // Those that take any index.
  const tavo::Plugin::System robot = plugin->create();
  EXPECT_NO_THROW(robot->computePartialComJacobian(kWorld, J));
  EXPECT_NO_THROW(robot->computePartialComPositionInRoot(kWorld));
  EXPECT_NO_THROW(robot->getPartialMass(kWorld));
}

void set_everything(tavo::RigidBodySystem& r) {
  r.setRootPose(kPose);
  r.setRootVelocity({1, 0, 0, 0, 0, 0});
  r.setRootAcceleration({1, 0, 0, 0, 0, 0});
  r.setJointAnglesPos(kJoints);
  r.setJointAnglesVel(kJoints);
  r.setJointAnglesAcc(kJoints);
}
void compute_everything(tavo::RigidBodySystem& r) {
  r.computeFwdKinematics();
  r.computeGeneralizedMass();
  r.computeInverseDynamics();
}

struct ReportCase {
  const char* what;
  const char* want;  ///< lines without the prefix
  std::function<void(tavo::RigidBodySystem&)> use;
};

// A report that is missing hides the host's fault; one too many makes people switch reports off.
TEST_F(Checked, ReportsEachFindingOnceAndNothingElse) {
  using R = tavo::RigidBodySystem;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const auto good_cycles = [](R& r) {
    for (int k = 0; k < 3; ++k) {
      set_everything(r);
      compute_everything(r);
      r.getPose(5), r.getPose(23), r.getPose(-1ul), r.getRootPose(), r.getComPosition();
      r.getComPosition(4), r.getPoseInRoot(3), r.getComPositionInRoot(), r.getJacobianInRoot();
      r.getGeneralizedMass(), r.getJointAngleTorque(3), r.getJointAnglesTorque();
      r.computePartialComPositionInRoot(2), r.computePartialComPositionInRoot(0);
      Matrix3X partial(3, 28);
      r.computePartialComJacobian(4, partial);
    }
  };
  const ReportCase cases[] = {
      {"a host that does everything right, references taken first", "",
       [&](R& r) {
         r.getJointAnglesTorque(), r.getComPosition(), r.getPose(3);
         good_cycles(r);
       }},
      {"only the root has moved", "",
       [&](R& r) {
         good_cycles(r);
         r.setRootPose(kPose);
         r.getRootPose(), r.getPose(0), r.getPoseInRoot(3), r.getComPositionInRoot();
         r.computeFwdKinematicsOnlyRoot();
         r.getPose(3), r.getComPosition();
       }},
      {"poses of the host's own", "",
       [&](R& r) {
         good_cycles(r);
         r.setJointAnglesPos(kJoints);
         r.setPose(3, kPose);
         r.getPose(3), r.getComPosition(3);
       }},
      {"stale, twice",
       "getPose: world pose was not computed since setRootPose\n"
       "getJointAngleTorque: joint torque was not computed since setRootPose\n",
       [&](R& r) {
         good_cycles(r);
         r.setRootPose(kPose);
         for (int k = 0; k < 2; ++k) r.getPose(3), r.getJointAngleTorque(0);
       }},
      {"what was computed from stale results is stale",
       "computeFwdKinematicsOnlyRoot: pose in the root was not computed since setJointAnglePos\n"
       "computeFwdKinematicsOnlyRoot: centre of mass in the root was not computed since "
       "setJointAnglePos\n"
       "computeGeneralizedMass: joint transform was not computed since setJointAnglePos\n"
       "getPose: world pose was not computed since setJointAnglePos\n"
       "getGeneralizedMass: mass matrix was not computed since setJointAnglePos\n",
       [&](R& r) {
         good_cycles(r);
         r.setJointAnglePos(3, 1);
         r.computeFwdKinematicsOnlyRoot();
         r.computeGeneralizedMass();
         r.getPose(3), r.getGeneralizedMass();
         r.computeFwdKinematics(), r.computeGeneralizedMass();
         r.getPose(3), r.getGeneralizedMass();
       }},
      {"another system's change of an inertia",
       "getComPosition: centre of mass was not computed since setBodyInertia\n",
       [&](R& r) {
         good_cycles(r);
         plugin->create()->setBodyInertia(3, 1, {}, Eigen::Matrix3f::Identity());
         r.getPose(3), r.getComPosition();
       }},
      {"never set",
       "computeFwdKinematicsExceptRoot: joint position was never set for 21 joints, the first is "
       "0; "
       "zero is taken\n"
       "computeFwdKinematicsOnlyRoot: root pose was never set, zero is taken\n",
       [](R& r) {
         r.setJointAnglePos(9, 0.5f);
         r.computeFwdKinematics();
       }},
      {"never computed", "computeGeneralizedMass: joint transform was never computed\n",
       [](R& r) { r.computeGeneralizedMass(); }},
      {"not a number",
       "setJointAngleVel: joint velocity 4 turned nan\n"
       "computeInverseDynamics: joint torque 2 turned nan\n"
       "setExternalWrench: wrench on body 7 turned inf\n"
       "setBodyInertia: inertia of body 5 turned nan\n",
       [&](R& r) {
         set_everything(r);
         r.setJointAngleVel(4, nan);
         r.computeInverseDynamics();
         r.computeInverseDynamics();
         r.setExternalWrench(7, {1, 2, 3, 4, 5, std::numeric_limits<float>::infinity()});
         r.setBodyInertia(5, nan, {}, Eigen::Matrix3f::Identity());
       }},
      {"a body without mass",
       "computeFwdKinematicsExceptRoot: centre of mass in the root turned nan\n"
       "computeFwdKinematicsOnlyRoot: centre of mass turned nan\n"
       "getComPosition: centre of mass turned nan\n",
       [&](R& r) {
         set_everything(r);
         r.setBodyInertia(3, 0, {}, Eigen::Matrix3f::Identity());
         compute_everything(r);
         r.getComPosition(3);
       }},
  };
  setenv("ORVEK23_CHECK", "report", 1);
  for (const ReportCase& c : cases) {
    // Loaded anew: inertias are the process's.
    plugin.reset();
    plugin.emplace(CHECKED_PLUGIN_PATH);
    testing::internal::CaptureStderr();
    c.use(*plugin->create());
    std::string got = testing::internal::GetCapturedStderr();
    for (std::size_t at; (at = got.find("orvek23-checked: system ")) != std::string::npos;) {
      got.erase(at, got.find(": ", at + 17) + 2 - at);
    }
    EXPECT_EQ(got, c.want) << c.what;
  }
}

// Reports must be asked for, and a slip of the pen must not look like a clean host.
TEST_F(Checked, ReportsOnlyWhenAskedForAndSaysSoOtherwise) {
  const auto printed = [&](const char* value) {
    setenv("ORVEK23_CHECK", value, 1);
    testing::internal::CaptureStderr();
    plugin->create()->computeGeneralizedMass();
    return testing::internal::GetCapturedStderr();
  };
  EXPECT_EQ(printed(""), "");
  EXPECT_EQ(printed("reprot"),
            "orvek23-checked: ORVEK23_CHECK is \"reprot\"; only \"report\" means anything\n");
  EXPECT_NE(printed("report").find("system 1: computeGeneralizedMass"), std::string::npos);
}

}  // namespace
