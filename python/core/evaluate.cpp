#include <algorithm>
#include <array>
#include <cstring>
#include <future>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <utility>

#include "apps/replay/driver.hpp"
#include "apps/replay/observation.hpp"
#include "apps/replay/selection.hpp"
#include "apps/replay/signals.hpp"
#include "motion/messages.hpp"
#include "motion/nearest_name.hpp"
#include "python/core/logs.hpp"
#include "python/core/robot.hpp"

namespace orvek23::python {
namespace batch = tavo::batch;
namespace {

constexpr std::size_t nb_bodies = 23, nb_joints = 22, nb_dofs = 28;
constexpr std::size_t chunk_size = 1024;
// Samples beside a chunk from which its rates are formed as within the whole motion: the parabola
// at an end reaches four velocities, each of which reaches one sample more.
constexpr std::size_t overlap = 8;

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

std::vector<replay::Signal> signals_of(const std::string& name, const tavo::RigidBodySystem& s) {
  replay::Selection selection;
  selection.signals = name;
  return replay::selected_signals(selection, s);
}

Want want_of(const std::string& name, Robot& robot) {
  using Kind = Want::Kind;
  Want want = {name, Kind::signal, {}, {}};
  tavo::RigidBodySystem& system = robot.system();
  const auto add = [&want](const replay::Signal& signal) {
    want.columns.insert(want.columns.end(), signal.columns.begin(), signal.columns.end());
    want.may_be_missing = signal.may_be_missing;
  };
  const std::string pose = "pose:", partial = "partial-com:";
  if (name.starts_with(pose) || name.starts_with(partial)) {
    const std::string body = name.substr(name.find(':') + 1);
    want.bodies = {robot.body(py::str(body))};
    want.kind = name.starts_with(pose) ? Kind::pose : Kind::partial_com;
    if (want.kind == Kind::pose) {
      add(replay::pose_signal(system, body));
      return want;
    }
  }
  try {
    for (const replay::Signal& signal : signals_of(name, system)) add(signal);
  } catch (const std::runtime_error& fault) {
    const std::string text = fault.what();
    throw py::key_error("want" + text.substr(text.find(':')));
  }
  if (name == "pose") {
    want.kind = Kind::pose;
    const std::string list = replay::default_bodies;
    for (std::size_t begin = 0; begin < list.size();) {
      const std::size_t end = std::min(list.find(',', begin), list.size());
      want.bodies.push_back(system.getBodyId(list.substr(begin, end - begin)));
      begin = end + 1;
    }
  }
  if (name == "com") want.kind = Kind::com;
  if (name == "torque") want.kind = Kind::torque;
  if (name == "jacobian") want.kind = Kind::jacobian;
  want.derived = want.kind == Kind::signal && name != "mass-matrix";
  return want;
}

/// What is needed of a chunk's orientations to tell the signs of its quaternions apart later: q and
/// -q are one orientation, and which is written depends on all samples before.
struct Orientations {
  std::vector<Eigen::Quaterniond> first, last;  ///< of each pose column
  std::vector<signed char> nearer;  ///< row by row: sign of the product with the row before
};

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
         std::shared_ptr<const std::vector<batch::BodyInertia>> inertias, bool engine)
      : wants_(wants),
        system_(std::move(system)),
        wrench_bodies_(wrench_bodies),
        inertias_(std::move(inertias)) {
    if (engine) {
      engine_.emplace(1);
      return;
    }
    system_->computeFwdKinematics();
    std::vector<replay::Driver::Computation> computations;
    for (const Want& want : wants_) {
      signals_.emplace_back();
      if (want.kind == Want::Kind::pose) continue;
      derives_ = derives_ || want.derived;
      signals_.back() = signals_of(want.name, *system_);
      for (const replay::Signal& signal : signals_.back()) {
        if (signal.compute) computations.push_back(signal.compute);
      }
    }
    driver_.emplace(*system_, wrench_bodies, computations);
    observed_.emplace(*system_, wrench_bodies);
  }

  /// Samples begin to end - 1 of the motion, into the tables' rows from `row` on.
  Orientations compute(const Samples& samples, std::size_t begin, std::size_t end,
                       const std::vector<Table>& tables, std::size_t row) {
    orientations_ = {};
    States states(samples, begin, end);
    if (engine_) {
      compute_by_engine(states, end - begin, tables, row);
    } else {
      for (std::size_t k = 0; k < end - begin; ++k) compute_by_system(states, tables, row + k);
    }
    return std::move(orientations_);
  }

