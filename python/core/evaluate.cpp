#include <algorithm>
#include <functional>
#include <future>
#include <mutex>
#include <utility>

#include "motion/messages.hpp"
#include "python/core/worker.hpp"

namespace orvek23::python {
namespace {

constexpr std::size_t chunk_size = 1024;

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
    engine_ = plain && batch_serves(of, inertias);
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
            // Where no thread is to be had, this one does all: the bits don't depend on it.
            others.push_back(std::async([&, k] { work(*workers_[k]); }));
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
