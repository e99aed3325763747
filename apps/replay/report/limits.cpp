#include "apps/replay/report/limits.hpp"

#include <algorithm>
#include <array>
#include <cstddef>

#include "motion/csv_reader.hpp"
#include "motion/messages.hpp"

namespace replay {
namespace motion = tavo::motion;
namespace {

// Where each column is, if it is there.
struct LimitColumns {
  std::optional<std::size_t> joint, low, high, torque;
};

LimitColumns find_columns(motion::CsvReader& csv) {
  LimitColumns columns;
  const std::array<std::pair<const char*, std::optional<std::size_t> LimitColumns::*>, 4> known = {
      {{"joint", &LimitColumns::joint},
       {"low", &LimitColumns::low},
       {"high", &LimitColumns::high},
       {"torque", &LimitColumns::torque}}};
  for (std::size_t i = 0; i < csv.header().size(); ++i) {
    const std::string& name = csv.header()[i];
    const auto found = std::find_if(known.begin(), known.end(),
                                    [&name](const auto& column) { return column.first == name; });
    if (found == known.end()) {
      throw csv.error(
          i, motion::unknown_name(
                 "column", name, {known[0].first, known[1].first, known[2].first, known[3].first}));
    }
    std::optional<std::size_t>& place = columns.*found->second;
    if (place) throw csv.error(i, "column " + motion::quoted(name) + " is there twice");
    place = i;
  }
  if (!columns.joint) throw csv.error("column \"joint\" is missing");
  csv.pass_over(*columns.joint);
  return columns;
}

}  // namespace

std::vector<JointLimits> read_limits(const std::filesystem::path& path,
                                     const std::vector<std::string>& joints) {
  motion::CsvReader csv(path.string());
  const LimitColumns columns = find_columns(csv);
  std::vector<JointLimits> all;
  for (std::vector<double> row; csv.next(row);) {
    const auto value = [&row](const std::optional<std::size_t>& column) {
      return column ? std::optional(row[*column]) : std::nullopt;
    };
    const JointLimits limits{csv.text(*columns.joint), value(columns.low), value(columns.high),
                             value(columns.torque)};
    if (std::find(joints.begin(), joints.end(), limits.joint) == joints.end()) {
      throw csv.error(*columns.joint, motion::unknown_name("joint", limits.joint, joints));
    }
    if (std::any_of(all.begin(), all.end(),
                    [&limits](const JointLimits& other) { return other.joint == limits.joint; })) {
      throw csv.error(*columns.joint, motion::quoted(limits.joint) + " is there twice");
    }
    if (limits.low && limits.high && *limits.low > *limits.high) {
      throw csv.error(*columns.high, "the highest angle is below the lowest");
    }
    if (limits.torque && *limits.torque < 0) {
      throw csv.error(*columns.torque, "a limit of the torque's magnitude is not negative");
    }
    all.push_back(limits);
  }
  return all;
}

}  // namespace replay
