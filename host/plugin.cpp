#include "host/adapter_dynamics.hpp"
#include "host/adapter_kinematics.hpp"
#include "host/adapter_mass.hpp"
#include "host/adapter_tables.hpp"
#include "host/metapod_rigid_body_system.hpp"
#include "host/rigid_body_system.hpp"
#include "model/orvek23.hpp"

template class tavo::MetapodRigidBodySystem<metapod::orvek23>;

#define ORVEK23_EXPORT __attribute__((visibility("default")))

extern "C" {

ORVEK23_EXPORT tavo::RigidBodySystem* create() {
  return new tavo::MetapodRigidBodySystem<metapod::orvek23>;
}

ORVEK23_EXPORT void destroy(tavo::RigidBodySystem* system) {
  delete system;
}
}