 private:
  void compute_by_system(States& states, const std::vector<Table>& tables, std::size_t row) {
    const motion::State state = states.next();
    driver_->run(state);
    if (derives_) observed_->update(state);
    std::size_t pose = 0;
    for (std::size_t w = 0; w < wants_.size(); ++w) {
      float* out = tables[w].row(row);
      if (wants_[w].kind == Want::Kind::pose) {
        for (const unsigned long body : wants_[w].bodies) {
          write_pose(system_->getPose(body), out, pose++);
          out += 7;
        }
        continue;
      }
      row_.clear();
      for (const replay::Signal& signal : signals_[w]) signal.read(*observed_, row_);
      std::copy(row_.begin(), row_.end(), out);
    }
  }

  void compute_by_engine(States& states, std::size_t n, const std::vector<Table>& tables,
                         std::size_t row) {
    const std::size_t nb_wrenches = wrench_bodies_.size();
    const std::size_t width = 12 + 3 * nb_dofs + 6 * nb_wrenches;
    in_.resize(n * width);
    const auto stride = static_cast<std::ptrdiff_t>(width);
    for (std::size_t k = 0; k < n; ++k) narrow(states.next(), &in_[k * width]);
    const auto column = [&](std::size_t first) { return batch::In{&in_[first], stride}; };
    std::vector<batch::Wrench> wrenches;
    for (std::size_t i = 0; i < nb_wrenches; ++i) {
      wrenches.push_back({wrench_bodies_[i], column(12 + 3 * nb_dofs + 6 * i)});
    }
    batch::Inputs in;
    in.nb_states = n;
    in.root_pose = column(0);
    in.q = column(12);
    in.dq = column(12 + nb_dofs);
    in.ddq = column(12 + 2 * nb_dofs);
    in.wrenches = wrenches.data();
    in.nb_wrenches = nb_wrenches;
    in.inertias = inertias_ ? inertias_->data() : nullptr;

    using Kind = Want::Kind;
    batch::Outputs out;
    const auto room = [n](std::vector<float>& rows, std::size_t columns) {
      rows.resize(n * columns);
      return batch::Out{rows.data(), static_cast<std::ptrdiff_t>(columns)};
    };
    const auto wanted = [this](Kind kind) {
      return std::any_of(wants_.begin(), wants_.end(),
                         [kind](const Want& want) { return want.kind == kind; });
    };
    if (wanted(Kind::com)) out.com = room(com_, 3);
    if (wanted(Kind::pose)) out.poses = room(poses_, 12 * nb_bodies);
    if (wanted(Kind::torque)) out.torques = room(torques_, nb_dofs);
    if (wanted(Kind::jacobian)) out.jacobian = room(jacobians_, 6 * nb_dofs);
    engine_->evaluate(in, out);
    for (std::size_t w = 0; w < wants_.size(); ++w) {
      if (wants_[w].kind != Kind::partial_com) continue;
      batch::Outputs partial;
      partial.partial_body = wants_[w].bodies[0];
      partial.partial_com_in_root = {tables[w].row(row),
                                     static_cast<std::ptrdiff_t>(tables[w].width)};
      engine_->evaluate(in, partial);
    }
    for (std::size_t k = 0; k < n; ++k) scatter(k, tables, row + k);
  }

  // The engine's results of sample k, in the results' order.
  void scatter(std::size_t k, const std::vector<Table>& tables, std::size_t row) {
    std::size_t pose = 0;
    for (std::size_t w = 0; w < wants_.size(); ++w) {
      float* out = tables[w].row(row);
      switch (wants_[w].kind) {
        case Want::Kind::com:
          std::copy_n(&com_[3 * k], 3, out);
          break;
        case Want::Kind::torque:
          std::copy_n(&torques_[nb_dofs * k + 6], nb_joints, out);
          break;
        case Want::Kind::jacobian:
          for (std::size_t r = 0; r < 6; ++r) {
            for (std::size_t c = 0; c < nb_dofs; ++c)
              *out++ = jacobians_[6 * (nb_dofs * k + c) + r];
          }
          break;
        case Want::Kind::pose:
          for (const unsigned long body : wants_[w].bodies) {
            KT::Math::Transform pose_world;
            std::copy_n(&poses_[12 * (nb_bodies * k + body)], 12, pose_world.m);
            write_pose(pose_world, out, pose++);
            out += 7;
          }
          break;
        default:
          break;
      }
    }
  }

