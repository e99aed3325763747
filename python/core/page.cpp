#include "apps/replay/report/page.hpp"

#include <filesystem>
#include <shared_mutex>
#include <system_error>

#include "python/core/worker.hpp"

namespace orvek23::python {
namespace {

std::filesystem::path page_template() {
  const std::filesystem::path place = companion_report_template();
  std::error_code absent;
  if (!std::filesystem::exists(place, absent)) {
    PyErr_SetString(PyExc_FileNotFoundError,
                    (place.string() +
                     ": is not there; to_html needs it, the page's template: install the Debian "
                     "package orvek23-tools, or build with -DORVEK23_REPORT=ON, which needs "
                     "Node.js and npm, and copy the build folder's share/orvek23/report.html there")
                        .c_str());
    throw py::error_already_set();
  }
  return place;
}

// The page that orvek23-replay --report writes of the same motion, sample by sample as it does.
void write_page(Robot& robot, const Samples& samples, const std::string& path,
                const std::optional<std::string>& limits_path, const std::string& title,
                const py::object& progress) {
  std::vector<replay::JointLimits> limits;
  if (limits_path) limits = replay::read_limits(*limits_path, robot.names().joints);
  replay::ReportPage page(path, page_template());
  tavo::Plugin::System system;
  {
    const Exclusive alone;
    system = robot.plugin().plugin.create();
  }
  const std::size_t size = samples.size();
  std::atomic<std::size_t> done{0};
  std::atomic<bool> stop{false};
  interruptibly(
      [&] {
        const std::shared_lock<std::shared_mutex> unchanged(shared_inertias());
        system->computeFwdKinematics();
        replay::Driver driver(*system, samples.wrench_bodies(), {});
        replay::Observation observed(*system, samples.wrench_bodies());
        replay::Recording recording(observed);
        States states(samples, 0, size);
        for (; done < size; ++done) {
          if (stop) return;
          const motion::State state = states.next();
          driver.run(state);
          observed.update(state);
          recording.add(state.sample.time, observed);
        }
        page.commit(replay::report_data(recording, limits, title));
      },
      stop, [&] { return static_cast<double>(done) / static_cast<double>(size); }, progress);
}

}  // namespace

void bind_page(py::module_& m) {
  m.def("write_page", &write_page, py::arg("robot"), py::arg("samples"), py::arg("path"),
        py::arg("limits"), py::arg("title"), py::arg("progress"),
        "The page of orvek23-replay --report.");
}

}  // namespace orvek23::python
