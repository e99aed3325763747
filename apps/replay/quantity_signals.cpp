#include "apps/replay/quantity_signals.hpp"

#include <limits>
#include <optional>

#include <Eigen/Core>

#include "motion/robot_names.hpp"

namespace replay {
namespace {

using Named = std::pair<std::string, Signal>;
using Parts = std::vector<std::string>;

constexpr double none = std::numeric_limits<double>::quiet_NaN();

// NAME.PART, or NAME alone for a single number, from what `values` makes of an observation: an
// Eigen vector of as many numbers.
template <class Values>
Named signal(const std::string& name, const Parts& parts, Values values) {
  Signal signal;
  for (const std::string& part : parts) signal.columns.push_back(name + "." + part);
  if (parts.empty()) signal.columns = {name};
  signal.read = [values](const Observation& observed, std::vector<float>& row) {
    const auto numbers = values(observed).eval();
    for (const double number : numbers) row.push_back(static_cast<float>(number));
  };
  return {name, signal};
}

// One that is not there in every sample; the columns then hold nan.
template <class Values>
Named signal_at_times(const std::string& name, const Parts& parts, Values values) {
  Named named = signal(name, parts, values);
  named.second.may_be_missing = true;
  return named;
}

Eigen::Vector2d on_ground(const std::optional<Eigen::Vector3d>& point) {
  return point ? Eigen::Vector2d(point->head<2>()) : Eigen::Vector2d(none, none);
}

}  // namespace

std::vector<Named> quantity_signals(const tavo::RigidBodySystem& system) {
  using O = const Observation&;
  return {
      signal("com-velocity", {"x", "y", "z"}, [](O o) { return com_velocity(o.state()); }),
      signal("momentum", {"Lx", "Ly", "Lz", "px", "py", "pz"},
             [](O o) { return centroidal_momentum(o.state()); }),
      signal("root-wrench", {"fx", "fy", "fz", "nx", "ny", "nz"},
             [](O o) {
               const quantities::Wrench wrench = o.root_wrench();
               return (quantities::Vector6() << wrench.force, wrench.moment).finished();
             }),
      signal_at_times("zmp", {"x", "y"}, [](O o) { return on_ground(o.zero_moment_point()); }),
      signal_at_times("cop", {"x", "y"}, [](O o) { return on_ground(o.centre_of_pressure()); }),
      signal_at_times("margin", {},
                      [](O o) { return Eigen::Matrix<double, 1, 1>(o.margin().value_or(none)); }),
      signal_at_times("capture-point", {"x", "y"},
                      [](O o) { return on_ground(o.capture_point()); }),
      signal("energy", {"kinetic", "potential", "total"},
             [](O o) {
               const quantities::Energy energy = quantities::energy(o.state());
               return Eigen::Vector3d(energy.kinetic, energy.potential, energy.total());
             }),
      signal("gravity-torque", motion::names_of(system).joints,
             [](O o) {
               const quantities::Coordinates gravity = force_parts(o.state()).gravity;
               return quantities::JointVector(gravity.tail<quantities::nb_joints>());
             }),
  };
}

}  // namespace replay
