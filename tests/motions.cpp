#include "tests/motions.hpp"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <host/loader.hpp>
#include <iomanip>
#include <map>
#include <numbers>
#include <sstream>
#include <utility>

#include <Eigen/Geometry>

#include "motion/motion_writer.hpp"

namespace motions {
namespace {

using Eigen::AngleAxisd, Eigen::Isometry3d, Eigen::Translation3d, Eigen::Vector3d;
using Angles = std::map<std::string, double>;

constexpr double pi = std::numbers::pi;

/// A motion file's table, as numbers.
struct Motion {
  std::vector<std::string> header;
  std::vector<std::vector<double>> rows;

  std::string text() const {
    std::ostringstream out;
    out << std::fixed << std::setprecision(9);
    for (std::size_t i = 0; i < header.size(); ++i) out << (i > 0 ? "," : "") << header[i];
    for (const auto& row : rows) {
      out << "\n";
      for (std::size_t i = 0; i < row.size(); ++i) out << (i > 0 ? "," : "") << row[i];
    }
    return out.str() + "\n";
  }
};

const Motion& walk() {
  static const Motion motion = [] {
    Motion read;
    std::ifstream file(WALK_CSV);
    std::string line, cell;
    std::getline(file, line);
    for (std::istringstream cells(line); std::getline(cells, cell, ',');) {
      read.header.push_back(cell);
    }
    while (std::getline(file, line)) {
      read.rows.emplace_back();
      for (std::istringstream cells(line); std::getline(cells, cell, ',');) {
        read.rows.back().push_back(std::stod(cell));
      }
    }
    return read;
  }();
  return motion;
}

// The walk in another direction: wrenches are in the feet's frames and stay.
Motion turned_walk(double yaw) {
  Motion motion = walk();
  for (auto& row : motion.rows) {
    const Eigen::Vector2d place = Eigen::Rotation2Dd(yaw) * Eigen::Vector2d(row[1], row[2]);
    row[1] = place.x();
    row[2] = place.y();
    row[6] += yaw;
  }
  return motion;
}

// Forth and back again, three times.
Motion to_and_fro() {
  Motion motion = walk();
  motion.rows.clear();
  const auto samples = static_cast<int>(walk().rows.size()) - 1;
  for (int i = 0; i < 6 * samples; ++i) {
    const int phase = i % (2 * samples);
    motion.rows.push_back(walk().rows[phase < samples ? phase : 2 * samples - phase]);
    motion.rows.back()[0] = 0.01 * i;
  }
  return motion;
}

Motion without_wrenches(Motion motion) {
  motion.header.resize(29);
  for (auto& row : motion.rows) row.resize(29);
  return motion;
}

// Two steps of the walk, again and again, on a circle of radius 1 m.
Motion circle() {
  Motion motion = without_wrenches(walk());
  motion.rows.clear();
  const auto &first = walk().rows[260], &next = walk().rows[390];
  const double stride = next[1] - first[1];
  for (int i = 0; i < 12000; ++i) {
    auto row = walk().rows[260 + 5 * (i % 26)];
    row.resize(29);
    row[0] = 0.05 * i;
    const double heading = stride * (i / 26) + row[1] - first[1];  // by m on the circle, so rad
    const Eigen::Vector2d place =
        Eigen::Rotation2Dd(heading) * Eigen::Vector2d(0, row[2] - 1) + Eigen::Vector2d(0, 1);
    row[1] = place.x();
    row[2] = place.y();
    row[6] += heading;
    motion.rows.push_back(row);
  }
  return motion;
}

/// Where the robot is when some joints differ from the first sample of the walk.
class Robot {
 public:
  Robot() : plugin_(PLUGIN_PATH), system_(plugin_.create()) {}

  /// The root's pose with that foot flat on the ground, pointing ahead, below its hip.
  Isometry3d standing_on(const std::string& foot, const Angles& angles) {
    set(angles);
    system_->computeFwdKinematics();
    Isometry3d sole_root = Isometry3d::Identity();
    sole_root.matrix().topRows<3>() = Eigen::Map<const Eigen::Matrix<float, 3, 4, Eigen::RowMajor>>(
                                          system_->getPoseInRoot(system_->getBodyId(foot)).m)
                                          .cast<double>();
    Isometry3d sole_world = Isometry3d::Identity();
    sole_world.linear() << 0, 0, 1, 0, -1, 0, 1, 0, 0;  // x up, y to the right, z ahead
    sole_world.translation() = Vector3d(0, foot[0] == 'L' ? 0.05 : -0.05, 0.045);
    return sole_world * sole_root.inverse();
  }

  Eigen::VectorXd joints() const {
    return Eigen::VectorXd::Map(joints_.data(), static_cast<Eigen::Index>(joints_.size()));
  }
  tavo::motion::RobotNames names() const { return tavo::motion::names_of(*system_); }

 private:
  void set(const Angles& angles) {
    joints_.assign(walk().rows[0].begin() + 7, walk().rows[0].begin() + 29);
    for (const auto& [name, angle] : angles) joints_[system_->getJointAngleId(name)] = angle;
    system_->setJointAnglesPos({joints_.begin(), joints_.end()});
  }

