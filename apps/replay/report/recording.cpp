#include "apps/replay/report/recording.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace replay {
namespace {

// What a reader of the page goes to: the sample itself is kept.
bool leads_to_its_peak(const std::string& column) {
  return column.starts_with("torque.") || column.starts_with("q.") ||
         column.starts_with("residual.") || column == "margin" || column == "com.z";
}

ValueRange range_of(const Recording::Row& row) {
  ValueRange range;
  range.values.reserve(row.values.size());
  for (const float value : row.values) range.values.push_back(value_at(row.time, value));
  return range;
}

}  // namespace

Recording::Recording(const Observation& observed)
    : bodies_(body_table(observed)),
      has_wrenches_(!observed.wrench_bodies().empty()),
      signals_(report_signals(observed)) {
  for (const ReportSignal& entry : signals_) {
    for (const std::string& column : entry.signal.columns) {
      columns_.push_back(column);
      may_be_missing_.push_back(entry.signal.may_be_missing);
      is_kept_at_extremes_.push_back(leads_to_its_peak(column));
    }
  }
}

void Recording::add(double time, const Observation& observed) {
  Row row{time, {}};
  row.values.reserve(columns_.size());
  for (const ReportSignal& entry : signals_) entry.signal.read(observed, row.values);
  ++samples_;
  find_fault(row);
  ValueRange now = range_of(row);
  keep_extremes(row, now);
  stretches_.add({time, time, std::move(now)});
  last_ = row;
  rows_.add(std::move(row));
}

void Recording::find_fault(const Row& row) {
  for (std::size_t i = 0; i < row.values.size(); ++i) {
    const float value = row.values[i];
    if (std::isfinite(value) || (std::isnan(value) && may_be_missing_[i])) continue;
    ++not_finite_;
    if (!first_fault_) first_fault_ = {row.time, columns_[i]};
    return;
  }
}

void Recording::keep_extremes(const Row& row, const ValueRange& now) {
  if (extremes_.values.empty()) {
    extremes_ = now;
  } else {
    extremes_.merge(now);
  }
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (!is_kept_at_extremes_[i]) continue;
    if (extremes_.values[i].low.time == row.time) rows_at_extremes_[{i, false}] = row;
    if (extremes_.values[i].high.time == row.time) rows_at_extremes_[{i, true}] = row;
  }
}

std::vector<Recording::Row> Recording::rows() const {
  std::vector<Row> rows = rows_.items();
  if (samples_ > rows.size()) {
    if (last_) rows.push_back(*last_);
    for (const auto& [extreme, row] : rows_at_extremes_) rows.push_back(row);
    const auto earlier = [](const Row& a, const Row& b) { return a.time < b.time; };
    const auto same = [](const Row& a, const Row& b) { return a.time == b.time; };
    std::stable_sort(rows.begin(), rows.end(), earlier);
    rows.erase(std::unique(rows.begin(), rows.end(), same), rows.end());
  }
  return rows;
}

std::vector<Recording::Stretch> Recording::stretches() const {
  if (samples_ == rows_.items().size()) return {};
  return stretches_.items();
}

}  // namespace replay
