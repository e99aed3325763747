#include <exception>

#include "motion/csv_reader.hpp"
#include "python/core/robot.hpp"

PYBIND11_MODULE(_core, m) {
  namespace py = pybind11;
  m.doc() = "The compiled part of orvek23: a plug-in behind the loader, logs, batches.";
  m.attr("__version__") = ORVEK23_VERSION;
  py::register_exception<tavo::motion::InputError>(m, "InputError", PyExc_ValueError).doc() =
      "A fault in an input file, with file, line and column.";
  orvek23::python::bind_robot(m);
  orvek23::python::bind_quantities(m);
  orvek23::python::bind_logs(m);
  orvek23::python::bind_evaluate(m);
  orvek23::python::bind_page(m);
}
