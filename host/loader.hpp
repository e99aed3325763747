#pragma once

/// @file
/// Opens the plug-in for a C++ host. Others need dlopen and the two entry points.

#include <dlfcn.h>
#include <host/rigid_body_system.hpp>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

namespace tavo {

/// An opened plug-in. Systems that it made keep the library loaded, so it may go first.
///
///   tavo::Plugin plugin("liborvek23.so");
///   tavo::Plugin::System robot = plugin.create();
class Plugin {
 public:
  /// Releases a system through the plug-in that made it. Holds the library as long as it lives, so
  /// a reset System still does.
  class Deleter {
   public:
    Deleter() = default;
    /// Calls the plug-in's `destroy`.
    void operator()(RigidBodySystem* system) const { destroy_(system); }

   private:
    friend class Plugin;
    using Destroy = void (*)(RigidBodySystem*);
    Deleter(std::shared_ptr<void> library, Destroy destroy)
        : library_(std::move(library)), destroy_(destroy) {}

    std::shared_ptr<void> library_;
    Destroy destroy_ = nullptr;
  };
  /// Owns one system.
  using System = std::unique_ptr<RigidBodySystem, Deleter>;

  /// Opens the plug-in at `path` (searched like any shared library if it has no slash) and checks
  /// its entry points. All symbols are bound at once, so no call is slowed by it later. Throws
  /// std::runtime_error with the dynamic loader's own message.
  explicit Plugin(const std::string& path)
      : library_(open(path)),
        create_(entry_point<Create>("create", path)),
        destroy_(entry_point<Deleter::Destroy>("destroy", path)) {}

  /// A new system, as ::create leaves it. Not while any operation runs on any other system of the
  /// process. Throws std::bad_alloc.
  System create() const { return System(create_(), Deleter(library_, destroy_)); }

 private:
  using Create = RigidBodySystem* (*)();

  static std::string loader_message() {
    const char* message = dlerror();
    return message != nullptr ? message : "no message from the dynamic loader";
  }

  static std::shared_ptr<void> open(const std::string& path) {
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
      throw std::runtime_error("cannot open plug-in \"" + path + "\": " + loader_message());
    }
    return std::shared_ptr<void>(library, [](void* opened) { dlclose(opened); });
  }

  template <class Function>
  Function entry_point(const char* name, const std::string& path) const {
    void* symbol = dlsym(library_.get(), name);
    if (symbol == nullptr) {
      throw std::runtime_error("\"" + path + "\" is not a plug-in: " + loader_message());
    }
    return reinterpret_cast<Function>(symbol);
  }

  std::shared_ptr<void> library_;
  Create create_;
  Deleter::Destroy destroy_;
};

/// RigidBodySystem::computePartialComJacobian into a matrix that the host sizes first, to 3 x 28,
/// so that its storage is made and freed by the host alone, whatever instruction set the host is
/// compiled for. Allocates only if J has another size. As with the operation itself, J keeps what
/// it had if i is 23 or more, and if there is no storage: that throws std::bad_alloc.
inline void partialComJacobian(RigidBodySystem& system, unsigned long i,
                               Eigen::Matrix<float, 3, Eigen::Dynamic>& J) {
  if (i >= system.getNbBodies()) return;
  constexpr Eigen::Index columns = 28;
  // Not J.resize(): Eigen frees the old storage first, and again with J if there is no new one.
  if (J.cols() != columns) Eigen::Matrix<float, 3, Eigen::Dynamic>(3, columns).swap(J);
  system.computePartialComJacobian(i, J);
}

}  // namespace tavo
