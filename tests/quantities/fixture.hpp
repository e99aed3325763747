#pragma once

#include <cstdio>
#include <map>
#include <quantities/balance.hpp>
#include <quantities/configuration.hpp>
#include <quantities/derivatives.hpp>
#include <quantities/dynamics.hpp>
#include <quantities/forces.hpp>
#include <quantities/frames.hpp>
#include <quantities/model.hpp>
#include <quantities/momentum.hpp>
#include <quantities/regressor.hpp>
#include <quantities/stance.hpp>
#include <quantities/state.hpp>
#include <string>

#include "tests/plugin_fixture.hpp"
#include "tests/quantities/dense.hpp"
#include "tests/robot.hpp"

namespace tq = tavo::quantities;

constexpr unsigned long kLeftFoot = 12, kRightFoot = 18;

/// Largest error of each quantity over many states, and its largest value.
class Worst {
 public:
  void see(const std::string& quantity, const oracle::Matrix& got, const oracle::Matrix& want) {
    Row& row = rows_[quantity];
    row.error = std::max(row.error, test::error(got, want));
    row.largest = std::max(row.largest, want.cwiseAbs().maxCoeff());
  }
  void see(const std::string& quantity, double got, double want) {
    see(quantity, oracle::Matrix::Constant(1, 1, got), oracle::Matrix::Constant(1, 1, want));
  }
  /// Every error within `limit` of the quantity's largest value. Prints a table.
  void expect_within(double limit) const {
    for (const auto& [quantity, row] : rows_) {
      std::printf("%-28s error %8.1e of %8.2e: %7.1e\n", quantity.c_str(), row.error, row.largest,
                  row.error / row.largest);
      EXPECT_LE(row.error, limit * row.largest) << quantity;
    }
  }

 private:
  struct Row {
    double error = 0, largest = 0;
  };
  std::map<std::string, Row> rows_;
};

/// A plug-in with a state, and soles for its feet (body frames: x up, y right, z ahead).
class QuantitiesTest : public PluginTest {
 protected:
  void set(const test::State& s) {
    test::set_state(robot, s);
    robot.computeFwdKinematics();
    state.update();
  }
  void set_inertias(const std::vector<dense::HostInertia>& inertias) {
    for (unsigned long i = 0; i < inertias.size(); ++i) {
      const auto& [mass, com, at_com] = inertias[i];
      robot.setBodyInertia(i, mass, {com.x(), com.y(), com.z()}, at_com);
      state.model().set_body_inertia(i, static_cast<double>(mass), com.cast<double>(),
                                     at_com.cast<double>());
    }
  }
  static tq::Sole sole(unsigned long foot) {
    return {foot,
            {{-0.045, -0.025, -0.035},
             {-0.045, 0.025, -0.035},
             {-0.045, 0.025, 0.075},
             {-0.045, -0.025, 0.075}}};
  }
  static tq::BodyWrenches wrenches(const test::State& s) {
    tq::BodyWrenches all;
    for (int i = 0; i < test::kBodies; ++i) all.col(i) << s.fext[i].tail<3>(), s.fext[i].head<3>();
    return all;
  }

  tq::State state{robot};
};