  void narrow(const motion::State& state, float* row) const {
    const motion::Sample& sample = state.sample;
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 3; ++c) *row++ = static_cast<float>(sample.R_world(r, c));
      *row++ = static_cast<float>(sample.p_world(r));
    }
    const auto add = [&row](const auto& values) {
      for (const double value : values) *row++ = static_cast<float>(value);
    };
    row = std::fill_n(row, 6, 0.0f);  // the root's pose stands before
    add(sample.q);
    add(state.velocity);
    add(state.acceleration);
    add(sample.wrenches);
  }

  void write_pose(const KT::Math::Transform& pose, float* out, std::size_t column) {
    const Eigen::Quaterniond q = replay::quaternion_of(pose);
    const std::array<double, 4> parts = {q.w(), q.x(), q.y(), q.z()};
    out[0] = pose.m[3], out[1] = pose.m[7], out[2] = pose.m[11];
    for (std::size_t i = 0; i < 4; ++i) out[3 + i] = static_cast<float>(parts[i]);
    Orientations& o = orientations_;
    if (o.first.size() == column) {
      o.first.push_back(q);
      o.last.push_back(q);
      o.nearer.push_back(0);
      return;
    }
    const double product = q.dot(o.last[column]);
    o.nearer.push_back(product < 0 ? -1 : product > 0 ? 1 : 0);
    o.last[column] = q;
  }

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

/// Computes motions, all at once or piece by piece, on several threads: the same bits on any
/// number.
class Evaluator {
 public:
  Evaluator(py::object robot, const Names& wants, std::vector<unsigned long> wrench_bodies,
            unsigned threads)
      : wrench_bodies_(std::move(wrench_bodies)) {
    Robot& of = robot.cast<Robot&>();
    for (const std::string& name : wants) {
      const auto same = [&name](const Want& want) { return want.name == name; };
      if (std::any_of(wants_.begin(), wants_.end(), same)) {
        throw py::value_error("want: " + motion::quoted(name) + " is named twice");
      }
      wants_.push_back(want_of(name, of));
    }
    if (wants_.empty()) throw py::value_error("want: nothing is wanted");
    const bool plain = std::none_of(wants_.begin(), wants_.end(), [](const Want& want) {
      return want.kind == Want::Kind::signal;
    });
    std::shared_ptr<const std::vector<batch::BodyInertia>> inertias;
    engine_ = plain && engine_serves(of, inertias);
    for (unsigned k = 0; k < threads; ++k) {
      tavo::Plugin::System system;
      {
        const Exclusive alone;
        system = of.plugin().plugin.create();
      }
      workers_.push_back(
          std::make_unique<Worker>(wants_, std::move(system), wrench_bodies_, inertias, engine_));
    }
  }

  /// Samples begin to end - 1 of a motion, which go on where the last call's ended.
  py::list evaluate(const Samples& samples, std::size_t begin, std::size_t end,
                    const py::object& progress) {
    if (begin > end || end > samples.size()) throw py::index_error("no such samples");
    py::list results;
    std::vector<Table> tables;
    for (const Want& want : wants_) {
      py::array_t<float> table({end - begin, want.columns.size()});
      tables.push_back({table.mutable_data(), want.columns.size()});
      results.append(table);
    }
    std::vector<Orientations> chunks((end - begin + chunk_size - 1) / chunk_size);
    std::atomic<std::size_t> next{0}, done{0};
    std::atomic<bool> stop{false};
    const auto work = [&](Worker& worker) {
      for (;;) {
        const std::size_t k = next++;
        if (k >= chunks.size() || stop) return;
        const std::shared_lock<std::shared_mutex> unchanged(shared_inertias());
        const std::size_t first = begin + k * chunk_size;
        chunks[k] = worker.compute(samples, first, std::min(first + chunk_size, end), tables,
                                   k * chunk_size);
        ++done;
      }
    };
    interruptibly(
        [&] {
          std::vector<std::future<void>> others;
          for (std::size_t k = 1; k < std::min(workers_.size(), chunks.size()); ++k) {
            others.push_back(std::async(std::launch::async, [&, k] { work(*workers_[k]); }));
          }
          work(*workers_[0]);
          for (std::future<void>& other : others) other.get();
          if (!stop) choose_quaternions(chunks, tables);
        },
        stop, [&] { return static_cast<double>(done) / static_cast<double>(chunks.size()); },
        progress);
    return results;
  }

