#pragma once

#include <host/loader.hpp>
#include <string>

#include <gtest/gtest.h>

/// A freshly loaded plug-in and one system. Each test loads anew, so a change of the inertias,
/// which all systems share, ends with the test that made it.
class PluginTest : public ::testing::Test {
 protected:
  tavo::Plugin plugin{PLUGIN_PATH};
  tavo::Plugin::System system = plugin.create();
  tavo::RigidBodySystem& robot = *system;
};

/// The message of the exception that `call` is to throw.
template <class Exception, class Call>
std::string message_of(Call&& call) {
  try {
    call();
  } catch (const Exception& e) {
    return e.what();
  }
  return "no exception";
}
