// The plug-in's interface alone: what the entry points hand out, with debug information.
#include <host/rigid_body_system.hpp>

[[gnu::visibility("default")]] tavo::RigidBodySystem* create() {
  return nullptr;
}
[[gnu::visibility("default")]] void destroy(tavo::RigidBodySystem* system) {
  delete system;
}
