#include "host/metapod_rigid_body_system.hpp"
#include "host/rigid_body_system.hpp"
#include "model/orvek23.hpp"

extern template class tavo::MetapodRigidBodySystem<metapod::orvek23>;  // host/orvek23_system.cpp

#define ORVEK23_EXPORT __attribute__((visibility("default")))

extern "C" {

ORVEK23_EXPORT tavo::RigidBodySystem* create() {
  return new tavo::MetapodRigidBodySystem<metapod::orvek23>;
}

ORVEK23_EXPORT void destroy(tavo::RigidBodySystem* system) {
  delete system;
}
}
