#include "apps/replay/selection.hpp"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "apps/replay/quantity_signals.hpp"
#include "motion/csv_fields.hpp"
#include "motion/messages.hpp"
#include "motion/nearest_name.hpp"
#include "motion/robot_names.hpp"

namespace replay {
namespace motion = tavo::motion;
namespace {

using Names = std::vector<std::string>;

std::runtime_error fault(const std::string& option, const std::string& what) {
  return std::runtime_error(option + ": " + what);
}

// The names in a list with commas and perhaps blanks between them, each one there once.
Names split(const std::string& option, const std::string& list) {
  Names names;
  for (std::size_t begin = 0; begin <= list.size();) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    names.emplace_back(motion::trimmed(std::string_view(list).substr(begin, end - begin)));
    if (std::count(names.begin(), names.end(), names.back()) > 1) {
      throw fault(option, motion::quoted(names.back()) + " is named twice");
    }
    begin = end + 1;
  }
  return names;
}

Names selected_bodies(const std::string& list, const Names& known) {
  if (motion::trimmed(list) == "all") return known;
  Names bodies = split("--bodies", list);
  for (const std::string& body : bodies) {
    if (std::find(known.begin(), known.end(), body) == known.end()) {
      throw fault("--bodies", motion::unknown_name("body", body, known));
    }
  }
  return bodies;
}

// Every name that --signals takes, with what it stands for.
using Catalogue = std::vector<std::pair<std::string, std::vector<Signal>>>;

Catalogue catalogue(const Names& bodies, const tavo::RigidBodySystem& system) {
  std::vector<Signal> poses;
  for (const std::string& body : bodies) poses.push_back(pose_signal(system, body));
  Catalogue all = {{"com", {com_signal()}},
                   {"pose", poses},
                   {"torque", {torque_signal(system)}},
                   {"jacobian", {jacobian_signal(system)}},
                   {"mass-matrix", {mass_matrix_signal(system)}}};
  for (const auto& [name, signal] : quantity_signals(system)) all.push_back({name, {signal}});
  for (const std::string& body : motion::names_of(system).bodies) {
    if (body == system.getRootName()) continue;
    all.push_back({"partial-com:" + body, {partial_com_signal(system, body)}});
  }
  return all;
}

std::runtime_error unknown_signal(const std::string& name, const Catalogue& known,
                                  const tavo::RigidBodySystem& system) {
  if (name == "partial-com:" + system.getRootName()) {
    return fault("--signals", motion::quoted(name) + ": the root cannot be left out");
  }
  Names names;
  for (const auto& entry : known) names.push_back(entry.first);
  const std::string what = motion::unknown_name("signal", name, names);
  return fault("--signals",
               motion::nearest_name(name, names) ? what : what + "; there are " + signal_names);
}

}  // namespace

std::vector<Signal> selected_signals(const Selection& selection,
                                     const tavo::RigidBodySystem& system) {
  const Names bodies =
      selected_bodies(selection.bodies.value_or(default_bodies), motion::names_of(system).bodies);
  const Catalogue known = catalogue(bodies, system);
  const Names names = split("--signals", selection.signals);
  std::vector<Signal> signals;
  for (const std::string& name : names) {
    const auto found = std::find_if(known.begin(), known.end(),
                                    [&name](const auto& entry) { return entry.first == name; });
    if (found == known.end()) throw unknown_signal(name, known, system);
    std::copy(found->second.begin(), found->second.end(), std::back_inserter(signals));
  }
  if (selection.bodies && std::find(names.begin(), names.end(), "pose") == names.end()) {
    throw fault("--bodies", "chooses poses, but --signals has no pose");
  }
  return signals;
}

}  // namespace replay
