#include "apps/replay/motion_file.hpp"

#include <algorithm>
#include <limits>
#include <sstream>

#include <Eigen/Geometry>

#include "apps/replay/nearest_name.hpp"

namespace replay {
namespace {

// Every column that a motion may have is a channel: these, then one a joint, then six a body.
const std::vector<std::string> root_channels = {"time", "x", "y", "z", "roll", "pitch", "yaw"};
const std::vector<std::string> wrench_parts = {".fx", ".fy", ".fz", ".nx", ".ny", ".nz"};
constexpr std::size_t time_channel = 0, position_channel = 1, angles_channel = 4,
                      first_joint_channel = 7;

std::vector<std::string> channel_names(const RobotNames& robot) {
  std::vector<std::string> names = root_channels;
  names.insert(names.end(), robot.joints.begin(), robot.joints.end());
  for (const std::string& body : robot.bodies) {
    for (const std::string& part : wrench_parts) names.push_back(body + part);
  }
  return names;
}

Eigen::Matrix3d rotation(const Eigen::Vector3d& roll_pitch_yaw) {
  using Eigen::AngleAxisd, Eigen::Vector3d;
  return (AngleAxisd(roll_pitch_yaw.z(), Vector3d::UnitZ()) *
          AngleAxisd(roll_pitch_yaw.y(), Vector3d::UnitY()) *
          AngleAxisd(roll_pitch_yaw.x(), Vector3d::UnitX()))
      .toRotationMatrix();
}

}  // namespace

MotionFile::MotionFile(const std::string& path, const RobotNames& names)
    : csv_(path), joint_count_(names.joints.size()) {
  const std::vector<std::string> channels = channel_names(names);
  assign_columns(channels);
  require_columns(channels);
  find_wrench_bodies(channels);
}

void MotionFile::assign_columns(const std::vector<std::string>& channels) {
  column_of_.resize(channels.size());
  for (std::size_t column = 0; column < csv_.header().size(); ++column) {
    const std::string& name = csv_.header()[column];
    const auto channel = std::find(channels.begin(), channels.end(), name);
    if (channel == channels.end()) {
      const std::optional<std::string> meant = nearest_name(name, channels);
      throw csv_.error(column, "unknown column " + quoted(name) +
                                   (meant ? ", did you mean " + quoted(*meant) + "?" : ""));
    }
    auto& assigned = column_of_[static_cast<std::size_t>(channel - channels.begin())];
    if (assigned) {
      throw csv_.error(column,
                       quoted(name) + " is column " + std::to_string(*assigned + 1) + " already");
    }
    assigned = column;
  }
}

// The channels before it are required.
std::size_t MotionFile::first_wrench_channel() const {
  return first_joint_channel + joint_count_;
}

void MotionFile::require_columns(const std::vector<std::string>& channels) const {
  for (std::size_t channel = 0; channel < first_wrench_channel(); ++channel) {
    if (!column_of_[channel]) {
      throw csv_.error("column " + quoted(channels[channel]) + " is missing");
    }
  }
}

void MotionFile::find_wrench_bodies(const std::vector<std::string>& channels) {
  const std::size_t parts = wrench_parts.size();
  const std::size_t first = first_wrench_channel();
  for (std::size_t channel = first; channel < channels.size(); channel += parts) {
    const auto begin = column_of_.begin() + static_cast<std::ptrdiff_t>(channel);
    const auto end = begin + static_cast<std::ptrdiff_t>(parts);
    const auto missing = std::find(begin, end, std::nullopt);
    if (missing == end) {
      wrench_bodies_.push_back((channel - first) / parts);
    } else if (std::any_of(begin, end, [](const auto& column) { return column.has_value(); })) {
      const auto absent = static_cast<std::size_t>(missing - column_of_.begin());
      throw csv_.error("column " + quoted(channels[absent]) +
                       " is missing: a wrench has all six columns or none");
    }
  }
}

std::optional<Sample> MotionFile::next() {
  if (!csv_.next(row_)) {
    if (!last_time_) throw csv_.error("no sample follows the header");
    return std::nullopt;
  }
  const double time = value(time_channel);
  if (last_time_ && !(time > *last_time_)) {
    std::ostringstream fault;
    fault.precision(std::numeric_limits<double>::digits10);
    fault << "time must increase, " << time << " follows " << *last_time_;
    throw csv_.error(*column_of_[time_channel], fault.str());
  }
  last_time_ = time;
  const std::size_t parts = wrench_parts.size();
  Eigen::VectorXd wrenches(static_cast<Eigen::Index>(parts * wrench_bodies_.size()));
  for (std::size_t i = 0; i < wrench_bodies_.size(); ++i) {
    const std::size_t channel = first_wrench_channel() + parts * wrench_bodies_[i];
    wrenches.segment(static_cast<Eigen::Index>(parts * i), 6) = values(channel, parts);
  }
  return Sample{time, values(position_channel, 3), rotation(values(angles_channel, 3)),
                values(first_joint_channel, joint_count_), wrenches};
}

Eigen::VectorXd MotionFile::values(std::size_t first_channel, std::size_t count) const {
  Eigen::VectorXd result(static_cast<Eigen::Index>(count));
  for (std::size_t i = 0; i < count; ++i) {
    result(static_cast<Eigen::Index>(i)) = value(first_channel + i);
  }
  return result;
}

}  // namespace replay
