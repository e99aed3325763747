// The adapter on this robot, compiled once for the plug-in and for its checked twin.

#include "host/adapter_dynamics.hpp"
#include "host/adapter_kinematics.hpp"
#include "host/adapter_mass.hpp"
#include "host/adapter_tables.hpp"
#include "host/metapod_rigid_body_system.hpp"
#include "model/orvek23.hpp"

template class tavo::MetapodRigidBodySystem<metapod::orvek23>;
