// Balance and stance: laws on random states, closed forms, and the walk.

#include <Eigen/Geometry>

#include "tests/quantities/walk.hpp"

namespace {

using oracle::Vector3, oracle::Vector6;

constexpr auto kLeastMoment = tq::Sharing::least_ankle_torque;
constexpr auto kByDistance = tq::Sharing::by_distance;

class BalanceTest : public QuantitiesTest {
 protected:
  // States in which the motion presses on the ground with 20 N at least: else points of pressure
  // lie anywhere.
  template <class Check>
  void for_pressing_states(int count, const Check& check) {
    test::for_random_states(count, [&](const test::State& s) {
      const dense::Motion want(test::robot_tree(), s.q, s.dq, s.ddq);
      if ((want.R * want.forces().head<3>()).z() < 20) return;
      set(s);
      check(s, want);
    });
  }
  void set(const WalkSample& sample) {
    robot.setRootPose(sample.root);
    robot.setJointAnglesPos(sample.joints);
    robot.computeFwdKinematics();
    state.update(sample.dq, sample.ddq);
  }
  using QuantitiesTest::set;
};

// The textbook's p_x = -n_y / f_z, p_y = n_x / f_z on level ground, and on any plane what the words
// say: no moment along it.
TEST_F(BalanceTest, ZeroMomentPointOnAnyPlane) {
  Worst worst;
  const tq::Plane ground = tq::Plane::ground(), slope({0.1, 0.2, -0.3}, {0.2, -0.1, 2});
  for_pressing_states(1000, [&](const test::State& s, const dense::Motion& want) {
    const Vector6 n = want.world_wrench(want.forces(), Vector3::Zero());
    worst.see("zmp on the ground", *zero_moment_point(state),
              Vector3(-n[1] / n[5], n[0] / n[5], 0));
    for (const tq::Plane& plane : {ground, slope}) {
      const std::optional<Vector3> p = zero_moment_point(state, plane);
      if (!p) continue;
      const Vector3 moment = want.world_wrench(want.forces(), *p).head<3>();
      EXPECT_LE(moment.cross(plane.normal()).norm(), 1e-5 * (1 + n.norm()) * (1 + p->norm()));
      EXPECT_NEAR(plane.normal().dot(*p - plane.point()), 0, 1e-12 * (1 + p->norm()));
    }
    // What else pushes is taken off; what pushes is the oracle's own difference.
    const Vector6 pushed = want.world_wrench(want.forces(s.fext), Vector3::Zero());
    if (pushed[5] < 20) return;
    worst.see("zmp beside other wrenches", *zero_moment_point(state, ground, wrenches(s)),
              Vector3(-pushed[1] / pushed[5], pushed[0] / pushed[5], 0));
  });
  worst.expect_within(1e-5);
}

TEST_F(BalanceTest, NoPointOfPressureWithoutPressing) {
  robot.setRootAcceleration({0, 0, -9.9f, 0, 0, 0});  // falls faster than by itself
  robot.computeFwdKinematics();
  state.update();
  const tq::BodyWrenches none = tq::BodyWrenches::Zero();
  EXPECT_FALSE(zero_moment_point(state));
  EXPECT_FALSE(centre_of_pressure(state, sole(kLeftFoot), none));
  EXPECT_FALSE(centre_of_pressure(state, tq::Plane::ground(), none));
  tq::SupportPolygon polygon;
  EXPECT_EQ(polygon.margin({0, 0, 0}), -std::numeric_limits<double>::infinity());
}

// On its own sole: a force of 10 N at a chosen point of the sole, and no other, has its centre of
// pressure there, sheared and twisted as it may be.
TEST_F(BalanceTest, CentreOfPressureIsWhereTheForceActs) {
  const tq::Sole left = sole(kLeftFoot);
  test::for_random_states(50, [&](const test::State& s) {
    set(s);
    const Vector3 at(-0.045, 0.01, 0.03), force(10, 2, -3), twist(0.4, 0, 0);
    tq::BodyWrenches wrenches = tq::BodyWrenches::Zero();
    wrenches.col(kLeftFoot) << force, at.cross(force) + twist;
    const oracle::Pose foot = oracle::Configuration(test::robot_tree(), s.q).in_world[kLeftFoot];
    EXPECT_LE((*centre_of_pressure(state, left, wrenches) - foot * at).norm(), 2e-7);
    wrenches.col(kLeftFoot) *= -1;
    EXPECT_FALSE(centre_of_pressure(state, left, wrenches)) << "a foot that pulls";
  });
}

TEST_F(BalanceTest, MarginsInAndAroundPolygons) {
  robot.setRootPose(KT::Math::transformFromPosition6D({0, 0, 0.3329f, 0, 0, 0}));
  robot.computeFwdKinematics();  // soles on the ground, ankles at y = 0.05 and -0.05
  state.update();
  const auto margin = [this](std::vector<unsigned long> feet, double x, double y) {
    tq::SupportPolygon polygon;
    for (const unsigned long foot : feet) polygon.add(state, sole(foot));
    return polygon.margin({x, y, 0.7});
  };
  // Left sole: x from -0.035 to 0.075, y from 0.025 to 0.075; both together down to y = -0.075.
  const struct {
    std::vector<unsigned long> feet;
    double x, y, margin;
  } cases[] = {
      {{12}, 0, 0.05, 0.025},          {{12}, 0.07, 0.05, 0.005},  {{12}, 0, 0, -0.025},
      {{12}, 0.105, 0.115, -0.05},     {{12, 18}, 0, 0, 0.035},    {{18, 12}, 0.02, 0.07, 0.005},
      {{12, 18}, -0.045, 0.0, -0.010}, {{12, 12}, 0, 0.05, 0.025},
  };
  for (const auto& c : cases) EXPECT_NEAR(margin(c.feet, c.x, c.y), c.margin, 1e-6);

  tq::SupportPolygon polygon;
  for (int k = 0; k < 40; ++k) polygon.add(state, sole(k % 2 ? kLeftFoot : kRightFoot));
  EXPECT_EQ(polygon.size(), 4u) << "corners within the hull are dropped";
  const Vector3 first = polygon.corner(1) - polygon.corner(0);
  EXPECT_GT(first.cross(polygon.corner(2) - polygon.corner(1)).z(), 0) << "counterclockwise";
  std::vector<Vector3> circle;
  for (int k = 0; k < 60; ++k) circle.push_back({-0.045, std::cos(0.1 * k), std::sin(0.1 * k)});
  polygon.add(state, {kLeftFoot, circle});
  EXPECT_EQ(message_of<std::invalid_argument>([&] {
              polygon.add(state, {kRightFoot, circle});
            }),
            "support polygon would have more than 64 corners");
}

TEST_F(BalanceTest, PendulumOfTheCentreOfMass) {
  test::for_random_states(20, [&](test::State s) {
    s.q[2] = 1;
    set(s);
    const oracle::Configuration at(test::robot_tree(), s.q);
    const Vector3 v = at.momentum_jacobian() * s.dq / at.mass;
    const tq::Plane step = tq::Plane::ground(0.1);
    const double omega = std::sqrt(9.81 / (at.com_world.z() - 0.1));
    EXPECT_NEAR(natural_frequency(state, step), omega, 1e-6);
    const Vector3 x = at.com_world + v / omega;
    EXPECT_LE((divergent_component(state, omega) - x).norm(), 1e-5);
    EXPECT_LE((capture_point(state, step) - Vector3(x.x(), x.y(), 0.1)).norm(), 1e-5);
  });
  EXPECT_EQ(message_of<std::domain_error>([&] {
              capture_point(state, tq::Plane::ground(5));
            }).substr(0, 20),
            "centre of mass is -3");
  EXPECT_EQ(message_of<std::invalid_argument>([&] {
              natural_frequency(state, tq::Plane({0, 0, 0}, {1, 0, 0}));
            }),
            "plane is upright: nothing stands on it");
}

TEST_F(BalanceTest, WrongSolesAndPlanesAreNamed) {
  const auto fault = [](const auto& call) { return message_of<std::invalid_argument>(call); };
  const Vector3 a(0, 0, 0), b(0, 0, 1), c(0, 0, 2);
  EXPECT_EQ(fault([&] { tq::Sole(12, {a, b}); }), "sole of body 12 has 2 corners, 3 needed");
  EXPECT_EQ(fault([&] { tq::Sole(12, {a, b, c}); }), "sole of body 12 has all corners on one line");
  EXPECT_EQ(fault([&] { tq::Sole(23, {a, b, c}); }), "no body 23: there are 23");
  EXPECT_EQ(fault([&] { tq::Plane(a, a); }), "plane has no point or no normal");
}

// In stance the root needs nothing, the plug-in itself gives the torques once it has the feet's
// wrenches, and these press where the motion asks them to.
TEST_F(BalanceTest, StanceIsExactWithTheWrenchesThatItGives) {
  Worst worst;
  for_pressing_states(300, [&](test::State s, const dense::Motion& want) {
    s.fext.assign(23, Vector6::Zero());
    s.fext[6] << 0.1, 0.2, -0.3, 1, 2, -1;  // a load in the left hand
    test::set_state(robot, s);
    const tq::BodyWrenches load = wrenches(s);
    if (root_wrench(state, load).force.dot(want.R.row(2)) < 20) return;
    for (const tq::Stance& stance :
         {tq::stance(state, kLeftFoot, load), tq::stance(state, kRightFoot, load),
          tq::stance(state, kLeftFoot, kRightFoot, kLeastMoment, load),
          tq::stance(state, kLeftFoot, kRightFoot, kByDistance, load)}) {
      for (const unsigned long foot : {kLeftFoot, kRightFoot}) {
        const Eigen::Matrix<float, 6, 1> wrench = stance.feet.col(foot).cast<float>();
        robot.setExternalWrench(foot, {wrench.begin(), wrench.end()});
      }
      robot.computeInverseDynamics();
      worst.see("torques", stance.torques, test::torques(robot));
      const tq::Wrench rest = root_wrench(state, stance.feet + load);
      EXPECT_LE(rest.force.norm() + rest.moment.norm(), 1e-9);
      EXPECT_LE((*centre_of_pressure(state, tq::Plane::ground(), stance.feet) -
                 *zero_moment_point(state, tq::Plane::ground(), load))
                    .norm(),
                1e-7);
      EXPECT_GE(stance.share, 0);
      EXPECT_LE(stance.share, 1);
    }
  });
  worst.expect_within(1e-5);
}

// Any other share of the force costs more moment at the ankles; by distance, a pressure point
// midway halves the load, one beyond a foot leaves it all to that foot.
TEST_F(BalanceTest, SharingFollowsItsRule) {
  const std::vector<WalkSample> walk = read_walk();
  const auto squares = [](const tq::BodyWrenches& feet) {
    return feet.bottomRows<3>().squaredNorm();
  };
  for (std::size_t k = 50; k < walk.size(); k += 25) {
    set(walk[k]);
    const tq::Stance least = tq::stance(state, kLeftFoot, kRightFoot, kLeastMoment);
    const tq::Stance distance = tq::stance(state, kLeftFoot, kRightFoot, kByDistance);
    EXPECT_LE(squares(least.feet), squares(distance.feet) + 1e-12);
    EXPECT_LE(squares(least.feet), squares(tq::stance(state, kLeftFoot).feet) + 1e-12);
    const Vector3 left = state.pose(kLeftFoot).p, right = state.pose(kRightFoot).p;
    Vector3 line = left - right;
    line.z() = 0;
    const tq::Plane level({0, 0, right.z()}, {0, 0, 1});
    const double where = (*zero_moment_point(state, level) - right).dot(line) / line.squaredNorm();
    EXPECT_NEAR(distance.share, std::clamp(where, 0.0, 1.0), 1e-7);
  }
  EXPECT_EQ(message_of<std::invalid_argument>([&] { tq::stance(state, 12, 12, kByDistance); }),
            "both feet are body 12");
  EXPECT_EQ(message_of<std::domain_error>([&] { tq::stance(state, 11, 12, kByDistance); }),
            "bodies 11 and 12 stand above each other");
}

// The file's wrenches come from the whole robot's balance, apart from this code.
TEST_F(BalanceTest, WalkBalancesAsItsFileSays) {
  double zmp = 0, force = 0, moment = 0, file_torque = 0, own_torque = 0, least_margin = 1;
  tq::SupportPolygon polygon;
  for (const WalkSample& sample : read_walk()) {
    set(sample);
    const Vector3 point = *zero_moment_point(state);
    zmp = std::max(zmp,
                   (point - *centre_of_pressure(state, tq::Plane::ground(), sample.feet)).norm());
    const tq::Wrench rest = root_wrench(state, sample.feet);
    force = std::max(force, rest.force.norm());
    moment = std::max(moment, rest.moment.norm());
    polygon.clear();
    for (const unsigned long foot : {kLeftFoot, kRightFoot}) {
      if (sample.stands(foot)) polygon.add(state, sole(foot));
    }
    least_margin = std::min(least_margin, polygon.margin(point));
    if (sample.stands(kLeftFoot) == sample.stands(kRightFoot)) continue;
    const tq::Stance stance = tq::stance(state, sample.stands(kLeftFoot) ? kLeftFoot : kRightFoot);
    file_torque = std::max(
        file_torque, test::error(stance.torques, inverse_dynamics(state, sample.feet).tail<22>()));
    own_torque = std::max(
        own_torque, test::error(stance.torques, inverse_dynamics(state, stance.feet).tail<22>()));
  }
  std::printf(
      "walk: zmp off by %.1e m, root %.1e N %.1e N m, torques in stance off by %.1e N m "
      "(file), %.1e N m (own), least margin %.4f m\n",
      zmp, force, moment, file_torque, own_torque, least_margin);
  EXPECT_LE(zmp, 1e-4);
  EXPECT_LE(force, 0.02);
  EXPECT_LE(moment, 0.005);
  EXPECT_LE(file_torque, 0.005);
  EXPECT_LE(own_torque, 1e-5);
  EXPECT_GT(least_margin, 0.005) << "the walk is balanced throughout";
}

}  // namespace
