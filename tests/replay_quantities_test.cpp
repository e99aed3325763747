// What the replay derives for controllers: laws on the walk and closed forms at rest.

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/replay_fixture.hpp"

namespace {

const std::string kSignals =
    "--signals com,torque,com-velocity,momentum,root-wrench,zmp,cop,margin,capture-point,energy,"
    "gravity-torque";
constexpr double kGravity = 9.81;

// The results by sample and column.
class Results {
 public:
  explicit Results(Table rows) : rows_(std::move(rows)) {}
  std::size_t samples() const { return rows_.size() - 1; }
  double operator()(std::size_t sample, const std::string& name) const {
    return std::stod(rows_[1 + sample][column(rows_, name)]);
  }

 private:
  Table rows_;
};

// The walk's first sample alone, at rest, with columns changed or added.
std::string one_sample(const std::vector<std::pair<std::string, std::string>>& changes) {
  Table rows = first_rows(1);
  for (auto& row : rows) row.resize(29);  // no wrenches
  for (const auto& [name, value] : changes) {
    const auto found = std::find(rows[0].begin(), rows[0].end(), name);
    if (found == rows[0].end()) {
      rows[0].push_back(name);
      rows[1].push_back(value);
    } else {
      rows[1][static_cast<std::size_t>(found - rows[0].begin())] = value;
    }
  }
  return text(rows);
}

std::vector<std::pair<std::string, std::string>> six(const std::string& prefix,
                                                     const std::vector<std::string>& parts,
                                                     const std::vector<std::string>& values) {
  std::vector<std::pair<std::string, std::string>> columns;
  for (std::size_t i = 0; i < parts.size(); ++i) columns.emplace_back(prefix + parts[i], values[i]);
  return columns;
}

// In every sample: the points of pressure from motion and from wrenches meet within the soles, and
// velocities, momentum and energy belong to the path of the centre of mass.
TEST_F(Replay, QuantitiesOfTheWalkObeyTheLaws) {
  const Results got(results(text(walk()), kSignals));
  EXPECT_EQ(read("err"), "");
  ASSERT_EQ(got.samples(), 801U);
  const double mass = got(0, "energy.potential") / kGravity / got(0, "com.z");
  EXPECT_NEAR(mass, 47.95 / kGravity, 1e-3);
  for (std::size_t i = 0; i < got.samples(); ++i) {
    SCOPED_TRACE(i);
    const auto at = [&got, i](const std::string& name) { return got(i, name); };
    EXPECT_GT(at("margin"), 0.016);
    EXPECT_LT(at("margin"), 0.06);
    EXPECT_NEAR(at("energy.potential"), mass * kGravity * at("com.z"), 1e-5);
    EXPECT_NEAR(at("energy.total"), at("energy.kinetic") + at("energy.potential"), 1e-5);
    const double omega = std::sqrt(kGravity / at("com.z"));
    for (const std::string axis : {"x", "y"}) {
      EXPECT_NEAR(at("zmp." + axis), at("cop." + axis), 1e-6);
      EXPECT_NEAR(at("capture-point." + axis),
                  at("com." + axis) + at("com-velocity." + axis) / omega, 1e-6);
    }
    for (const std::string axis : {"x", "y", "z"}) {
      EXPECT_NEAR(at("root-wrench.f" + axis), 0, 1e-4);
      EXPECT_NEAR(at("root-wrench.n" + axis), 0, 1e-5);
      EXPECT_NEAR(at("momentum.p" + axis), mass * at("com-velocity." + axis), 1e-5);
      if (i == 0 || i + 1 == got.samples()) continue;
      const double step = got(i + 1, "time") - got(i - 1, "time");
      const double way = got(i + 1, "com." + axis) - got(i - 1, "com." + axis);
      EXPECT_NEAR(at("com-velocity." + axis), way / step, 5e-4);  // what differences leave
    }
  }
}

TEST_F(Replay, QuantitiesAtRest) {
  const Results hanging(results(one_sample({{"pitch", "0.3"}}), kSignals));
  const double weight = hanging(0, "energy.potential") / hanging(0, "com.z");
  EXPECT_NEAR(hanging(0, "root-wrench.fx"), -weight * std::sin(0.3), 1e-4) << "in the root's axes";
  EXPECT_NEAR(hanging(0, "root-wrench.fz"), weight * std::cos(0.3), 1e-4);
  for (std::size_t j = 7; j < 29; ++j) {
    const std::string& joint = walk()[0][j];
    EXPECT_NEAR(hanging(0, "gravity-torque." + joint), hanging(0, "torque." + joint), 2e-6)
        << joint;
  }
  EXPECT_EQ(hanging(0, "energy.kinetic"), 0);

  // 10 N hold the robot up at the root: the ground carries the rest, ahead of the centre of mass.
  std::vector<std::pair<std::string, std::string>> held =
      six("Torso.", {"fx", "fy", "fz", "nx", "ny", "nz"}, {"0", "0", "10", "0", "0", "0"});
  held.insert(held.end(), {{"x", "-0.1"}, {"y", "0.2"}, {"pitch", "0"}});
  const Results propped(results(one_sample(held), kSignals));
  for (const auto& [axis, root] : {std::pair("x", -0.1), std::pair("y", 0.2)}) {
    const double com = propped(0, std::string("com.") + axis);
    EXPECT_NEAR(propped(0, std::string("zmp.") + axis), (weight * com - 10 * root) / (weight - 10),
                1e-6);
  }
  EXPECT_TRUE(std::isnan(propped(0, "cop.x"))) << "no foot has a wrench";
}

// What is not there is nan, without a warning; what can be told still is.
TEST_F(Replay, QuantitiesThatAreMissing) {
  const std::vector<std::string> six_parts = {"vx", "vy", "vz", "wx", "wy", "wz"};
  const struct {
    std::string what;
    std::vector<std::pair<std::string, std::string>> changes;
    bool zmp, margin, capture_point;
  } cases[] = {
      {"stands", {}, true, true, true},
      {"hangs above the ground", {{"z", "0.4"}}, true, false, true},
      {"is below the ground", {{"z", "-1"}}, true, false, false},
      {"falls", six("dd.", six_parts, {"0", "0", "-9.9", "0", "0", "0"}), false, false, true},
  };
  for (const auto& c : cases) {
    const Results got(results(one_sample(c.changes), kSignals));
    EXPECT_EQ(read("err"), "") << c.what;
    for (const std::string axis : {".x", ".y"}) {
      EXPECT_EQ(std::isfinite(got(0, "zmp" + axis)), c.zmp) << c.what;
      EXPECT_EQ(std::isfinite(got(0, "capture-point" + axis)), c.capture_point) << c.what;
      EXPECT_TRUE(std::isnan(got(0, "cop" + axis))) << c.what;
    }
    EXPECT_EQ(std::isfinite(got(0, "margin")), c.margin) << c.what;
  }
}

}  // namespace
