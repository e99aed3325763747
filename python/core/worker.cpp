#include "python/core/worker.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "apps/replay/selection.hpp"

namespace orvek23::python {
namespace {

std::vector<replay::Signal> signals_of(const std::string& name, const tavo::RigidBodySystem& s) {
  replay::Selection selection;
  selection.signals = name;
  return replay::selected_signals(selection, s);
}

}  // namespace

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

Worker::Worker(const std::vector<Want>& wants, tavo::Plugin::System system,
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

Orientations Worker::compute(const Samples& samples, std::size_t begin, std::size_t end,
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

void Worker::compute_by_system(States& states, const std::vector<Table>& tables, std::size_t row) {
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

void Worker::compute_by_engine(States& states, std::size_t n, const std::vector<Table>& tables,
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

void Worker::scatter(std::size_t k, const std::vector<Table>& tables, std::size_t row) {
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
          for (std::size_t c = 0; c < nb_dofs; ++c) *out++ = jacobians_[6 * (nb_dofs * k + c) + r];
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

void Worker::narrow(const motion::State& state, float* row) const {
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

void Worker::write_pose(const KT::Math::Transform& pose, float* out, std::size_t column) {
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

}  // namespace orvek23::python