  tavo::Plugin plugin_;
  tavo::Plugin::System system_;
  std::vector<double> joints_;
};

/// The angles at a time, and how the root has moved away from where the left foot stands flat.
struct Posture {
  Angles angles;
  Isometry3d moved = Isometry3d::Identity();
};

std::string posed(double duration, double rate, double start,
                  const std::function<Posture(double)>& posture_at) {
  Robot robot;
  std::ostringstream out;
  tavo::motion::MotionWriter writer(out, robot.names());
  const Eigen::VectorXd not_given = Eigen::VectorXd::Constant(28, std::nan(""));
  for (int i = 0; i <= std::lround(duration * rate); ++i) {
    const Posture posture = posture_at(i / rate);
    const Isometry3d root = posture.moved * robot.standing_on("LAnkleRoll", posture.angles);
    writer.add({0,
                start + i / rate,
                root.translation(),
                root.linear(),
                robot.joints(),
                {},
                not_given,
                not_given});
  }
  return out.str();
}

// From 0 to 1 and smooth, while t goes from `from` to `to`.
double rise(double t, double from, double to) {
  const double share = std::clamp((t - from) / (to - from), 0.0, 1.0);
  return share * share * (3 - 2 * share);
}

// The thigh leans back by `bend`; the ankle stays below the hip and the sole flat.
Angles bent(double bend, const std::string& side) {
  const double shank = std::asin(0.1 * std::sin(bend) / 0.1029);
  return {{side + "HipPitch", -bend},
          {side + "KneePitch", bend + shank},
          {side + "AnklePitch", -shank}};
}

Angles both_bent(double bend) {
  Angles angles = bent(bend, "L");
  angles.merge(bent(bend, "R"));
  return angles;
}

Posture squat(double t) {
  return {both_bent(0.2 + 0.45 * (1 - std::cos(2 * pi * t / 3)))};
}

Posture on_one_leg(double t) {
  const double lean = -0.3 * (rise(t, 0.5, 2) - rise(t, 8, 9.5));
  const double lift = rise(t, 2, 3) - rise(t, 7, 8);
  Posture posture{bent(0.2, "L")};
  posture.angles.merge(bent(0.2 + 0.7 * lift, "R"));
  for (const std::string side : {"L", "R"}) {
    posture.angles[side + "HipRoll"] = lean;
    posture.angles[side + "AnkleRoll"] = -lean;
  }
  return posture;
}

Posture jump(double t) {
  const double takeoff = 1.2, speed = 1.6, flight = 2 * speed / 9.81;
  const double landing = takeoff + flight, in_air = std::clamp(t - takeoff, 0.0, flight);
  const double crouch = rise(t, 0.3, 0.9) - rise(t, 0.95, takeoff) +
                        rise(t, landing, landing + 0.15) - rise(t, landing + 0.3, landing + 0.9);
  Posture posture{both_bent(0.1 + 0.8 * crouch)};
  posture.moved = Translation3d(0, 0, in_air * (speed - 9.81 / 2 * in_air));
  return posture;
}

// Stiff, over its toes.
Posture fall(double t) {
  const double angle = std::min(0.02 * (std::cosh(5 * t) - 1), pi / 2);
  Posture posture{both_bent(0.1)};
  posture.moved = Translation3d(0.075, 0, 0) * AngleAxisd(angle, Vector3d::UnitY()) *
                  Translation3d(-0.075, 0, 0);
  return posture;
}

// On sliding soles about the middle between them.
Posture turn(double t) {
  Posture posture{both_bent(0.2)};
  posture.moved = AngleAxisd(2 * pi * rise(t, 0.5, 7.5), Vector3d::UnitZ());
  return posture;
}

Posture head_shake(double t) {
  Posture posture{both_bent(0.1)};
  posture.angles["HeadYaw"] = 0.7 * std::sin(2 * pi * 0.8 * t) * (rise(t, 0, 1) - rise(t, 5, 6));
  return posture;
}

const std::map<std::string, std::function<std::string()>>& all() {
  static const std::map<std::string, std::function<std::string()>> motions = {
      {"walk_x", [] { return turned_walk(0).text(); }},
      {"walk_y", [] { return turned_walk(pi / 2).text(); }},
      {"walk_diagonal", [] { return turned_walk(pi / 4).text(); }},
      {"to_and_fro", [] { return to_and_fro().text(); }},
      {"circle", [] { return circle().text(); }},
      {"turn", [] { return posed(8, 100, 0, turn); }},
      {"squats", [] { return posed(60, 100, 0, squat); }},
      {"one_leg", [] { return posed(10, 100, 0, on_one_leg); }},
      {"jump", [] { return posed(3, 200, 0, jump); }},
      {"fall", [] { return posed(1.2, 200, 0, fall); }},
      {"head_shake", [] { return posed(6, 100, 0, head_shake); }}};
  return motions;
}

}  // namespace

std::vector<std::string> names() {
  std::vector<std::string> names;
  for (const auto& [name, make] : all()) names.push_back(name);
  return names;
}

std::string csv(const std::string& name) {
  return all().at(name)();
}

std::string squats(int count, double rate, double start) {
  return posed(3 * count, rate, start, squat);
}

}  // namespace motions
