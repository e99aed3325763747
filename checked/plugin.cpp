// The plug-in to develop hosts with: the entry points that make and take back checked systems.

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "checked/checked_system.hpp"
#include "host/metapod_rigid_body_system.hpp"
#include "host/rigid_body_system.hpp"
#include "model/orvek23.hpp"

extern template class tavo::MetapodRigidBodySystem<metapod::orvek23>;

void tavo::checked::refuse(const Operation& op, unsigned long i) {
  const Indices& indices = op.indices;
  throw std::out_of_range(std::string(op.name) + ": " + indices.kind + " index " +
                          std::to_string(i) + " is not in 0 to " + std::to_string(indices.last) +
                          (indices.or_world ? ", nor -1, the world" : ""));
}

namespace {

/// The environment variable ORVEK23_CHECK: "report", or nothing.
bool report_is_asked_for() {
  const char* const asked = std::getenv("ORVEK23_CHECK");
  if (asked == nullptr || *asked == '\0') return false;
  if (std::string_view(asked) == "report") return true;
  std::fprintf(stderr, "orvek23-checked: ORVEK23_CHECK is \"%s\"; only \"report\" means anything\n",
               asked);
  return false;
}

}  // namespace

#define ORVEK23_EXPORT __attribute__((visibility("default")))

extern "C" {

ORVEK23_EXPORT tavo::RigidBodySystem* create() {
  auto system = std::make_unique<tavo::MetapodRigidBodySystem<metapod::orvek23>>();
  return new tavo::checked::CheckedSystem(std::move(system), report_is_asked_for());
}

ORVEK23_EXPORT void destroy(tavo::RigidBodySystem* system) {
  delete system;
}
}
