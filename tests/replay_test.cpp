#include <array>
#include <cmath>
#include <filesystem>
#include <iomanip>
#include <ktmath/ktmath.hpp>
#include <map>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include "motion/motion_file.hpp"
#include "motion/rates.hpp"
#include "tests/replay_fixture.hpp"

namespace {

using Eigen::Vector3d, Eigen::VectorXd;

VectorXd not_given(Eigen::Index coordinates) {
  return VectorXd::Constant(coordinates, std::nan(""));
}

// At rest at the origin; no rate is given.
tavo::motion::Sample still(double time, Eigen::Index joints) {
  return {0,
          time,
          Vector3d::Zero(),
          Eigen::Matrix3d::Identity(),
          VectorXd::Zero(joints),
          {},
          not_given(6 + joints),
          not_given(6 + joints)};
}

std::vector<tavo::motion::State> states_of(const std::vector<tavo::motion::Sample>& samples) {
  std::size_t next = 0;
  tavo::motion::StateStream stream([&]() -> std::optional<tavo::motion::Sample> {
    return next < samples.size() ? std::optional(samples[next++]) : std::nullopt;
  });
  std::vector<tavo::motion::State> states;
  while (auto state = stream.next()) states.push_back(*state);
  return states;
}

// A screw motion of the root and one joint with constant acceleration, at uneven times. Both ends
// are one-sided: there the slopes of a parabola are exact.
TEST(Rates, AreDifferencesOverUnevenSteps) {
  const std::vector<double> t = {0, 0.002, 0.003, 0.007, 0.008, 0.012, 0.013};
  const Vector3d u_world(0.3, -0.2, 0.1), w(0.5, -1, 2);
  const Eigen::Matrix3d R0(Eigen::AngleAxisd(2.9, Vector3d(1, 2, 3).normalized()));
  std::vector<tavo::motion::Sample> samples;
  for (const double time : t) {
    tavo::motion::Sample sample = still(time, 1);
    sample.p_world = u_world * time;
    sample.R_world = R0 * Eigen::AngleAxisd(w.norm() * time, w.normalized());
    sample.q(0) = 2 * time * time;
    samples.push_back(sample);
  }
  const std::vector<tavo::motion::State> states = states_of(samples);
  ASSERT_EQ(states.size(), t.size());

  const std::size_t last = t.size() - 1;
  for (std::size_t i = 0; i <= last; ++i) {
    SCOPED_TRACE(i);
    const VectorXd& v = states[i].velocity;
    const VectorXd& a = states[i].acceleration;
    const Vector3d v_root = samples[i].R_world.transpose() * u_world;
    EXPECT_LT((v.head<3>() - v_root).norm(), 1e-12);
    EXPECT_LT((v.segment<3>(3) - w).norm(), 1e-12);
    EXPECT_LT((a.head<3>() + w.cross(v_root)).norm(), 0.01);  // of the components, seen from inside
    EXPECT_LT(a.segment<3>(3).norm(), 1e-9);
    const bool end = i == 0 || i == last;
    EXPECT_NEAR(v(6), end ? 4 * t[i] : 2 * (t[i + 1] + t[i - 1]), 1e-12);
    if (i < 2 || i + 2 > last) continue;
    const VectorXd change = states[i + 1].velocity - states[i - 1].velocity;
    EXPECT_LT((a - change / (t[i + 1] - t[i - 1])).norm(), 1e-12);
  }
}

// A swinging joint, cut out at speed: half the step must leave a quarter of the error, in the first
// samples and the last as between them.
TEST(Rates, AreOfSecondOrderAtTheEndsToo) {
  const auto largest_errors = [](double h, bool ends) {
    std::vector<tavo::motion::Sample> samples;
    for (int i = 0; i <= 20; ++i) {
      samples.push_back(still(1 + h * i, 1));
      samples.back().q(0) = std::sin(samples.back().time);
    }
    const std::vector<tavo::motion::State> states = states_of(samples);
    std::pair<double, double> errors;
    for (const std::size_t i :
         ends ? std::vector<std::size_t>{0, 1, 19, 20} : std::vector<std::size_t>{2, 10, 18}) {
      const double t = samples[i].time;
      errors.first = std::max(errors.first, std::abs(states[i].velocity(6) - std::cos(t)));
      errors.second = std::max(errors.second, std::abs(states[i].acceleration(6) + std::sin(t)));
    }
    return errors;
  };
  for (const bool ends : {false, true}) {
    const auto coarse = largest_errors(0.01, ends), fine = largest_errors(0.005, ends);
    EXPECT_NEAR(coarse.first / fine.first, 4, 0.3) << ends;
    EXPECT_NEAR(coarse.second / fine.second, 4, 0.3) << ends;
  }
}

// Two joints at rest by their angles: one is said to move, the other to accelerate.
TEST(Rates, GivenOnesStandAndVelocitiesAreDifferentiated) {
  std::vector<tavo::motion::Sample> samples;
  for (const double time : {0.0, 0.1, 0.3, 0.4}) {
    tavo::motion::Sample sample = still(time, 2);
    sample.velocity(6) = 1 + 5 * time;
    sample.acceleration(7) = 3;
    samples.push_back(sample);
  }
  const std::vector<tavo::motion::State> states = states_of(samples);
  ASSERT_EQ(states.size(), 4U);
  for (std::size_t i = 0; i < 4; ++i) {
    VectorXd velocity = VectorXd::Zero(8), acceleration = VectorXd::Zero(8);
    velocity(6) = samples[i].velocity(6);
    acceleration.tail<2>() << 5, 3;
    EXPECT_LT((states[i].velocity - velocity).norm(), 1e-12) << i;
    EXPECT_LT((states[i].acceleration - acceleration).norm(), 1e-12) << i;
  }
}

// A pose must be read as the host platform defines its angles, and a wrench go to its own body.
TEST_F(Replay, ColumnsReachTheirPlace) {
  write("motion.csv",
        "B.nz,yaw,j,x,B.fx,pitch,B.fy,y,B.fz,roll,B.nx,z,B.ny,time,dd.j,"
        "d.wz,d.wy,d.wx,d.vz,d.vy,d.vx\n"
        "6,0.3,7,10,1,0.2,2,20,3,0.1,4,30,5,-1,8,6,5,4,3,2,1\n");
  tavo::motion::MotionFile motion((folder_ / "motion.csv").string(), {{"j"}, {"A", "B", "C"}});
  EXPECT_EQ(motion.wrench_bodies(), std::vector<unsigned long>{1});
  const auto sample = motion.next();
  ASSERT_TRUE(sample);
  EXPECT_EQ(sample->time, -1);
  EXPECT_EQ(sample->p_world, Vector3d(10, 20, 30));
  EXPECT_EQ(sample->q, VectorXd::Constant(1, 7));
  EXPECT_EQ(sample->wrenches, VectorXd::LinSpaced(6, 1, 6));
  EXPECT_EQ(sample->velocity.head<6>(), sample->wrenches);
  EXPECT_TRUE(std::isnan(sample->velocity(6)));
  EXPECT_EQ(sample->acceleration(6), 8);
  EXPECT_TRUE(sample->acceleration.head<6>().array().isNaN().all());
  const auto pose = KT::Math::transformFromPosition6D({0, 0, 0, 0.1f, 0.2f, 0.3f});
  for (int i = 0; i < 9; ++i) {
    EXPECT_NEAR(sample->R_world(i / 3, i % 3), pose.m[4 * (i / 3) + i % 3], 1e-6) << i;
  }
  EXPECT_FALSE(motion.next());
}

// (0.6, 0, 0, 0.8): a turn about z by 106 degrees, cosine 0.36 - 0.64. Its length may be off by
// rounding, and its negative is the same turn.
TEST_F(Replay, QuaternionTurnsTheRootIntoTheWorld) {
  Eigen::Matrix3d want;
  want << -0.28, -0.96, 0, 0.96, -0.28, 0, 0, 0, 1;
  for (const std::string row : {"0,0.8,0.6,0", "0,0.8008,0.6006,0", "0,-0.8,-0.6,0"}) {
    write("motion.csv", "time,qx,qz,qw,qy,x,y,z,j\n0," + row + ",0,0,0,0\n");
    tavo::motion::MotionFile motion((folder_ / "motion.csv").string(), {{"j"}, {"A"}});
    EXPECT_LT((motion.next()->R_world - want).norm(), 1e-12) << row;
  }
}

// Rates of the walk, written into the file of a single sample, must act as they did in the walk:
// there nothing could be formed.
TEST_F(Replay, GivenRatesActAsFormedOnes) {
  constexpr std::size_t at = 150;
  const Table whole = results(text(first_rows(2 * at)), "--signals torque");
  const tavo::motion::RobotNames names{{walk()[0].begin() + 7, walk()[0].begin() + 29},
                                       {"LAnkleRoll", "RAnkleRoll"}};
  tavo::motion::MotionFile motion((folder_ / "motion.csv").string(), names);
  tavo::motion::StateStream stream([&motion] { return motion.next(); });
  for (std::size_t i = 0; i < at; ++i) stream.next();
  const tavo::motion::State state = *stream.next();

  Table single = {walk()[0], walk()[1 + at]};
  const std::vector<std::string> coordinates = names.coordinates();
  for (std::size_t i = 0; i < coordinates.size(); ++i) {
    for (const auto& [prefix, rate] :
         {std::pair("d.", state.velocity(i)), std::pair("dd.", state.acceleration(i))}) {
      single[0].push_back(prefix + coordinates[i]);
      std::ostringstream digits;
      digits << std::setprecision(17) << rate;
      single[1].push_back(digits.str());
    }
  }
  EXPECT_EQ(results(text(single), "--signals torque")[1], whole[1 + at]);
}

TEST_F(Replay, WalkIsBalancedByItsWrenches) {
  const Table with = results(text(walk()), "--signals com,pose,torque,mass-matrix");
  ASSERT_EQ(with.size(), walk().size());
  const auto either = [&with](const std::string& joint) {
    return std::max(largest(with, "torque.L" + joint), largest(with, "torque.R" + joint));
  };
  EXPECT_NEAR(either("HipRoll"), 2.64, 0.005);
  EXPECT_NEAR(either("KneePitch"), 1.58, 0.005);
  EXPECT_NEAR(either("AnklePitch"), 1.46, 0.005);
  EXPECT_LT(largest(with, "torque.HeadPitch"), 0.03);
  EXPECT_NEAR(std::stod(with[1][column(with, "LAnkleRoll.z")]), 0.045, 1e-6);
  EXPECT_NEAR(largest(with, "H.vx.vx"), 47.95 / 9.81, 1e-3);
  EXPECT_GT(largest(with, "H.joint_condition"), 1e3);
  const std::string summary =
      "samples         801 over 8.00 s\n"
      "root            0.420 m from start to end, 0.821 m along its path (horizontal)\n"
      "centre of mass  x 0.012 to 0.434, y -0.036 to 0.037, z 0.257 to 0.267 m\n"
      "foot clearance  0.024 m at most, RAnkleRoll at 4.06 s\n"
      "largest torque  2.64 N m, LHipRoll at 1.42 s\n"
      "                then RHipRoll 2.58, RKneePitch 1.58, LKneePitch 1.56, LAnklePitch 1.46, "
      "RAnklePitch 1.43\n";
  EXPECT_NE(read("out").find(summary), std::string::npos) << read("out");

  Table bare = walk();
  for (auto& row : bare) row.resize(29);
  EXPECT_LT(largest(results(text(bare)), "torque.LHipRoll"), 0.5);
}

// A full turn leads every quaternion from q to -q: on the way no component may jump.
TEST_F(Replay, QuaternionsAreContinuous) {
  Table turn = first_rows(40);
  for (std::size_t i = 1; i < turn.size(); ++i) {
    turn[i][column(turn, "yaw")] = std::to_string(0.2 * static_cast<double>(i));
  }
  const Table got = results(text(turn));
  for (const std::string body : {"LAnkleRoll", "LElbowRoll", "HeadPitch"}) {
    for (std::size_t c = column(got, body + ".qw"), i = 2; i < got.size(); ++i) {
      for (std::size_t k = c; k < c + 4; ++k) {
        EXPECT_NEAR(std::stod(got[i][k]), std::stod(got[i - 1][k]), 0.11) << body << " row " << i;
      }
    }
  }
}

TEST_F(Replay, ResultsDoNotDependOnHowTheFileIsWritten) {
  const Table rows = first_rows(40);
  results(text(rows));
  const std::string want = read("results.csv");
  std::vector<std::size_t> order(rows[0].size());
  for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::shuffle(order.begin(), order.end(), std::mt19937(1));  // NOLINT: the same order every time
  std::string shuffled = "\xEF\xBB\xBF";
  for (const auto& row : rows) {
    for (const std::size_t c : order) {
      shuffled += (c == order[0] ? "" : c % 2 ? " , " : ",") + row[c];
    }
    shuffled += "\r\n" + std::string(&row == &rows[7] ? "\r\n" : "");
  }
  results(shuffled);
  EXPECT_EQ(read("results.csv"), want);
  results(text(rows).substr(0, text(rows).size() - 1));  // no end of line at the end
  EXPECT_EQ(read("results.csv"), want);
}

// The same physics must give the same torques, in the first and the last sample as between them: a
// stiff robot that glides stands still as seen from itself, one that turns about the vertical, on a
// circle or on the spot, is the same in every sample.
TEST_F(Replay, MotionsThatStartAndEndAtSpeed) {
  const auto moved = [](double rate, auto&& place) {
    Table rows = first_rows(0);
    for (auto& row : rows) row.resize(29);
    for (int i = 0; i <= 20; ++i) {
      rows.push_back(walk()[1]);
      rows.back().resize(29);
      const double t = i / rate;
      const auto [x, y, yaw] = std::array<double, 3>(place(t));
      for (const auto& [name, value] :
           {std::pair("time", t), std::pair("x", x), std::pair("y", y), std::pair("yaw", yaw)}) {
        std::ostringstream digits;
        digits << std::fixed << std::setprecision(9) << value;
        rows.back()[column(rows, name)] = digits.str();
      }
    }
    return text(rows);
  };
  const auto torques = [this](const std::string& motion) {
    std::vector<VectorXd> all;
    const Table got = results(motion, "--signals torque");
    for (std::size_t i = 1; i < got.size(); ++i) {
      all.emplace_back(got[i].size() - 1);
      for (std::size_t c = 1; c < got[i].size(); ++c) all.back()(c - 1) = std::stod(got[i][c]);
    }
    return all;
  };
  using Place = std::array<double, 3>;
  for (const double rate : {100.0, 200.0, 1000.0}) {
    const VectorXd standing = torques(moved(rate, [](double) { return Place{}; }))[0];
    for (const VectorXd& gliding : torques(moved(rate, [](double t) { return Place{t, 0, 0}; }))) {
      EXPECT_LT((gliding - standing).cwiseAbs().maxCoeff(), 1e-3) << rate;
    }
    for (const double radius : {0.0, 0.5}) {
      const auto turning = torques(moved(rate, [radius](double t) {
        return Place{radius * std::sin(2 * t), radius * (1 - std::cos(2 * t)), 2 * t};
      }));
      for (std::size_t i = 0; i < turning.size(); ++i) {
        EXPECT_LT((turning[i] - turning[10]).cwiseAbs().maxCoeff(), 1e-3) << rate << " " << i;
      }
    }
  }
}

// A sample long after the others is no ground for speeds that grow all the way there.
TEST(Rates, AreNotDrawnOutOverAGap) {
  std::vector<tavo::motion::Sample> samples;
  for (const double time : {0.0, 0.01, 0.02, 0.03, 0.04, 0.05, 3.0}) {
    samples.push_back(still(time, 1));
    samples.back().q(0) = 0.1 * std::sin(20 * time);
  }
  const std::vector<tavo::motion::State> states = states_of(samples);
  for (const std::size_t i : {5, 6}) {
    EXPECT_LE(std::abs(states[i].velocity(6)), 2) << i;
    EXPECT_LE(std::abs(states[i].acceleration(6)), 2) << i;
  }
}

// Too short for parabolas: two samples make a straight line, one is at rest.
TEST(Rates, OfShortMotions) {
  const auto swung = [](std::initializer_list<double> angles) {
    std::vector<tavo::motion::Sample> samples;
    for (const double angle : angles) {
      samples.push_back(still(0.5 * static_cast<double>(samples.size()), 1));
      samples.back().q(0) = angle;
    }
    return states_of(samples);
  };
  const auto expect = [](const std::vector<tavo::motion::State>& states,
                         const std::vector<double>& dq, double ddq) {
    ASSERT_EQ(states.size(), dq.size());
    for (std::size_t i = 0; i < dq.size(); ++i) {
      EXPECT_NEAR(states[i].velocity(6), dq[i], 1e-12) << i;
      EXPECT_NEAR(states[i].acceleration(6), ddq, 1e-12) << i;
    }
  };
  expect(swung({1}), {0}, 0);
  expect(swung({0, 1}), {2, 2}, 0);
  expect(swung({0, 1, 4}), {0, 4, 8}, 8);
  expect(swung({0, 1, 4, 9}), {0, 4, 8, 12}, 8);
  expect(swung({0, 1, 4, 9, 16}), {0, 4, 8, 12, 16}, 8);
}

// Each row changes one thing of a good file; the message must lead to it.
TEST_F(Replay, BadInputIsNamedAndLeavesNoResults) {
  const std::string good = text(first_rows(4));
  const auto changed = [&good](std::size_t line, std::size_t at, const std::string& to) {
    Table rows = table(good);
    rows[line - 1][at - 1] = to;
    return text(rows);
  };
  const auto resized = [&good](std::size_t line, std::size_t fields) {
    Table rows = table(good);
    rows[line - 1].resize(fields, "0");
    return text(rows);
  };
  // More columns, or other ones for the root's angles, without wrenches.
  const auto bare = [](const std::string& columns) {
    Table rows = first_rows(0);
    rows[0].resize(29);
    return text({rows[0]}).substr(0, text({rows[0]}).size() - 1) + "," + columns + "\n";
  };
  const auto quaternion = [](const std::string& columns, const std::string& values) {
    Table rows = first_rows(1);
    for (auto& row : rows) {
      row.resize(29);
      row.erase(row.begin() + 4, row.begin() + 7);
    }
    for (const auto& [line, cells] : {std::pair(0, columns), std::pair(1, values)}) {
      if (!cells.empty()) rows[line].insert(rows[line].begin() + 4, cells);
    }
    return text(rows);
  };
  const std::map<std::string, std::string> cases = {
      {changed(1, 17, "LKneePich"),
       "line 1, column 17: unknown column \"LKneePich\", did you mean \"LKneePitch\"?"},
      {changed(1, 1, "Zeitpunkt"),
       "line 1, column 1: unknown column \"Zeitpunkt\"; --ignore-unknown passes over further "
       "columns"},
      {changed(1, 9, "HeadYaw"), "line 1, column 9: \"HeadYaw\" is column 8 already"},
      {changed(1, 17, "d.LKneePich"),
       "line 1, column 17: unknown column \"d.LKneePich\", did you mean \"d.LKneePitch\"?"},
      {changed(1, 36, "d.x"),
       "line 1, column 36: \"d.x\" is no column: the root's rates are in its own frame, d.vx .. "
       "d.wz "
       "and dd.vx .. dd.wz"},
      {bare("d.vx,d.vy,d.wx,d.wy,d.wz"),
       "line 1: column \"d.vz\" is missing: the root's rates have all six columns or none"},
      {bare("qw,qx,qy,qz"),
       "line 1, column 5: \"roll\" beside a quaternion: the root's orientation is either roll, "
       "pitch, yaw or qw, qx, qy, qz"},
      {quaternion("qx,qw,qz", "0,1,0"),
       "line 1: column \"qy\" is missing: a quaternion has all four columns"},
      {quaternion("", ""),
       "line 1: columns \"roll\", \"pitch\" and \"yaw\" are missing (the root's orientation is "
       "roll, "
       "pitch, yaw or qw, qx, qy, qz)"},
      {quaternion("qx,qw,qz,qy", "0,0,0,0"),
       "line 2, column 6 (qw): the quaternion qw, qx, qy, qz has length 0, not 1 to within 0.001"},
      {quaternion("qx,qw,qz,qy", "0,1.002,0,0"),
       "line 2, column 6 (qw): the quaternion qw, qx, qy, qz has length 1.002, not 1 to within "
       "0.001"},
      {resized(1, 28), "line 1: column \"RElbowRoll\" is missing"},
      {resized(1, 40),
       "line 1: column \"RAnkleRoll.nz\" is missing: a wrench has all six columns or none"},
      {resized(3, 40), "line 3, column 41 (RAnkleRoll.nz): the row ends after 40 fields of 41"},
      {resized(3, 42), "line 3, column 42: the header names only 41 fields"},
      {changed(5, 3, "0.1m"), "line 5, column 3 (y): \"0.1m\" is not a number"},
      {changed(5, 3, "+-1"), "line 5, column 3 (y): \"+-1\" is not a number"},
      {changed(2, 8, ""), "line 2, column 8 (HeadYaw): the field is empty"},
      {changed(4, 8, "nan"),
       "line 4, column 8 (HeadYaw): \"nan\" is not a finite number in single precision"},
      {changed(4, 8, "1e39"),
       "line 4, column 8 (HeadYaw): \"1e39\" is not a finite number in single precision"},
      {changed(4, 1, "0.01"), "line 4, column 1 (time): time must increase, 0.01 follows 0.01"},
      {text(first_rows(0)), "line 1: no sample follows the header"},
      {"", "line 1: the file is empty"}};
  for (const auto& [motion, fault] : cases) {
    write("motion.csv", motion);
    EXPECT_EQ(run("motion.csv -o results.csv"), 1) << fault;
    EXPECT_EQ(read("err"), "orvek23-replay: motion.csv, " + fault + "\n");
    EXPECT_EQ(files(), (std::vector<std::string>{"err", "motion.csv", "out"}));
  }
}

TEST_F(Replay, NothingIsLostWhenARunFails) {
  const std::string good = text(first_rows(4));
  write("motion.csv", good);
  write("results.csv", "older results");
  write("bad.csv", good + "x");
  fs::create_directory(folder_ / "results");
  fs::create_symlink("loop", folder_ / "loop");
  const std::map<std::string, std::string> cases = {
      {"bad.csv -o results.csv", "bad.csv, line 6, column 1 (time): \"x\" is not a number"},
      {"absent.csv", "absent.csv: cannot be read: No such file or directory"},
      {"results", "results: cannot be read: Is a directory"},
      {"motion.csv -o motion.csv", "motion.csv: the results would replace the motion"},
      {"motion.csv -o /dev/full", "/dev/full: cannot be written: No space left on device"},
      {"motion.csv -o results", "results: cannot be written: Is a directory"},
      {"motion.csv -o absent/r.csv", "absent/r.csv: cannot be written: No such file or directory"},
      {"motion.csv -o loop", "loop: cannot be written: Too many levels of symbolic links"},
      {"motion.csv --signals com", "--signals requires --output"},
      {"motion.csv -o results.csv --signals com,torques",
       "--signals: unknown signal \"torques\", did you mean \"torque\"?"},
      {"motion.csv -o results.csv --signals partial-com:LKneePich",
       "--signals: unknown signal \"partial-com:LKneePich\", did you mean "
       "\"partial-com:LKneePitch\"?"},
      {"motion.csv -o results.csv --signals com,",
       "--signals: unknown signal \"\"; there are com, pose, torque, jacobian, mass-matrix, "
       "partial-com:BODY, com-velocity, momentum, root-wrench, zmp, cop, margin, capture-point, "
       "energy, gravity-torque"},
      {"motion.csv -o results.csv --signals partial-com:Torso",
       "--signals: \"partial-com:Torso\": the root cannot be left out"},
      {"motion.csv -o results.csv --bodies Torso,LKneePich",
       "--bodies: unknown body \"LKneePich\", did you mean \"LKneePitch\"?"},
      {"motion.csv -o results.csv --bodies Torso,Torso", "--bodies: \"Torso\" is named twice"},
      {"motion.csv -o results.csv --bodies all --signals com",
       "--bodies: chooses poses, but --signals has no pose"},
      {"motion.csv -o - >/dev/full", "standard output: cannot be written: No space left on device"},
      {"- -o results.csv <bad.csv",
       "standard input, line 6, column 1 (time): \"x\" is not a number"},
      {"- -o bad.csv <bad.csv", "bad.csv: the results would replace the motion"},
      {"--help >/dev/full", "standard output: cannot be written"},
      {"motion.csv --colour", "unknown option \"--colour\""},
      {"motion.csv --sginals=com", "unknown option \"--sginals\", did you mean \"--signals\"?"},
      {"motion.csv bad.csv", "one argument too many: \"bad.csv\""},
      {"motion.csv -o", "--output needs a FILE"},
      {"motion.csv -o a -o b", "--output is given more than once"},
      {"motion.csv -o ''", "--output: the file's name is empty"},
      {"motion.csv --separator x", "--separator: \"x\" is none of ',', ';', tab"}};
  for (const auto& [arguments, fault] : cases) {
    EXPECT_EQ(run(arguments), 1) << arguments;
    EXPECT_EQ(read("err"), "orvek23-replay: " + fault + "\n");
  }
  EXPECT_EQ(read("motion.csv"), good);
  EXPECT_EQ(read("results.csv"), "older results");
  EXPECT_EQ(files().size(), 7U);

  EXPECT_EQ(run("motion.csv", "motion.csv"), 1);
  EXPECT_EQ(read("err").find("orvek23-replay: cannot open plug-in"), 0U) << read("err");
  EXPECT_NE(read("err").find("invalid ELF header"), std::string::npos) << read("err");
}

TEST_F(Replay, AFileThatMayNotGrowIsAFailedWrite) {
  write("motion.csv", text(first_rows(4)));
  write("results.csv", "older results");
  EXPECT_EQ(shell("(ulimit -f 2; replay motion.csv -o results.csv) >out 2>err"), 1);
  EXPECT_EQ(read("err"), "orvek23-replay: results.csv: cannot be written: File too large\n");
  EXPECT_EQ(read("results.csv"), "older results");
  EXPECT_EQ(files().size(), 4U);
}

}  // namespace
