#include "motion/motion_columns.hpp"

#include <algorithm>
#include <map>
#include <string>

#include "motion/messages.hpp"
#include "motion/nearest_name.hpp"

namespace tavo::motion {
namespace {

using Names = std::vector<std::string>;

const Names position = {"x", "y", "z"};
const Names angles = {"roll", "pitch", "yaw"};
const Names quaternion = {"qw", "qx", "qy", "qz"};
const Names wrench_parts = {".fx", ".fy", ".fz", ".nx", ".ny", ".nz"};

Names wrench_columns(const std::string& body) {
  Names names;
  for (const std::string& part : wrench_parts) names.push_back(body + part);
  return names;
}

// Columns of a rate that stand or fall together: the root's six, then one a joint.
std::vector<Names> rate_columns(const std::string& prefix, const RobotNames& robot) {
  std::vector<Names> groups(1);
  for (const std::string& coordinate : robot.coordinates()) {
    if (groups[0].size() == 6) groups.emplace_back();
    groups.back().push_back(prefix + coordinate);
  }
  return groups;
}

Names every_column(const RobotNames& robot) {
  Names names = {"time"};
  const auto add = [&names](const Names& more) {
    names.insert(names.end(), more.begin(), more.end());
  };
  add(position);
  add(angles);
  add(quaternion);
  add(robot.joints);
  for (const char* prefix : {"d.", "dd."}) {
    for (const Names& group : rate_columns(prefix, robot)) add(group);
  }
  for (const std::string& body : robot.bodies) add(wrench_columns(body));
  return names;
}

// Somebody may take d.x for the derivative of x in the world.
bool is_rate_of_root_pose(const std::string& name) {
  const std::size_t prefix = name.starts_with("d.") ? 2 : name.starts_with("dd.") ? 3 : 0;
  const auto has = [pose = name.substr(prefix)](const Names& names) {
    return std::find(names.begin(), names.end(), pose) != names.end();
  };
  return prefix > 0 && (has(position) || has(angles) || has(quaternion));
}

std::string list(const Names& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    text += (i == 0 ? "" : i + 1 == names.size() ? " and " : ", ") + quoted(names[i]);
  }
  return text;
}

// The columns by their names. Which ones are missing is said of all of them at once.
class Header {
 public:
  Header(CsvReader& csv, const Names& known, bool ignore_unknown) : csv_(csv) {
    for (std::size_t column = 0; column < csv.header().size(); ++column) {
      const std::string& name = csv.header()[column];
      if (std::find(known.begin(), known.end(), name) == known.end()) {
        if (!ignore_unknown) throw unknown(column, known);
        csv.pass_over(column);
        ignored_.push_back(column);
        continue;
      }
      const auto [other, fresh] = column_of_.emplace(name, column);
      if (!fresh) {
        throw csv.error(
            column, quoted(name) + " is column " + std::to_string(other->second + 1) + " already");
      }
    }
  }

  bool has(const std::string& name) const { return column_of_.count(name) > 0; }

  // `rule` says why these belong together. Empty if any is missing.
  Columns required(const Names& names, const std::string& rule = "") {
    Columns columns;
    for (const std::string& name : names) {
      if (has(name)) {
        columns.push_back(column_of_.at(name));
      } else {
        missing_[rule].push_back(name);
      }
    }
    return columns.size() == names.size() ? columns : Columns();
  }

  Columns all_or_none(const Names& names, const std::string& rule) {
    const bool any = std::any_of(names.begin(), names.end(),
                                 [this](const std::string& name) { return has(name); });
    return any ? required(names, rule) : Columns();
  }

  void require_all_found() const {
    std::string fault;
    for (const auto& [rule, names] : missing_) {
      fault += (fault.empty() ? "" : "; ") +
               std::string(names.size() > 1 ? "columns " : "column ") + list(names) +
               (names.size() > 1 ? " are missing" : " is missing") + rule;
      for (const std::string& name : names) fault += near_miss(name);
    }
    if (!fault.empty()) throw csv_.error(fault);
  }

  Names ignored() const {
    Names names;
    for (const std::size_t column : ignored_) names.push_back(csv_.header()[column]);
    return names;
  }

 private:
  InputError unknown(std::size_t column, const Names& known) const {
    const std::string& name = csv_.header()[column];
    if (is_rate_of_root_pose(name)) {
      return csv_.error(column, quoted(name) +
                                    " is no column: the root's rates are in its own "
                                    "frame, d.vx .. d.wz and dd.vx .. dd.wz");
    }
    InputError error = csv_.error(column, unknown_name("column", name, known));
    if (!nearest_name(name, known)) throw UnknownColumn(error.what());
    return error;
  }

  // Among the ignored columns may be the one that is meant.
  std::string near_miss(const std::string& name) const {
    for (const std::size_t column : ignored_) {
      if (nearest_name(csv_.header()[column], {name})) {
        return ", column " + std::to_string(column + 1) + " is " + quoted(csv_.header()[column]);
      }
    }
    return "";
  }

  CsvReader& csv_;
  std::map<std::string, std::size_t> column_of_;
  std::vector<std::size_t> ignored_;
  std::map<std::string, Names> missing_;  // by rule
};

std::vector<MotionColumns::Rate> find_rates(Header& header, const std::string& prefix,
                                            const RobotNames& robot) {
  std::vector<MotionColumns::Rate> rates;
  std::size_t coordinate = 0;
  for (const Names& group : rate_columns(prefix, robot)) {
    const Columns columns =
        header.all_or_none(group, ": the root's rates have all six columns or none");
    if (!columns.empty()) rates.push_back({coordinate, columns});
    coordinate += group.size();
  }
  return rates;
}

void find_orientation(const CsvReader& csv, Header& header, MotionColumns& found) {
  const auto in_file = [&header](const std::string& name) { return header.has(name); };
  if (std::none_of(quaternion.begin(), quaternion.end(), in_file)) {
    found.angles =
        header.required(angles, " (the root's orientation is roll, pitch, yaw or qw, qx, qy, qz)");
    return;
  }
  const auto angle = std::find_if(angles.begin(), angles.end(), in_file);
  if (angle != angles.end()) {
    throw csv.error(header.required({*angle})[0],
                    quoted(*angle) +
                        " beside a quaternion: the root's orientation is "
                        "either roll, pitch, yaw or qw, qx, qy, qz");
  }
  found.quaternion = header.required(quaternion, ": a quaternion has all four columns");
}

}  // namespace

MotionColumns find_columns(CsvReader& csv, const RobotNames& names, bool ignore_unknown) {
  Header header(csv, every_column(names), ignore_unknown);
  MotionColumns found;
  const Columns time = header.required({"time"});
  found.position = header.required(position);
  find_orientation(csv, header, found);
  found.joints = header.required(names.joints);
  found.velocity = find_rates(header, "d.", names);
  found.acceleration = find_rates(header, "dd.", names);
  for (unsigned long body = 0; body < names.bodies.size(); ++body) {
    const Columns columns = header.all_or_none(wrench_columns(names.bodies[body]),
                                               ": a wrench has all six columns or none");
    if (!columns.empty()) found.wrenches.push_back({body, columns});
  }
  header.require_all_found();
  found.time = time[0];
  found.ignored = header.ignored();
  return found;
}

}  // namespace tavo::motion
