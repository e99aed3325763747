#include "apps/replay/motion_columns.hpp"

#include <algorithm>
#include <map>
#include <string>

#include "apps/replay/messages.hpp"

namespace replay {
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

class Header {
 public:
  Header(const CsvReader& csv, const Names& known) : csv_(csv) {
    for (std::size_t column = 0; column < csv.header().size(); ++column) {
      const std::string& name = csv.header()[column];
      if (is_rate_of_root_pose(name)) {
        throw csv.error(column, quoted(name) +
                                    " is no column: the root's rates are in its own "
                                    "frame, d.vx .. d.wz and dd.vx .. dd.wz");
      }
      if (std::find(known.begin(), known.end(), name) == known.end()) {
        throw csv.error(column, unknown_name("column", name, known));
      }
      const auto [other, fresh] = column_of_.emplace(name, column);
      if (!fresh) {
        throw csv.error(
            column, quoted(name) + " is column " + std::to_string(other->second + 1) + " already");
      }
    }
  }

  Columns required(const Names& names, const std::string& rule = "") const {
    Columns columns;
    for (const std::string& name : names) {
      const auto found = column_of_.find(name);
      if (found == column_of_.end()) {
        throw csv_.error("column " + quoted(name) + " is missing" + rule);
      }
      columns.push_back(found->second);
    }
    return columns;
  }

  Columns all_or_none(const Names& names, const std::string& rule) const {
    const bool any = std::any_of(names.begin(), names.end(), [this](const std::string& name) {
      return column_of_.contains(name);
    });
    return any ? required(names, rule) : Columns();
  }

 private:
  const CsvReader& csv_;
  std::map<std::string, std::size_t> column_of_;
};

std::vector<MotionColumns::Rate> find_rates(const Header& header, const std::string& prefix,
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

void find_orientation(const CsvReader& csv, const Header& header, MotionColumns& found) {
  found.quaternion = header.all_or_none(quaternion, ": a quaternion has all four columns");
  if (found.quaternion.empty()) {
    found.angles = header.required(angles,
                                   " (the root's orientation is roll, pitch, yaw or qw, "
                                   "qx, qy, qz)");
    return;
  }
  for (const std::string& angle : angles) {
    const Columns column = header.all_or_none({angle}, "");
    if (!column.empty()) {
      throw csv.error(column[0], quoted(angle) +
                                     " beside a quaternion: the root's orientation is "
                                     "either roll, pitch, yaw or qw, qx, qy, qz");
    }
  }
}

}  // namespace

MotionColumns find_columns(const CsvReader& csv, const RobotNames& names) {
  const Header header(csv, every_column(names));
  MotionColumns found;
  found.time = header.required({"time"})[0];
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
  return found;
}

}  // namespace replay
