#include "motion/motion_file.hpp"

#include <cmath>
#include <cstddef>
#include <limits>
#include <sstream>
#include <stdexcept>

#include <Eigen/Geometry>

namespace tavo::motion {
namespace {

Eigen::Matrix3d rotation(const Eigen::Vector3d& roll_pitch_yaw) {
  using Eigen::AngleAxisd, Eigen::Vector3d;
  return (AngleAxisd(roll_pitch_yaw.z(), Vector3d::UnitZ()) *
          AngleAxisd(roll_pitch_yaw.y(), Vector3d::UnitY()) *
          AngleAxisd(roll_pitch_yaw.x(), Vector3d::UnitX()))
      .toRotationMatrix();
}

const RobotNames& checked(const RobotNames& names) {
  if (names.joints.size() > 22 || names.bodies.size() > 23) {
    throw std::invalid_argument("motion: at most 22 joints and 23 bodies");
  }
  return names;
}

}  // namespace

MotionFile::MotionFile(const std::string& path, const RobotNames& names,
                       const MotionOptions& options)
    : csv_(path, options.separator),
      columns_(find_columns(csv_, checked(names), options.ignore_unknown)) {}

std::vector<unsigned long> MotionFile::wrench_bodies() const {
  std::vector<unsigned long> bodies;
  for (const auto& wrench : columns_.wrenches) bodies.push_back(wrench.body);
  return bodies;
}

std::optional<Sample> MotionFile::next() {
  if (!csv_.next(row_)) {
    if (!last_time_) throw csv_.error("no sample follows the header");
    return std::nullopt;
  }
  return Sample{csv_.line_number(),        checked_time(),
                values(columns_.position), orientation(),
                values(columns_.joints),   wrenches(),
                given(columns_.velocity),  given(columns_.acceleration)};
}

double MotionFile::checked_time() {
  const double time = row_[columns_.time];
  if (last_time_ && !(time > *last_time_)) {
    std::ostringstream fault;
    fault.precision(std::numeric_limits<double>::digits10);
    fault << "time must increase, " << time << " follows " << *last_time_;
    throw csv_.error(columns_.time, fault.str());
  }
  last_time_ = time;
  return time;
}

Eigen::Matrix3d MotionFile::orientation() const {
  if (columns_.quaternion.empty()) return rotation(values(columns_.angles));
  // Three decimals move the length by up to 0.001; more than that is no rounding.
  constexpr double tolerance = 0.001 + 1e-9;
  const Coordinates q = values(columns_.quaternion);
  if (!(std::abs(q.norm() - 1) <= tolerance)) {
    std::ostringstream fault;
    fault << "the quaternion qw, qx, qy, qz has length " << q.norm() << ", not 1 to within 0.001";
    throw csv_.error(columns_.quaternion[0], fault.str());
  }
  return Eigen::Quaterniond(q(0), q(1), q(2), q(3)).normalized().toRotationMatrix();
}

Coordinates MotionFile::values(const Columns& columns) const {
  Coordinates result(static_cast<Eigen::Index>(columns.size()));
  for (std::size_t i = 0; i < columns.size(); ++i) {
    result(static_cast<Eigen::Index>(i)) = row_[columns[i]];
  }
  return result;
}

Coordinates MotionFile::given(const std::vector<MotionColumns::Rate>& rates) const {
  Coordinates result = Coordinates::Constant(static_cast<Eigen::Index>(6 + columns_.joints.size()),
                                             std::numeric_limits<double>::quiet_NaN());
  for (const auto& rate : rates) {
    result.segment(static_cast<Eigen::Index>(rate.coordinate),
                   static_cast<Eigen::Index>(rate.columns.size())) = values(rate.columns);
  }
  return result;
}

Wrenches MotionFile::wrenches() const {
  Wrenches result(static_cast<Eigen::Index>(6 * columns_.wrenches.size()));
  Eigen::Index first = 0;
  for (const auto& wrench : columns_.wrenches) {
    result.segment<6>(first) = values(wrench.columns);
    first += 6;
  }
  return result;
}

}  // namespace tavo::motion
