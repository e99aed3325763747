#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "motion/rates.hpp"
#include "python/core/arguments.hpp"

namespace orvek23::python {
namespace motion = tavo::motion;

/// The samples of a motion as NumPy arrays, one row a sample, as the Python class Motion keeps
/// them.
class Samples {
 public:
  /// `dq`, `ddq` (N x 28, NaN where nothing is given) may be none. Sizes are checked: ValueError.
  Samples(py::handle time, py::handle position, py::handle rotation, py::handle q, py::handle dq,
          py::handle ddq, py::handle wrenches, std::vector<unsigned long> wrench_bodies);

  std::size_t size() const { return size_; }
  double time(std::size_t k) const { return time_.data()[k]; }
  const std::vector<unsigned long>& wrench_bodies() const { return wrench_bodies_; }
  motion::Sample at(std::size_t k) const;

 private:
  using Array = py::array_t<double, py::array::c_style | py::array::forcecast>;
  Array table(py::handle value, const char* what, std::size_t columns) const;

  Array time_;
  std::size_t size_;
  std::vector<unsigned long> wrench_bodies_;
  Array position_, rotation_, q_, wrenches_;
  std::optional<Array> dq_, ddq_;
};

/// Runs `work` on another thread without the interpreter's lock, and meanwhile asks the
/// interpreter, ten times a second, whether it was interrupted, and calls `progress`, if any, with
/// what `share` gives (0 to 1). An interruption or an exception in `progress` sets `stop`, upon
/// which `work` must soon return, and is thrown when it has.
void interruptibly(const std::function<void()>& work, std::atomic<bool>& stop,
                   const std::function<double()>& share, const py::object& progress);

}  // namespace orvek23::python