  py::list columns() const {
    py::list all;
    for (const Want& want : wants_) all.append(py::make_tuple(want.columns, want.may_be_missing));
    return all;
  }
  const char* computed_by() const { return engine_ ? "batch" : "plug-in"; }

 private:
  /// Whether the batch library has this plug-in's bits: it is the one that came along, and they
  /// agree on a few states with the inertias that are in force.
  static bool engine_serves(Robot& robot,
                            std::shared_ptr<const std::vector<batch::BodyInertia>>& inertias);

  // Which of the two quaternions is written, row after row, as the replay does.
  void choose_quaternions(const std::vector<Orientations>& chunks,
                          const std::vector<Table>& tables) {
    std::vector<float*> rows;
    std::vector<std::size_t> widths;
    for (std::size_t w = 0; w < wants_.size(); ++w) {
      if (wants_[w].kind != Want::Kind::pose) continue;
      for (std::size_t b = 0; b < wants_[w].bodies.size(); ++b) {
        rows.push_back(tables[w].data + 7 * b + 3);
        widths.push_back(tables[w].width);
      }
    }
    turned_.resize(rows.size(), false);
    const bool goes_on = !last_.empty();
    if (!goes_on) last_.resize(rows.size());
    for (std::size_t c = 0; c < chunks.size(); ++c) {
      const Orientations& chunk = chunks[c];
      for (std::size_t i = 0; i < chunk.nearer.size(); ++i) {
        const std::size_t p = i % rows.size();
        if (i >= rows.size()) {
          turned_[p] = (turned_[p] ? -chunk.nearer[i] : chunk.nearer[i]) < 0;
        } else if (c > 0 || goes_on) {
          Eigen::Quaterniond last = last_[p];
          if (turned_[p]) last.coeffs() *= -1;
          turned_[p] = replay::is_turned(chunk.first[p], last);
        } else {
          turned_[p] = replay::is_turned(chunk.first[p], std::nullopt);
        }
        if (turned_[p]) std::transform(rows[p], rows[p] + 4, rows[p], std::negate<>());
        rows[p] += widths[p];
      }
      last_ = chunk.last;
    }
  }

  std::vector<Want> wants_;
  std::vector<unsigned long> wrench_bodies_;
  bool engine_ = false;
  std::vector<std::unique_ptr<Worker>> workers_;
  // Of the row computed last: its orientations, and whether they were turned.
  std::vector<Eigen::Quaterniond> last_;
  std::vector<bool> turned_;
};

