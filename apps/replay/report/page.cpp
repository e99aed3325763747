#include "apps/replay/report/page.hpp"

#include <bit>
#include <cmath>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>

#include <Eigen/Geometry>

#include "apps/replay/decimals.hpp"
#include "apps/replay/report/base64.hpp"
#include "apps/replay/sole_outline.hpp"
#include "motion/messages.hpp"
#include "motion/soles.hpp"

namespace replay {
namespace {

using Json = nlohmann::ordered_json;

static_assert(std::endian::native == std::endian::little, "the page reads little-endian numbers");

Json numbers(const Eigen::Ref<const Eigen::VectorXd>& values) {
  Json list = Json::array();
  for (const double value : values) list.push_back(value);
  return list;
}

Json bodies(const Recording& recording) {
  Json list = Json::array();
  for (const TableBody& body : recording.bodies()) {
    const Eigen::Quaterniond turn(body.in_parent.R);
    list.push_back({{"name", body.name},
                    {"parent", body.parent},
                    {"position", numbers(body.in_parent.p)},
                    {"quaternion", {turn.w(), turn.x(), turn.y(), turn.z()}},
                    {"com", numbers(body.com)},
                    {"mass", body.mass}});
  }
  return list;
}

Json feet() {
  Json list = Json::array();
  for (const char* foot : motion::foot_bodies) {
    Json corners = Json::array();
    for (const auto& [ahead, left] : {std::pair(sole_heel, sole_half_width),
                                      {sole_toe, sole_half_width},
                                      {sole_toe, -sole_half_width},
                                      {sole_heel, -sole_half_width}}) {
      const KT::Math::Position3D corner =
          motion::sole_point(KT::Math::Transform(), ahead, left);  // in the body's own frame
      corners.push_back({corner.x, corner.y, corner.z});
    }
    const KT::Math::Position3D sole = motion::sole_point(KT::Math::Transform());
    list.push_back({{"body", foot}, {"sole", {sole.x, sole.y, sole.z}}, {"corners", corners}});
  }
  return list;
}

Json limits_of(const std::vector<JointLimits>& limits) {
  Json list = Json::array();
  for (const JointLimits& one : limits) {
    Json entry = {{"joint", one.joint}};
    if (one.low) entry["low"] = *one.low;
    if (one.high) entry["high"] = *one.high;
    if (one.torque) entry["torque"] = *one.torque;
    list.push_back(std::move(entry));
  }
  return list;
}

struct Column {
  std::string name;
  const ReportSignal* of;
};

std::vector<Column> columns_of(const Recording& recording) {
  std::vector<Column> columns;
  for (const ReportSignal& signal : recording.signals()) {
    for (const std::string& name : signal.signal.columns) columns.push_back({name, &signal});
  }
  return columns;
}

Json column_list(const Recording& recording) {
  Json list = Json::array();
  std::size_t index = 0;
  for (const Column& column : columns_of(recording)) {
    const auto& [low, high] = recording.extremes(index++);
    list.push_back({{"name", column.name},
                    {"unit", column.of->unit},
                    {"curve", column.of->in_curves},
                    {"low", {low.value, low.time}},
                    {"high", {high.value, high.time}}});
  }
  return list;
}

template <class Number>
std::string packed(const std::vector<Number>& values) {
  return base64(values.data(), values.size() * sizeof(Number));
}

// Times count from the motion's start.
Json sample_table(const Recording& recording, double start, bool all_columns) {
  const std::vector<Recording::Row> rows = recording.rows();
  std::vector<double> times;
  for (const Recording::Row& row : rows) times.push_back(row.time - start);
  Json columns = Json::object();
  std::size_t index = 0;
  for (const Column& column : columns_of(recording)) {
    std::vector<float> values;
    for (const Recording::Row& row : rows) values.push_back(row.values[index]);
    if (all_columns || column.of->in_scene) columns[column.name] = packed(values);
    ++index;
  }
  return {{"rows", rows.size()}, {"times", packed(times)}, {"columns", std::move(columns)}};
}

// Two rows a stretch, at its first and its last sample: the smallest and the largest value, in the
// order in which they came.
Json curve_table(const Recording& recording, const std::vector<Recording::Stretch>& stretches,
                 double start) {
  std::vector<double> times;
  for (const Recording::Stretch& stretch : stretches) {
    times.insert(times.end(), {stretch.first - start, stretch.last - start});
  }
  Json columns = Json::object();
  std::size_t index = 0;
  for (const Column& column : columns_of(recording)) {
    std::vector<float> values;
    for (const Recording::Stretch& stretch : stretches) {
      auto [first, second] = stretch.range.values[index];
      if (second.time < first.time) std::swap(first, second);
      values.push_back(static_cast<float>(first.value));
      values.push_back(static_cast<float>(second.value));
    }
    if (column.of->in_curves) columns[column.name] = packed(values);
    ++index;
  }
  return {{"rows", times.size()}, {"times", packed(times)}, {"columns", std::move(columns)}};
}

// What an engineer would look for in vain.
Json missing(const Recording& recording) {
  Json list = Json::array();
  if (recording.samples() == 1) list.push_back("One sample: no curves over time, no rates.");
  if (const auto& fault = recording.first_fault()) {
    list.push_back(std::to_string(recording.not_finite()) + " of " +
                   std::to_string(recording.samples()) +
                   " samples have results that are not finite, first " + fault->column + " at " +
                   fixed_text(fault->time, 3) + " s: they are left out.");
  }
  if (!recording.has_wrenches()) {
    list.push_back(
        "No external wrenches: the robot hangs from its root, so torques are not those of "
        "standing, "
        "the root residual is its weight, and there is no centre of pressure.");
  }
  std::size_t index = 0;
  for (const Column& column : columns_of(recording)) {
    const bool never = std::isnan(recording.extremes(index++).low.value);
    if (never && column.name == "margin") {
      list.push_back("No foot ever stands: there is no support polygon and no margin.");
    }
    if (never && column.name == "cop.x" && recording.has_wrenches()) {
      list.push_back("The feet have no wrench that presses: there is no centre of pressure.");
    }
  }
  return list;
}

std::string contents(const std::filesystem::path& page_template) {
  std::ifstream file(page_template, std::ios::binary);
  if (!file) {
    throw std::runtime_error(
        page_template.string() +
        ": cannot be read; --report needs it, the page's template: install Node.js and npm "
        "(Debian: nodejs, npm), configure with -DORVEK23_REPORT=ON and build");
  }
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

std::string report_data(const Recording& recording, const std::vector<JointLimits>& limits,
                        const std::string& title) {
  const std::vector<Recording::Stretch> stretches = recording.stretches();
  const std::vector<Recording::Row> rows = recording.rows();
  const double start = rows.empty() ? 0 : rows.front().time;
  Json data = {{"format", "orvek23-report"},
               {"version", 1},
               {"title", title},
               {"writer", "orvek23-replay " ORVEK23_VERSION},
               {"samples", recording.samples()},
               {"start", start},
               {"end", recording.last_time()},
               {"bodies", bodies(recording)},
               {"feet", feet()},
               {"limits", limits_of(limits)},
               {"missing", missing(recording)},
               {"columns", column_list(recording)},
               {"table", sample_table(recording, start, stretches.empty())}};
  if (!stretches.empty()) data["curves"] = curve_table(recording, stretches, start);
  std::string text = data.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string safe;
  safe.reserve(text.size());
  for (const char c : text) c == '<' ? safe += "\\u003c" : safe += c;
  return safe;
}

ReportPage::ReportPage(const std::filesystem::path& path,
                       const std::filesystem::path& page_template)
    : before_(contents(page_template)), file_(path) {
  constexpr std::string_view place = "<!--ORVEK23-REPORT-DATA-->";
  const std::size_t at = before_.find(place);
  if (at == std::string::npos) {
    throw std::runtime_error(page_template.string() + ": no template of the page, it has no " +
                             std::string(place));
  }
  after_ = before_.substr(at + place.size());
  before_.resize(at);
}

void ReportPage::commit(const std::string& data) {
  file_.write(before_);
  file_.write("<script type=\"application/json\" id=\"data\">" + data + "</script>");
  file_.write(after_);
  file_.commit();
}

}  // namespace replay
