#include "apps/replay/summary.hpp"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

#include "apps/replay/foot.hpp"
#include "apps/replay/robot_names.hpp"

namespace replay {
namespace {

std::string fixed(double value, int decimals) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(decimals) << value;
  return text.str();
}

std::string range(double from, double to) {
  return fixed(from, 3) + " to " + fixed(to, 3);
}

}  // namespace

void Summary::Peak::add(double candidate, double at) {
  if (candidate > value) *this = {candidate, at};
}

Summary::Summary(const tavo::RigidBodySystem& system)
    : feet_{Foot{foot_bodies[0], system.getBodyId(foot_bodies[0]), {}},
            Foot{foot_bodies[1], system.getBodyId(foot_bodies[1]), {}}} {
  for (const std::string& joint : names_of(system).joints) joints_.push_back({joint, {}});
}

void Summary::add(const Sample& sample, const tavo::RigidBodySystem& system) {
  add_root(sample);
  const KT::Math::Position3D& com = system.getComPosition();
  com_range_.extend(Eigen::Vector3d(com.x, com.y, com.z));
  for (Foot& foot : feet_) {
    foot.clearance.add(sole_point(system.getPose(foot.body)).z, sample.time);
  }
  const float* torque = system.getJointAnglesTorque().first;
  for (Joint& joint : joints_) joint.torque.add(std::abs(*torque++), sample.time);
}

void Summary::add_root(const Sample& sample) {
  const Eigen::Vector2d root = sample.p_world.head<2>();
  if (samples_++ == 0) {
    first_time_ = sample.time;
    first_root_ = last_root_ = root;
  }
  root_path_ += (root - last_root_).norm();
  last_root_ = root;
  last_time_ = sample.time;
}

void Summary::print(std::ostream& out) const {
  out << "samples         " << samples_ << " over " << fixed(last_time_ - first_time_, 2) << " s\n"
      << "root            " << fixed((last_root_ - first_root_).norm(), 3)
      << " m from start to end, " << fixed(root_path_, 3) << " m along its path (horizontal)\n";
  const Eigen::Vector3d low = com_range_.min(), high = com_range_.max();
  out << "centre of mass  x " << range(low.x(), high.x()) << ", y " << range(low.y(), high.y())
      << ", z " << range(low.z(), high.z()) << " m\n";
  const Foot& highest = *std::max_element(
      feet_.begin(), feet_.end(),
      [](const Foot& a, const Foot& b) { return a.clearance.value < b.clearance.value; });
  out << "foot clearance  " << fixed(highest.clearance.value, 3) << " m at most, " << highest.name
      << " at " << fixed(highest.clearance.time, 2) << " s\n";
  print_torques(out);
}

void Summary::print_torques(std::ostream& out) const {
  std::vector<Joint> ranking = joints_;
  std::stable_sort(ranking.begin(), ranking.end(),
                   [](const Joint& a, const Joint& b) { return a.torque.value > b.torque.value; });
  out << "largest torque  " << fixed(ranking[0].torque.value, 2) << " N m, " << ranking[0].name
      << " at " << fixed(ranking[0].torque.time, 2) << " s\n"
      << "                then ";
  for (std::size_t i = 1; i < 6; ++i) {
    out << (i > 1 ? ", " : "") << ranking[i].name << " " << fixed(ranking[i].torque.value, 2);
  }
  out << "\n";
}

}  // namespace replay
