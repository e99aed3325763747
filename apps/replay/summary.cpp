#include "apps/replay/summary.hpp"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

#include "apps/replay/decimals.hpp"
#include "motion/robot_names.hpp"

namespace replay {
namespace {

std::string range(double from, double to) {
  return fixed_text(from, 3) + " to " + fixed_text(to, 3);
}

// What is small is rounding: its size matters, not its digits.
std::string magnitude(double value) {
  if (value == 0 || value >= 0.005) return fixed_text(value, 2);
  std::ostringstream out;
  out << std::scientific << std::setprecision(0) << value;
  return out.str();
}

}  // namespace

void Summary::Peak::add(double candidate, double at) {
  if (candidate > value) *this = {candidate, at};
}

void Summary::Magnitude::add(double value) {
  largest = std::max(largest, value);
  sum += value;
}

Summary::Summary(const tavo::RigidBodySystem& system,
                 const std::vector<unsigned long>& wrench_bodies) {
  for (std::size_t i = 0; i < feet_.size(); ++i) {
    feet_[i] = {motion::foot_bodies[i], system.getBodyId(motion::foot_bodies[i]), {}};
  }
  for (const std::string& joint : motion::names_of(system).joints) joints_.push_back({joint, {}});
  for (const unsigned long body : wrench_bodies) {
    wrench_bodies_.push_back(system.getBodyName(body));
  }
}

std::optional<std::string> Summary::add(const motion::Sample& sample, const Observation& observed) {
  const tavo::RigidBodySystem& system = observed.system();
  if (samples_++ == 0) first_time_ = sample.time;
  last_time_ = sample.time;
  const quantities::Wrench residual = observed.root_wrench();
  if (auto fault = first_not_finite(system, residual)) {
    ++left_out_;
    return fault;
  }
  add_root(sample);
  const KT::Math::Position3D& com = system.getComPosition();
  com_range_.extend(Eigen::Vector3d(com.x, com.y, com.z));
  for (Foot& foot : feet_) {
    foot.clearance.add(motion::sole_point(system.getPose(foot.body)).z, sample.time);
  }
  const float* torque = system.getJointAnglesTorque().first;
  for (Joint& joint : joints_) joint.torque.add(std::abs(*torque++), sample.time);
  residual_force_.add(residual.force.norm());
  residual_moment_.add(residual.moment.norm());
  return std::nullopt;
}

std::optional<std::string> Summary::first_not_finite(const tavo::RigidBodySystem& system,
                                                     const quantities::Wrench& residual) const {
  const auto finite = [](const KT::Math::Position3D& point) {
    return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z);
  };
  if (!finite(system.getComPosition())) return "com";
  for (const Foot& foot : feet_) {
    if (!finite(motion::sole_point(system.getPose(foot.body)))) return foot.name;
  }
  const float* torque = system.getJointAnglesTorque().first;
  for (const Joint& joint : joints_) {
    if (!std::isfinite(*torque++)) return "torque." + joint.name;
  }
  if (!residual.force.allFinite() || !residual.moment.allFinite()) return "the root's residual";
  return std::nullopt;
}

void Summary::add_root(const motion::Sample& sample) {
  const Eigen::Vector2d root = sample.p_world.head<2>();
  if (!first_root_) first_root_ = last_root_ = root;
  root_path_ += (root - last_root_).norm();
  last_root_ = root;
}

void Summary::print(std::ostream& out) const {
  const double duration = last_time_ - first_time_;
  out << "samples         " << samples_ << " over " << fixed_text(duration, decimals_of_time())
      << " s";
  if (left_out_ > 0) {
    out << "; " << left_out_ << " of them left out below: their results are not finite";
  }
  out << "\n";
  if (left_out_ == samples_) return;
  out << "root            " << fixed_text((last_root_ - *first_root_).norm(), 3)
      << " m from start to end, " << fixed_text(root_path_, 3)
      << " m along its path (horizontal)\n";
  const Eigen::Vector3d low = com_range_.min(), high = com_range_.max();
  out << "centre of mass  x " << range(low.x(), high.x()) << ", y " << range(low.y(), high.y())
      << ", z " << range(low.z(), high.z()) << " m\n";
  const Foot& highest = *std::max_element(
      feet_.begin(), feet_.end(),
      [](const Foot& a, const Foot& b) { return a.clearance.value < b.clearance.value; });
  out << "foot clearance  " << fixed_text(highest.clearance.value, 3) << " m at most, "
      << highest.name << at(highest.clearance.time) << "\n";
  print_torques(out);
  print_wrenches(out);
}

// As many as tell samples apart, which are even in the mean; two at least.
int Summary::decimals_of_time() const {
  return std::max(2, decimals_of((last_time_ - first_time_) / static_cast<double>(samples_ - 1)));
}

std::string Summary::at(double time) const {
  return " at " + fixed_text(time, decimals_of_time()) + " s";
}

void Summary::print_torques(std::ostream& out) const {
  std::vector<Joint> ranking = joints_;
  std::stable_sort(ranking.begin(), ranking.end(),
                   [](const Joint& a, const Joint& b) { return a.torque.value > b.torque.value; });
  out << "largest torque  " << fixed_text(ranking[0].torque.value, 2) << " N m, " << ranking[0].name
      << at(ranking[0].torque.time) << "\n"
      << "                then ";
  for (std::size_t i = 1; i < 6; ++i) {
    out << (i > 1 ? ", " : "") << ranking[i].name << " " << fixed_text(ranking[i].torque.value, 2);
  }
  out << "\n";
}

void Summary::print_wrenches(std::ostream& out) const {
  out << "external wrenches: ";
  for (const std::string& body : wrench_bodies_) {
    out << (&body == &wrench_bodies_.front() ? "" : ", ") << body;
  }
  if (wrench_bodies_.empty()) out << "none: the robot hangs from its root";
  const double summed = static_cast<double>(samples_ - left_out_);
  out << "; root residual at most " << magnitude(residual_force_.largest) << " N, "
      << magnitude(residual_moment_.largest) << " N m; mean "
      << magnitude(residual_force_.sum / summed) << " N, "
      << magnitude(residual_moment_.sum / summed) << " N m\n";
}

}  // namespace replay
