#include "python/core/arguments.hpp"

#include <algorithm>
#include <cmath>

#include <Eigen/Geometry>
#include <Eigen/LU>

#include "motion/messages.hpp"
#include "motion/nearest_name.hpp"

namespace orvek23::python {

unsigned long index_of(py::handle which, const Names& names, const char* kind) {
  if (py::isinstance<py::str>(which)) {
    const auto name = which.cast<std::string>();
    const auto found = std::find(names.begin(), names.end(), name);
    if (found != names.end()) return static_cast<unsigned long>(found - names.begin());
    const auto meant = tavo::motion::nearest_name(name, names);
    throw py::key_error(std::string("no ") + kind + " named " + tavo::motion::quoted(name) +
                        (meant ? ", did you mean " + tavo::motion::quoted(*meant) + "?" : ""));
  }
  if (!PyIndex_Check(which.ptr())) {
    throw py::type_error(std::string("a ") + kind + " is a name or an index, not " +
                         std::string(py::str(py::type::handle_of(which).attr("__name__"))));
  }
  const py::ssize_t index = PyNumber_AsSsize_t(which.ptr(), PyExc_IndexError);
  if (index == -1 && PyErr_Occurred()) throw py::error_already_set();
  if (index < 0 || index >= static_cast<py::ssize_t>(names.size())) {
    throw py::index_error(std::string("no ") + kind + " " + std::to_string(index) + ": there are " +
                          std::to_string(names.size()) + ", from 0 on");
  }
  return static_cast<unsigned long>(index);
}

py::array_t<double> numbers(py::handle value, const std::string& what) {
  using Array = py::array_t<double, py::array::c_style | py::array::forcecast>;
  Array result = Array::ensure(value);
  if (!result || py::isinstance<py::str>(value)) {
    PyErr_Clear();
    throw py::value_error(what + ": numbers are needed, not " +
                          std::string(py::repr(value)).substr(0, 60));
  }
  return result;
}

namespace {

Eigen::Matrix3d rotation_of_angles(double roll, double pitch, double yaw) {
  using Eigen::AngleAxisd, Eigen::Vector3d;
  return (AngleAxisd(yaw, Vector3d::UnitZ()) * AngleAxisd(pitch, Vector3d::UnitY()) *
          AngleAxisd(roll, Vector3d::UnitX()))
      .toRotationMatrix();
}

Eigen::Matrix3d rotation_of_quaternion(const Eigen::Quaterniond& q, const std::string& what) {
  if (!(std::abs(q.norm() - 1) <= 0.001 + 1e-9)) {
    throw py::value_error(what + ": the quaternion w, x, y, z has length " +
                          std::to_string(q.norm()) + ", not 1 to within 0.001");
  }
  return q.normalized().toRotationMatrix();
}

void require_rotation(const Eigen::Matrix3d& R, const std::string& what) {
  if (!R.allFinite() || (R * R.transpose() - Eigen::Matrix3d::Identity()).norm() > 0.01 ||
      R.determinant() < 0) {
    throw py::value_error(what + ": the 3 x 3 matrix is no rotation");
  }
}

}  // namespace

Eigen::Matrix3d rotation_from(py::handle value, const std::string& what) {
  const py::array_t<double> given = numbers(
      py::hasattr(value, "as_matrix") ? value.attr("as_matrix")() : value.cast<py::object>(), what);
  Eigen::Matrix3d R;
  if (given.ndim() == 1 && given.shape(0) == 3) {
    R = rotation_of_angles(given.at(0), given.at(1), given.at(2));
  } else if (given.ndim() == 1 && given.shape(0) == 4) {
    R = rotation_of_quaternion({given.at(0), given.at(1), given.at(2), given.at(3)}, what);
  } else if (given.ndim() == 2 && given.shape(0) == 3 && given.shape(1) == 3) {
    R = matrix<3, 3>(given, what);
  } else {
    throw py::value_error(what +
                          ": a rotation is a 3 x 3 matrix, roll, pitch, yaw, a quaternion w, x, "
                          "y, z or a scipy Rotation");
  }
  require_rotation(R, what);
  return R;
}

py::array rotations_from(py::handle value) {
  const py::array_t<double> given = numbers(value, "rotation");
  const py::ssize_t n = given.ndim() > 0 ? given.shape(0) : 0;
  const py::ssize_t width = n > 0 ? given.size() / n : 0;
  if (width != 3 && width != 4 && width != 9) {
    throw py::value_error("rotations: rows of 3 angles, of 4 or 3 x 3 are needed");
  }
  py::array_t<double> result({n, py::ssize_t{3}, py::ssize_t{3}});
  using Rows = Eigen::Matrix<double, 3, 3, Eigen::RowMajor>;
  for (py::ssize_t k = 0; k < n; ++k) {
    const double* const x = given.data() + k * width;
    const std::string what = "sample " + std::to_string(k);
    Eigen::Map<Rows> R(result.mutable_data() + 9 * k);
    if (width == 3) {
      R = rotation_of_angles(x[0], x[1], x[2]);
    } else if (width == 4) {
      R = rotation_of_quaternion({x[0], x[1], x[2], x[3]}, what);
    } else {
      R = Eigen::Map<const Rows>(x);
      require_rotation(R, what);
    }
  }
  return result;
}

tavo::quantities::Pose pose_from(py::handle value, const std::string& what) {
  tavo::quantities::Pose pose;
  if ((py::isinstance<py::tuple>(value) || py::isinstance<py::list>(value)) &&
      py::len(value) == 2) {
    const auto pair = value.cast<py::sequence>();
    pose.R = rotation_from(py::object(pair[0]), what);
    pose.p = matrix<3>(py::object(pair[1]), what + ": p");
  } else {
    const py::array_t<double> given = numbers(value, what);
    const bool table =
        given.ndim() == 2 && given.shape(1) == 4 && (given.shape(0) == 3 || given.shape(0) == 4);
    if (table) {
      Eigen::Matrix3d R;
      for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) R(r, c) = given.at(r, c);
        pose.p[r] = given.at(r, 3);
      }
      pose.R = rotation_from(array(R), what);
      if (given.shape(0) == 4 &&
          matrix<4, 4>(given, what).row(3) != Eigen::RowVector4d(0, 0, 0, 1)) {
        throw py::value_error(what + ": the last row of a 4 x 4 pose is 0, 0, 0, 1");
      }
    } else if (given.ndim() == 1 && (given.shape(0) == 6 || given.shape(0) == 7)) {
      const py::array all = given;
      pose.p = matrix<3>(all[py::slice(0, 3, 1)], what);
      pose.R = rotation_from(all[py::slice(3, given.shape(0), 1)], what);
    } else {
      throw py::value_error(what +
                            ": a pose is 4 x 4, 3 x 4, (rotation, p), x, y, z, roll, pitch, yaw or "
                            "x, y, z, qw, qx, qy, qz");
    }
  }
  if (!pose.p.allFinite()) throw py::value_error(what + ": the position is not finite");
  return pose;
}

