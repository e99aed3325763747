#pragma once

#include <host/loader.hpp>
#include <span>
#include <string>

#include <Eigen/Core>

#include "bench/states.hpp"

/// What is measured of the plug-in, and how a host comes to it.
namespace bench {

/// A host with one system, which has been through every operation once.
struct Host {
  explicit Host(const std::string& plugin_path);

  tavo::Plugin::System system;
  Eigen::Matrix<float, 3, Eigen::Dynamic> J{3, 28};
  float seen = 0;  ///< what was read of the results
  /// What the system takes of the heap, with its matrices, and its own block alone; bytes.
  std::size_t heap_size = 0, object_size = 0;
};

using Action = void (*)(Host&, const State&);

/// An operation of the interface, on a state that `prepare` has brought into the system.
struct Operation {
  const char* name;
  const char* calls;
  Action prepare, run;
};

std::span<const Operation> operations();
const Operation& operation(const std::string& name);

/// An Action that does nothing: what a call of an Action costs by itself.
void nothing(Host& host, const State& s);

}  // namespace bench
