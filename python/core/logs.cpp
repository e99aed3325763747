#include "python/core/logs.hpp"

#include <chrono>
#include <fstream>
#include <future>
#include <memory>
#include <utility>

#include "apps/replay/degrees.hpp"
#include "motion/append_number.hpp"
#include "motion/messages.hpp"
#include "motion/motion_file.hpp"
#include "motion/nearest_name.hpp"
#include "python/core/robot.hpp"

namespace orvek23::python {
namespace {

// Rows of numbers that grow, and then are an array without a copy.
class Table {
 public:
  template <class Values>
  void add(const Values& values) {
    rows_->insert(rows_->end(), values.data(), values.data() + values.size());
  }
  void add(double value) { rows_->push_back(value); }
  py::array take(std::size_t rows, std::vector<py::ssize_t> rest = {}) {
    rest.insert(rest.begin(), static_cast<py::ssize_t>(rows));
    std::vector<double>* const kept = rows_.release();
    rows_ = std::make_unique<std::vector<double>>();
    const py::capsule owner(kept, [](void* p) { delete static_cast<std::vector<double>*>(p); });
    return py::array_t<double>(std::move(rest), kept->data(), owner);
  }

 private:
  std::unique_ptr<std::vector<double>> rows_ = std::make_unique<std::vector<double>>();
};

/// A motion file, read piece by piece.
class LogReader {
 public:
  LogReader(const std::string& path, py::object robot, std::optional<char> separator,
            bool ignore_unknown)
      : names_(robot.cast<Robot&>().names()),
        file_(path, names_, {separator, ignore_unknown}),
        wrench_bodies_(file_.wrench_bodies()) {}

  // The next samples, at most so many; None past the last.
  py::object next(std::size_t most, const py::object& progress) {
    std::atomic<bool> stop{false};
    std::atomic<double> share{0};
    std::size_t count = 0;
    interruptibly(
        [&] {
          while (count < most && !stop) {
            const std::optional<motion::Sample> sample = file_.next();
            if (!sample) break;
            add(*sample);
            if (++count % 1024 == 0) share = file_.share_read().value_or(0);
          }
        },
        stop, [&] { return share.load(); }, progress);
    if (count == 0) return py::none();
    py::dict piece;
    const auto joints = static_cast<py::ssize_t>(names_.joints.size());
    piece["time"] = time_.take(count);
    piece["position"] = position_.take(count, {3});
    piece["rotation"] = rotation_.take(count, {3, 3});
    piece["q"] = q_.take(count, {joints});
    piece["wrenches"] =
        wrenches_.take(count, {static_cast<py::ssize_t>(6 * wrench_bodies_.size())});
    piece["dq"] = gives_velocity_ ? py::object(velocity_.take(count, {6 + joints})) : py::none();
    piece["ddq"] =
        gives_acceleration_ ? py::object(acceleration_.take(count, {6 + joints})) : py::none();
    return piece;
  }

  Names wrench_bodies() const {
    Names names;
    for (const unsigned long body : wrench_bodies_) names.push_back(names_.bodies[body]);
    return names;
  }
  const Names& ignored() const { return file_.ignored(); }
  // What looks like a mistake in what was read so far.
  std::optional<std::string> hint() const { return degrees_.hint(names_.joints); }

 private:
  void add(const motion::Sample& sample) {
    if (!started_) {
      gives_velocity_ = !sample.velocity.array().isNaN().all();
      gives_acceleration_ = !sample.acceleration.array().isNaN().all();
      started_ = true;
    }
    time_.add(sample.time);
    position_.add(sample.p_world);
    rotation_.add(Eigen::Matrix3d(sample.R_world.transpose()));  // row by row
    q_.add(sample.q);
    wrenches_.add(sample.wrenches);
    if (gives_velocity_) velocity_.add(sample.velocity);
    if (gives_acceleration_) acceleration_.add(sample.acceleration);
    degrees_.add(sample);
  }

  motion::RobotNames names_;
  motion::MotionFile file_;
  std::vector<unsigned long> wrench_bodies_;
  bool started_ = false, gives_velocity_ = false, gives_acceleration_ = false;
  Table time_, position_, rotation_, q_, wrenches_, velocity_, acceleration_;
  replay::DegreesGuess degrees_;
};

/// The replay's results file, line by line.
class CsvWriter {
 public:
  CsvWriter(const std::string& path, const Names& columns) : file_(path, std::ios::binary) {
    file_.exceptions(std::ios::badbit | std::ios::failbit);
    file_ << "time";
    for (const std::string& column : columns) file_ << ',' << column;
    file_ << '\n';
  }

  void add(py::array_t<double, py::array::c_style> time,
           const std::vector<py::array_t<float, py::array::c_style>>& tables) {
    struct Columns {
      const float* data;
      std::size_t width;
    };
    std::vector<Columns> columns;
    for (const auto& table : tables) {
      if (table.ndim() != 2 || table.shape(0) != time.size()) {
        throw py::value_error("results of another length than the time");
      }
      columns.push_back({table.data(), static_cast<std::size_t>(table.shape(1))});
    }
    const auto size = static_cast<std::size_t>(time.size());
    const double* const times = time.data();
    std::atomic<bool> stop{false};
    interruptibly(
        [&] {
          std::string text;
          for (std::size_t k = 0; k < size && !stop; ++k) {
            motion::append_number(text, times[k]);
            for (const auto& [data, width] : columns) {
              for (std::size_t j = k * width; j < (k + 1) * width; ++j) {
                text += ',';
                motion::append_number(text, data[j]);
              }
            }
            text += '\n';
            if (text.size() > 1 << 16 || k + 1 == size) {
              file_ << text;
              text.clear();
            }
          }
        },
        stop, [] { return 0.0; }, py::none());
  }
  void close() { file_.close(); }

