#include "motion/motion_writer.hpp"

#include <cmath>
#include <stdexcept>
#include <utility>

#include <Eigen/Geometry>

#include "motion/append_number.hpp"

namespace tavo::motion {
namespace {

std::vector<Eigen::Index> given(const Coordinates& rates) {
  std::vector<Eigen::Index> coordinates;
  for (Eigen::Index i = 0; i < rates.size(); ++i) {
    if (!std::isnan(rates(i))) coordinates.push_back(i);
  }
  return coordinates;
}

void require(bool holds, const char* fault) {
  if (!holds) throw std::invalid_argument(std::string("motion sample: ") + fault);
}

}  // namespace

MotionWriter::MotionWriter(std::ostream& out, RobotNames names,
                           std::vector<unsigned long> wrench_bodies)
    : out_(out), names_(std::move(names)), wrench_bodies_(std::move(wrench_bodies)) {}

void MotionWriter::add(const Sample& sample) {
  check(sample);
  if (!started_) {
    velocity_ = given(sample.velocity);
    acceleration_ = given(sample.acceleration);
    write_header();
  }
  const Eigen::Quaterniond turn(sample.R_world);
  Eigen::Vector4d q(turn.w(), turn.x(), turn.y(), turn.z());
  if (started_ ? q.dot(last_q_) < 0 : q(0) < 0) q = -q;
  last_q_ = q;
  started_ = true;

  line_.clear();
  append_number(line_, sample.time);
  const auto append = [this](double value) {
    line_ += ',';
    append_number(line_, value);
  };
  for (const double value : sample.p_world) append(value);
  for (const double value : q) append(value);
  for (const double value : sample.q) append(value);
  for (const Eigen::Index i : velocity_) append(sample.velocity(i));
  for (const Eigen::Index i : acceleration_) append(sample.acceleration(i));
  for (const double value : sample.wrenches) append(value);
  line_ += '\n';
  out_ << line_;
}

void MotionWriter::write_header() {
  out_ << "time,x,y,z,qw,qx,qy,qz";
  for (const std::string& joint : names_.joints) out_ << "," << joint;
  const std::vector<std::string> coordinates = names_.coordinates();
  for (const Eigen::Index i : velocity_) out_ << ",d." << coordinates[static_cast<std::size_t>(i)];
  for (const Eigen::Index i : acceleration_) {
    out_ << ",dd." << coordinates[static_cast<std::size_t>(i)];
  }
  for (const unsigned long body : wrench_bodies_) {
    for (const char* part : {".fx", ".fy", ".fz", ".nx", ".ny", ".nz"}) {
      out_ << "," << names_.bodies.at(body) << part;
    }
  }
  out_ << "\n";
}

void MotionWriter::check(const Sample& sample) const {
  const auto joints = static_cast<Eigen::Index>(names_.joints.size());
  require(sample.q.size() == joints, "one angle a joint");
  require(sample.wrenches.size() == static_cast<Eigen::Index>(6 * wrench_bodies_.size()),
          "six numbers for each body that has a wrench");
  for (const auto& [rates, columns] :
       {std::pair(&sample.velocity, &velocity_), {&sample.acceleration, &acceleration_}}) {
    require(rates->size() == 6 + joints, "one rate a coordinate, not a number if it is not given");
    const Eigen::Index of_root = 6 - rates->head<6>().array().isNaN().count();
    require(of_root == 0 || of_root == 6, "the root's rates are all six given or none");
    require(!started_ || given(*rates) == *columns, "other rates are given than in the first");
  }
}

}  // namespace tavo::motion