std::vector<float> joint_values(py::handle value, const std::vector<float>& present,
                                const Names& joints, const std::string& what) {
  if (py::hasattr(value, "items")) {
    std::vector<float> values = present;
    for (const py::handle item : value.attr("items")()) {
      const auto pair = item.cast<py::tuple>();
      const py::array_t<double> number = numbers(py::object(pair[1]), what);
      if (number.size() != 1) throw py::value_error(what + ": one number a joint is needed");
      values[index_of(py::object(pair[0]), joints, "joint angle")] =
          static_cast<float>(*number.data());
    }
    return values;
  }
  const py::array_t<double> given = numbers(value, what);
  if (given.ndim() != 1 || given.size() != static_cast<py::ssize_t>(joints.size())) {
    throw py::value_error(what + " has " + std::to_string(given.size()) + " entries, " +
                          std::to_string(joints.size()) + " needed");
  }
  std::vector<float> values(joints.size());
  std::transform(given.data(), given.data() + given.size(), values.begin(),
                 [](double number) { return static_cast<float>(number); });
  return values;
}

py::array read_only(py::array array) {
  py::detail::array_proxy(array.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
  return array;
}

py::array view(py::handle owner, const float* data, std::vector<py::ssize_t> shape,
               std::vector<py::ssize_t> strides) {
  for (py::ssize_t& stride : strides) stride *= static_cast<py::ssize_t>(sizeof(float));
  return read_only(
      py::array(py::dtype::of<float>(), std::move(shape), std::move(strides), data, owner));
}

py::array array(const tavo::quantities::Pose& pose) {
  Eigen::Matrix4d T = Eigen::Matrix4d::Identity();
  T.topLeftCorner<3, 3>() = pose.R;
  T.topRightCorner<3, 1>() = pose.p;
  return array(T);
}

KT::Math::Transform transform(py::handle value, const char* what) {
  return tavo::quantities::to_host(pose_from(value, what));
}

KT::Math::Velocity6D six(py::handle value, const char* what) {
  const Eigen::Matrix<float, 6, 1> v = matrix<6>(value, what).cast<float>();
  return {v[0], v[1], v[2], v[3], v[4], v[5]};
}

py::array six(const KT::Math::Velocity6D& v) {
  Eigen::Matrix<float, 6, 1> values;
  values << v.vx, v.vy, v.vz, v.wx, v.wy, v.wz;
  return array(values);
}

std::vector<float> floats(const tavo::JointRange& range) {
  return {range.first, range.second};
}

}  // namespace orvek23::python
