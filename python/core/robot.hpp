#pragma once

#include <host/loader.hpp>
#include <map>
#include <memory>
#include <optional>
#include <quantities/model.hpp>
#include <shared_mutex>
#include <string>
#include <utility>
#include <vector>

#include "batch/batch.hpp"
#include "motion/robot_names.hpp"
#include "python/core/arguments.hpp"

namespace orvek23::python {

/// An opened plug-in. It stays loaded to the end of the process: inertias that were set are its
/// own, and would be lost with it.
struct OpenPlugin {
  std::string path;
  tavo::Plugin plugin;
  std::map<unsigned long, tavo::batch::BodyInertia> inertias;  ///< that were handed over
};

/// The plug-in at a path, opened once. FileNotFoundError, ImportError.
OpenPlugin& open_plugin(const std::string& path);

/// The path of the plug-in that came along with the module.
std::string companion_plugin();

/// The path of the page's template, which need not be there.
std::string companion_report_template();

/// What all systems of the process share, inertias and total mass, is written while nothing
/// computes: computations hold it shared, `create` and setBodyInertia alone. Whoever waits for it
/// has let the interpreter's lock go.
std::shared_mutex& shared_inertias();

/// Holds shared_inertias() alone, with the interpreter's lock held at the end as at the beginning.
class Exclusive {
 public:
  Exclusive() {
    const py::gil_scoped_release released;
    shared_inertias().lock();
  }
  ~Exclusive() { shared_inertias().unlock(); }
  Exclusive(const Exclusive&) = delete;
  Exclusive& operator=(const Exclusive&) = delete;
};

/// One system, for one thread at a time.
class Robot {
 public:
  explicit Robot(const std::string& path);

  /// ValueError if the robot is closed, RuntimeError while another thread computes with it.
  tavo::RigidBodySystem& system() {
    require_free();
    return *system_;
  }
  void close() { closed_ = true; }
  bool closed() const { return closed_; }
  OpenPlugin& plugin() { return plugin_; }
  const tavo::motion::RobotNames& names() const { return names_; }
  unsigned long body(py::handle which) const { return index_of(which, names_.bodies, "body"); }
  unsigned long joint(py::handle which) const {
    return index_of(which, names_.joints, "joint angle");
  }

  /// Runs what computes with the system, without the interpreter's lock.
  template <class Computation>
  void compute(Computation&& computation) {
    tavo::RigidBodySystem& free = system();
    const Busy busy(*this);
    const py::gil_scoped_release released;
    const std::shared_lock<std::shared_mutex> unchanged(shared_inertias());
    computation(free);
  }

  void set_root_pose(const KT::Math::Transform& pose_world);
  void set_wrench(unsigned long body, const std::vector<float>& wrench,
                  const std::optional<KT::Math::Transform>& frame);
  void set_inertia(unsigned long body, float mass, const KT::Math::Position3D& com,
                   const Eigen::Matrix3f& inertia_at_com);

  /// Everything that was set, for pickles and copies.
  py::tuple state();
  void restore(const py::tuple& state);

 private:
  struct Busy {
    explicit Busy(Robot& r) : robot(r) { robot.busy_ = true; }
    ~Busy() { robot.busy_ = false; }  // the interpreter's lock is held again
    Robot& robot;
  };
  void require_free() const {
    if (closed_) throw py::value_error("the robot is closed");
    if (busy_)
      throw std::runtime_error("another thread computes with this robot: take one a thread");
  }

  OpenPlugin& plugin_;
  tavo::Plugin::System system_;
  tavo::motion::RobotNames names_;
  bool closed_ = false, busy_ = false;
  // What the interface takes and does not give back in the same form.
  KT::Math::Transform root_pose_;
  std::map<unsigned long, std::pair<std::vector<float>, std::optional<KT::Math::Transform>>>
      wrenches_;
};

/// The inertias that were handed over, in a model of the quantities library.
void hand_over(const OpenPlugin& plugin, tavo::quantities::Model& model);

void bind_robot(py::module_& m);
void bind_quantities(py::module_& m);
void bind_logs(py::module_& m);
void bind_evaluate(py::module_& m);
void bind_page(py::module_& m);

}  // namespace orvek23::python
