#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "apps/replay/observation.hpp"
#include "apps/replay/plot/thinned.hpp"
#include "apps/replay/plot/value_range.hpp"
#include "apps/replay/report/body_table.hpp"
#include "apps/replay/report/columns.hpp"

namespace replay {

/// What the page shows of a motion, gathered sample by sample in bounded memory. A long one is
/// thinned: single samples stay for the scene, and for the curves each stretch of time keeps every
/// column's smallest and largest value.
class Recording {
 public:
  /// One sample: the values of all columns.
  struct Row {
    double time;  // s
    std::vector<float> values;
    void merge(const Row&) {}
  };
  /// What a column reached over a stretch of time.
  struct Stretch {
    double first, last;  // s
    ValueRange range;
    void merge(const Stretch& later) {
      last = later.last;
      range.merge(later.range);
    }
  };
  /// A result that is not finite, though it ought to be.
  struct Fault {
    double time;
    std::string column;
  };

  /// `observed`: of a system whose kinematics are computed, all joint angles zero.
  explicit Recording(const Observation& observed);

  /// Takes in what is observed of a sample. `time`: s.
  void add(double time, const Observation& observed);

  const std::vector<TableBody>& bodies() const { return bodies_; }
  /// Whether the motion has external wrenches.
  bool has_wrenches() const { return has_wrenches_; }
  const std::vector<ReportSignal>& signals() const { return signals_; }
  /// In order of time, the first and the last of the motion included, and those at which a torque,
  /// a joint angle, the residual or the margin is at its extreme.
  std::vector<Row> rows() const;
  /// In order of time; of all columns. Empty if rows() is the whole motion.
  std::vector<Stretch> stretches() const;
  /// The extremes of a column and when they were; of one that was never finite, not a number.
  const ValueRange::LowHigh& extremes(std::size_t column) const { return extremes_.values[column]; }

  std::size_t samples() const { return samples_; }
  std::size_t not_finite() const { return not_finite_; }
  const std::optional<Fault>& first_fault() const { return first_fault_; }
  double last_time() const { return last_ ? last_->time : 0; }

 private:
  void find_fault(const Row& row);
  void keep_extremes(const Row& row, const ValueRange& now);

  std::vector<TableBody> bodies_;
  bool has_wrenches_;
  std::vector<ReportSignal> signals_;
  std::vector<std::string> columns_;
  std::vector<bool> may_be_missing_, is_kept_at_extremes_;
  std::size_t samples_ = 0, not_finite_ = 0;
  std::optional<Fault> first_fault_;
  Thinned<Row> rows_{8192};
  Thinned<Stretch> stretches_{8192};
  std::optional<Row> last_;
  ValueRange extremes_;
  std::map<std::pair<std::size_t, bool>, Row> rows_at_extremes_;  // of a column, high or low
};

}  // namespace replay