 private:
  std::ofstream file_;
};

}  // namespace

void interruptibly(const std::function<void()>& work, std::atomic<bool>& stop,
                   const std::function<double()>& share, const py::object& progress) {
  using namespace std::chrono_literals;
  std::future<void> done;
  try {
    for (bool ready = false; !ready;) {
      if (done.valid()) {
        if (PyErr_CheckSignals() != 0) throw py::error_already_set();
        if (!progress.is_none()) progress(share());
      }
      const py::gil_scoped_release released;
      if (!done.valid()) done = std::async(work);
      const std::future_status status = done.wait_for(100ms);
      if (status == std::future_status::deferred) done.wait();  // by this thread: no other
      ready = status != std::future_status::timeout;
    }
  } catch (...) {
    stop = true;
    const py::gil_scoped_release released;
    if (done.valid()) done.wait();
    throw;
  }
  done.get();
  if (!progress.is_none()) progress(1.0);
}

Samples::Samples(py::handle time, py::handle position, py::handle rotation, py::handle q,
                 py::handle dq, py::handle ddq, py::handle wrenches,
                 std::vector<unsigned long> wrench_bodies)
    : time_(numbers(time, "time")),
      size_(static_cast<std::size_t>(time_.size())),
      wrench_bodies_(std::move(wrench_bodies)),
      position_(table(position, "position", 3)),
      rotation_(table(rotation, "rotation", 9)),
      q_(table(q, "q", 22)),
      wrenches_(table(wrenches, "wrenches", 6 * wrench_bodies_.size())) {
  if (!dq.is_none()) dq_ = table(dq, "dq", 28);
  if (!ddq.is_none()) ddq_ = table(ddq, "ddq", 28);
}

Samples::Array Samples::table(py::handle value, const char* what, std::size_t columns) const {
  Array given = numbers(value, what);
  if (static_cast<std::size_t>(given.size()) != size_ * columns) {
    throw py::value_error(std::string(what) + " has " + std::to_string(given.size()) +
                          " numbers, " + std::to_string(size_) + " x " + std::to_string(columns) +
                          " needed");
  }
  return given;
}

motion::Sample Samples::at(std::size_t k) const {
  using Row = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;
  const auto nothing = motion::Coordinates::Constant(28, std::numeric_limits<double>::quiet_NaN());
  const std::size_t width = 6 * wrench_bodies_.size();
  return {0,
          time_.data()[k],
          Eigen::Map<const Eigen::Vector3d>(position_.data() + 3 * k),
          Eigen::Map<const Row>(rotation_.data() + 9 * k),
          Eigen::Map<const Eigen::Matrix<double, 22, 1>>(q_.data() + 22 * k),
          Eigen::Map<const Eigen::VectorXd>(wrenches_.data() + width * k,
                                            static_cast<Eigen::Index>(width)),
          dq_ ? motion::Coordinates(
                    Eigen::Map<const Eigen::Matrix<double, 28, 1>>(dq_->data() + 28 * k))
              : motion::Coordinates(nothing),
          ddq_ ? motion::Coordinates(
                     Eigen::Map<const Eigen::Matrix<double, 28, 1>>(ddq_->data() + 28 * k))
               : motion::Coordinates(nothing)};
}

void bind_logs(py::module_& m) {
  py::class_<LogReader>(m, "LogReader", "A motion file, read piece by piece.")
      .def(py::init<const std::string&, py::object, std::optional<char>, bool>(), py::arg("path"),
           py::arg("robot"), py::arg("separator"), py::arg("ignore_unknown"))
      .def("next", &LogReader::next, py::arg("most"), py::arg("progress"),
           "The next samples as a dict of arrays, None past the last.")
      .def_property_readonly("wrench_bodies", &LogReader::wrench_bodies, "Names.")
      .def_property_readonly("ignored", &LogReader::ignored, "Columns that are passed over.")
      .def("hint", &LogReader::hint, "What looks like a mistake, None if nothing does.");
  py::class_<CsvWriter>(m, "CsvWriter", "The replay's results file.")
      .def(py::init<const std::string&, const Names&>(), py::arg("path"), py::arg("columns"))
      .def("add", &CsvWriter::add, py::arg("time"), py::arg("tables"), "Adds rows.")
      .def("close", &CsvWriter::close, "All is written; OSError if it could not be.");
  m.def("rotations", &rotations_from, py::arg("values"),
        "(N, 3, 3) of N x 3 angles roll, pitch, yaw, quaternions w, x, y, z or matrices.");
  m.def("nearest_name", &tavo::motion::nearest_name, py::arg("wrong"), py::arg("names"),
        "The name that a wrong one is probably meant for.");
}

}  // namespace orvek23::python
