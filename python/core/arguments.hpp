#pragma once

#include <cstddef>
#include <host/rigid_body_system.hpp>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>
#include <quantities/types.hpp>
#include <string>
#include <vector>

#include <Eigen/Core>

/// The module's compiled part: arguments from Python, checked, and results for it.
namespace orvek23::python {
namespace py = pybind11;

using Names = std::vector<std::string>;

/// The place of `which`, a name or an index, among `names`. KeyError, with the nearest name, or
/// IndexError; `kind` says what it is in the message.
unsigned long index_of(py::handle which, const Names& names, const char* kind);

/// The numbers of anything that NumPy makes an array of. ValueError if it cannot.
py::array_t<double> numbers(py::handle value, const std::string& what);

/// As `numbers`, of these sizes; ValueError otherwise.
template <int Rows, int Columns = 1>
Eigen::Matrix<double, Rows, Columns> matrix(py::handle value, const std::string& what);

/// A world (or other) pose: 4 x 4, 3 x 4, (rotation, p) with a 3 x 3 matrix, roll, pitch, yaw, a
/// quaternion w, x, y, z or a scipy Rotation; x, y, z, roll, pitch, yaw; x, y, z, qw, qx, qy, qz.
/// ValueError if it is none of these, no rotation or not finite.
tavo::quantities::Pose pose_from(py::handle value, const std::string& what);

/// A rotation in any of the forms that pose_from takes for one.
Eigen::Matrix3d rotation_from(py::handle value, const std::string& what);

/// Rows of such: N x 3, N x 4 or N x 3 x 3 to N x 3 x 3.
py::array rotations_from(py::handle value);

/// 22 joint values: as many numbers, or a mapping from names or indices, which changes `present`.
std::vector<float> joint_values(py::handle value, const std::vector<float>& present,
                                const Names& joints, const std::string& what);

/// Makes an array read-only.
py::array read_only(py::array array);

/// `data` as it stands, without a copy: read-only, `owner` lives as long. Strides in floats.
py::array view(py::handle owner, const float* data, std::vector<py::ssize_t> shape,
               std::vector<py::ssize_t> strides);

/// A new array of a fixed or dynamic Eigen matrix; one column makes one dimension.
template <class Derived>
py::array array(const Eigen::MatrixBase<Derived>& values) {
  using Scalar = typename Derived::Scalar;
  const auto rows = static_cast<py::ssize_t>(values.rows());
  const auto columns = static_cast<py::ssize_t>(values.cols());
  py::array_t<Scalar> result(Derived::ColsAtCompileTime == 1
                                 ? std::vector<py::ssize_t>{rows}
                                 : std::vector<py::ssize_t>{rows, columns});
  Eigen::Map<Eigen::Matrix<Scalar, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>>(
      result.mutable_data(), rows, columns) = values;
  return result;
}

/// 4 x 4.
py::array array(const tavo::quantities::Pose& pose);

/// As pose_from, in the interface's type.
KT::Math::Transform transform(py::handle value, const char* what);

/// Six numbers, linear first, and back.
KT::Math::Velocity6D six(py::handle value, const char* what);
py::array six(const KT::Math::Velocity6D& v);

std::vector<float> floats(const tavo::JointRange& range);

template <int Rows, int Columns>
Eigen::Matrix<double, Rows, Columns> matrix(py::handle value, const std::string& what) {
  const py::array_t<double> given = numbers(value, what);
  const bool fits = Columns == 1
                        ? given.ndim() == 1 && given.shape(0) == Rows
                        : given.ndim() == 2 && given.shape(0) == Rows && given.shape(1) == Columns;
  if (!fits) {
    std::string shape;
    for (py::ssize_t k = 0; k < given.ndim(); ++k) {
      shape += (k > 0 ? " x " : "") + std::to_string(given.shape(k));
    }
    throw py::value_error(what + " has " + (shape.empty() ? "1" : shape) + " entries, " +
                          std::to_string(Rows) +
                          (Columns == 1 ? "" : " x " + std::to_string(Columns)) + " needed");
  }
  constexpr auto order = Columns == 1 ? Eigen::ColMajor : Eigen::RowMajor;
  return Eigen::Map<const Eigen::Matrix<double, Rows, Columns, order>>(given.data());
}

}  // namespace orvek23::python