bool Evaluator::engine_serves(Robot& robot,
                              std::shared_ptr<const std::vector<batch::BodyInertia>>& inertias) {
  const OpenPlugin& plugin = robot.plugin();
  if (plugin.path != companion_plugin()) return false;
  if (!plugin.inertias.empty()) {
    auto all = std::make_shared<std::vector<batch::BodyInertia>>();
    tavo::Plugin::System at_origin;
    {
      const Exclusive alone;
      at_origin = plugin.plugin.create();
    }
    for (unsigned long i = 0; i < nb_bodies; ++i) {
      const auto handed = plugin.inertias.find(i);
      if (handed != plugin.inertias.end()) {
        all->push_back(handed->second);
      } else {
        const KT::Math::Position3D c = at_origin->getComPosition(i);
        all->push_back({at_origin->getMass(i), {c.x, c.y, c.z}, {}});
      }
    }
    inertias = all;
  }

  constexpr std::size_t n = 16;
  std::mt19937 random(1);
  const auto number = [&random] { return static_cast<float>(random() % 4001) / 1000 - 2; };
  std::vector<float> q(n * nb_dofs), dq(q), ddq(q), torques(q), com(3 * n), poses(276 * n),
      jacobians(168 * n);
  for (std::vector<float>* values : {&q, &dq, &ddq}) {
    std::generate(values->begin(), values->end(), number);
  }
  std::vector<float> roots;
  for (std::size_t k = 0; k < n; ++k) {
    const float* const x = &q[nb_dofs * k];
    const KT::Math::Transform root =
        KT::Math::transformFromPosition6D({x[0], x[1], x[2], x[3], x[4] / 2, x[5]});
    roots.insert(roots.end(), root.m, root.m + 12);
  }
  batch::Inputs in;
  in.nb_states = n;
  in.root_pose = {roots.data(), 12};
  in.q = {q.data(), nb_dofs};
  in.dq = {dq.data(), nb_dofs};
  in.ddq = {ddq.data(), nb_dofs};
  in.inertias = inertias ? inertias->data() : nullptr;
  batch::Outputs out;
  out.com = {com.data(), 3};
  out.poses = {poses.data(), 276};
  out.jacobian = {jacobians.data(), 168};
  out.torques = {torques.data(), nb_dofs};
  batch::Engine(1).evaluate(in, out);

  tavo::Plugin::System system;
  {
    const Exclusive alone;
    system = plugin.plugin.create();
  }
  const auto same = [](const float* a, const float* b, std::size_t size) {
    return std::memcmp(a, b, size * sizeof(float)) == 0;
  };
  for (std::size_t k = 0; k < n; ++k) {
    const auto joints = [k](const std::vector<float>& rows) {
      return std::vector<float>(&rows[nb_dofs * k + 6], &rows[nb_dofs * k] + nb_dofs);
    };
    const auto six = [k](const std::vector<float>& rows) {
      const float* const v = &rows[nb_dofs * k];
      return KT::Math::Velocity6D(v[0], v[1], v[2], v[3], v[4], v[5]);
    };
    KT::Math::Transform root;
    std::copy_n(&roots[12 * k], 12, root.m);
    system->setRootPose(root);
    system->setRootVelocity(six(dq));
    system->setRootAcceleration(six(ddq));
    system->setJointAnglesPos(joints(q));
    system->setJointAnglesVel(joints(dq));
    system->setJointAnglesAcc(joints(ddq));
    system->computeFwdKinematics();
    system->computeInverseDynamics();
    if (!same(&system->getComPosition().x, &com[3 * k], 3) ||
        !same(system->getJacobianInRoot().data(), &jacobians[168 * k], 168) ||
        !same(system->getJointAnglesTorque().first, &torques[nb_dofs * k + 6], nb_joints)) {
      return false;
    }
    for (std::size_t i = 0; i < nb_bodies; ++i) {
      if (!same(system->getPose(i).m, &poses[276 * k + 12 * i], 12)) return false;
    }
  }
  return true;
}

// The rates of every sample: those that are given, and the differences.
py::tuple rates(const Samples& samples) {
  const auto n = static_cast<py::ssize_t>(samples.size());
  const std::array<py::ssize_t, 2> shape = {n, static_cast<py::ssize_t>(nb_dofs)};
  py::array_t<double> dq(shape), ddq(shape);
  double *velocity = dq.mutable_data(), *acceleration = ddq.mutable_data();
  {
    const py::gil_scoped_release released;
    States states(samples, 0, samples.size());
    for (std::size_t k = 0; k < samples.size(); ++k) {
      const motion::State state = states.next();
      velocity = std::copy_n(state.velocity.data(), nb_dofs, velocity);
      acceleration = std::copy_n(state.acceleration.data(), nb_dofs, acceleration);
    }
  }
  return py::make_tuple(dq, ddq);
}

}  // namespace

void bind_evaluate(py::module_& m) {
  py::class_<Samples>(m, "Samples", "A motion's samples, for an Evaluator.")
      .def(py::init<py::handle, py::handle, py::handle, py::handle, py::handle, py::handle,
                    py::handle, std::vector<unsigned long>>(),
           py::arg("time"), py::arg("position"), py::arg("rotation"), py::arg("q"), py::arg("dq"),
           py::arg("ddq"), py::arg("wrenches"), py::arg("wrench_bodies"))
      .def("__len__", &Samples::size)
      .def("rates", &rates, "(N, 28) velocities and accelerations.");
  py::class_<Evaluator>(m, "Evaluator", "Computes motions, all at once or piece by piece.")
      .def(py::init<py::object, const Names&, std::vector<unsigned long>, unsigned>(),
           py::arg("robot"), py::arg("want"), py::arg("wrench_bodies"), py::arg("threads"))
      .def("evaluate", &Evaluator::evaluate, py::arg("samples"), py::arg("begin"), py::arg("end"),
           py::arg("progress"), "Tables of samples begin to end - 1, one a want.")
      .def_property_readonly("columns", &Evaluator::columns,
                             "For each want the names of its columns, and whether nan means that "
                             "there is none.")
      .def_property_readonly("computed_by", &Evaluator::computed_by, "batch or plug-in.");
}

}  // namespace orvek23::python
