#pragma once

#include <host/rigid_body_system.hpp>
#include <string>
#include <utility>
#include <vector>

#include "apps/replay/signals.hpp"

namespace replay {

/// The signals that tavo::quantities derives, with the names that --signals takes. Their columns
/// are those names with a dot and the quantity's parts, apps/replay/README.md lists them.
std::vector<std::pair<std::string, Signal>> quantity_signals(const tavo::RigidBodySystem& system);

}  // namespace replay
