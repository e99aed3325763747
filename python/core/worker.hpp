#pragma once

#include <cstddef>
#include <host/loader.hpp>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "apps/replay/driver.hpp"
#include "apps/replay/observation.hpp"
#include "apps/replay/signals.hpp"
#include "batch/batch.hpp"
#include "python/core/logs.hpp"
#include "python/core/robot.hpp"

namespace orvek23::python {
namespace batch = tavo::batch;

/// One of the results that are wanted: a table of columns.
struct Want {
  enum class Kind { com, pose, torque, jacobian, partial_com, signal };
  std::string name;
  Kind kind;
  std::vector<unsigned long> bodies;  ///< of poses and partial centres of mass
  Names columns;
  bool may_be_missing = false;
  bool derived = false;  ///< by the quantities library
};

/// Where the results of one Want go: row by row.
struct Table {
  float* data;
  std::size_t width;
  float* row(std::size_t k) const { return data + k * width; }
};

/// The result of that name: KeyError if there is none.
Want want_of(const std::string& name, Robot& robot);

/// What is needed of a chunk's orientations to tell the signs of its quaternions apart later: q and
/// -q are one orientation, and which is written depends on all samples before.
struct Orientations {
  std::vector<Eigen::Quaterniond> first, last;  ///< of each pose column
  std::vector<signed char> nearer;  ///< row by row: sign of the product with the row before
};

inline constexpr std::size_t nb_bodies = 23, nb_joints = 22, nb_dofs = 28;
/// Samples beside a chunk from which its rates are formed as within the whole motion: the parabola
/// at an end reaches four velocities, each of which reaches one sample more.
inline constexpr std::size_t overlap = 8;

/// The samples of one chunk, from a place of the motion on.
class States {
 public:
  States(const Samples& samples, std::size_t begin, std::size_t end)
      : at_(begin > overlap ? begin - overlap : 0),
        stop_(std::min(end + overlap, samples.size())),
        stream_([this, &samples]() -> std::optional<motion::Sample> {
          if (at_ == stop_) return std::nullopt;
          return samples.at(at_++);
        }) {
    for (std::size_t k = at_; k < begin; ++k) stream_.next();
  }
  motion::State next() { return *stream_.next(); }

 private:
  std::size_t at_, stop_;
  motion::StateStream stream_;
};

/// How one thread computes: with a system of its own, sample by sample as the replay does, or with
/// a batch engine of its own, chunk by chunk.
class Worker {
 public:
  Worker(const std::vector<Want>& wants, tavo::Plugin::System system,
         const std::vector<unsigned long>& wrench_bodies,
         std::shared_ptr<const std::vector<batch::BodyInertia>> inertias, bool engine);
  /// Samples begin to end - 1 of the motion, into the tables' rows from `row` on.
  Orientations compute(const Samples& samples, std::size_t begin, std::size_t end,
                       const std::vector<Table>& tables, std::size_t row);

 private:
  void compute_by_system(States& states, const std::vector<Table>& tables, std::size_t row);
  void compute_by_engine(States& states, std::size_t n, const std::vector<Table>& tables,
                         std::size_t row);
  // The engine's results of sample k, in the results' order.
  void scatter(std::size_t k, const std::vector<Table>& tables, std::size_t row);
  void narrow(const motion::State& state, float* row) const;
  void write_pose(const KT::Math::Transform& pose, float* out, std::size_t column);
  const std::vector<Want>& wants_;
  tavo::Plugin::System system_;
  std::vector<unsigned long> wrench_bodies_;
  std::vector<std::vector<replay::Signal>> signals_;  // of each want
  std::optional<replay::Driver> driver_;
  std::optional<replay::Observation> observed_;
  bool derives_ = false;
  std::vector<float> row_;
  std::optional<batch::Engine> engine_;
  std::shared_ptr<const std::vector<batch::BodyInertia>> inertias_;
  std::vector<float> in_, com_, poses_, torques_, jacobians_;
  Orientations orientations_;
};

/// Whether the batch library has the bits of the robot's plug-in: that came along, and they agree
/// on a few states with the inertias that are in force, which are then in `inertias` if any were
/// set.
bool batch_serves(Robot& robot, std::shared_ptr<const std::vector<batch::BodyInertia>>& inertias);

}  // namespace orvek23::python
