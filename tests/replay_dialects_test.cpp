#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/replay_fixture.hpp"

namespace {

// The text with another separator, and what stands around every field.
std::string dialect(const Table& rows, const std::string& separator, const std::string& around) {
  std::string result;
  for (const auto& row : rows) {
    for (const auto& cell : row) {
      result += (&cell == &row.front() ? "" : separator) + around + cell + around;
    }
    result += "\n";
  }
  return result;
}

Table with_column(Table rows, std::size_t at, const std::vector<std::string>& cells) {
  for (std::size_t i = 0; i < rows.size(); ++i) {
    rows[i].insert(rows[i].begin() + static_cast<std::ptrdiff_t>(at), cells.at(i));
  }
  return rows;
}

Table without_wrenches(std::size_t samples) {
  Table rows = first_rows(samples);
  for (auto& row : rows) row.resize(29);
  return rows;
}

// However a motion is written, it is the same motion.
TEST_F(Replay, DialectsAreRead) {
  const Table rows = first_rows(3);
  results(text(rows));
  const std::string want = read("results.csv");
  const std::vector<std::pair<std::string, std::string>> cases = {
      {dialect(rows, ",", "\""), ""},
      {dialect(rows, " ;", ""), ""},
      {dialect(rows, ";", "\""), ""},
      {dialect(rows, "\t", ""), ""},
      {dialect(rows, "\t", "\""), "--separator tab"},
      {dialect(rows, "\t,\t", ""), ""},
      {dialect(rows, ",\t", "\""), ""},
      {dialect(rows, ";", ""), "--separator ';'"},
      {"\xEF\xBB\xBF# a log\n  # and more\n" + dialect(rows, ",", "") + "# the end\n\n", ""},
      {dialect(with_column(rows, 0, {"battery", "", "full, or \"nearly\"", "7"}), ";", ""),
       "--ignore-unknown"},
      {dialect(with_column(rows, 41, {"\"a \"\"b\"\", c;\"", "\"x,\"\"y\"", "\"\"", "nan"}), ",",
               ""),
       "--ignore-unknown"},
      {dialect(with_column(rows, 3, {'"' + std::string(60, ',') + '"', "", "", ""}), ";", ""),
       "--ignore-unknown"}};
  for (const auto& [motion, options] : cases) {
    results(motion, options);
    EXPECT_EQ(read("results.csv"), want) << motion.substr(0, 80) << options;
    EXPECT_EQ(read("err"), "");
  }
  results(cases[cases.size() - 2].first, "--ignore-unknown");
  EXPECT_NE(read("out").find("\nignored columns \"a \"b\", c;\"\n"), std::string::npos);
}

// Each way to miss a dialect must lead to what to do.
TEST_F(Replay, DialectsThatFailAreNamed) {
  const std::string good = text(without_wrenches(2));
  const std::string names = good.substr(0, good.find('\n') + 1);
  const std::string numbers = good.substr(names.size());
  const auto changed = [](std::size_t line, std::size_t at, const std::string& to) {
    Table rows = without_wrenches(2);
    rows[line - 1][at - 1] = to;
    return rows;
  };
  struct Case {
    std::string motion, options, fault;
  };
  const std::vector<Case> cases = {
      {text(changed(2, 3, "\"0.1")), "",
       "line 2, column 3 (y): the field's closing quote is missing"},
      {text(changed(2, 3, "\"0\"1")), "",
       "line 2, column 3 (y): the field goes on after its closing quote"},
      {dialect(changed(2, 3, "0,1"), ";", ""), "",
       "line 2, column 3 (y): \"0,1\" is not a number: decimals have a point"},
      {dialect(changed(2, 3, "0,1"), ";", ""), "--separator ,",
       "line 1: the columns are separated by ';', not by ','"},
      {good, "--separator tab", "line 1: the columns are separated by ',', not by tabs"},
      {numbers, "", "line 1: the names of the columns are expected here, not numbers"},
      {"# " + good, "",
       "line 2: the names of the columns are expected here, not numbers; line 1 is a comment: if "
       "it "
       "has the names, take its # away"},
      {"time,x;y\n", "", "line 1, column 2: "},  // as many of both: commas
      {"# nothing else\n", "", "line 1: the file holds only comments"},
      {"x,roll,HeadYaw\n", "",
       "line 1: columns \"time\", \"y\", \"z\", \"HeadPitch\", \"LShoulderPitch\", "},
      {text(changed(1, 1, "x1")), "--ignore-unknown", "line 1: column \"time\" is missing\n"},
      {text(changed(1, 17, "LKneePich")), "--ignore-unknown",
       "line 1: column \"LKneePitch\" is missing, column 17 is \"LKneePich\"\n"},
      {text(with_column(with_column(changed(1, 2, "X"), 29, {"d.vx", "0", "0"}), 30,
                        {"dd.wy", "0", "0"})),
       "--ignore-unknown",
       "line 1: column \"x\" is missing, column 2 is \"X\"; columns \"d.vy\", \"d.vz\", \"d.wx\", "
       "\"d.wy\", \"d.wz\", \"dd.vx\", \"dd.vy\", \"dd.vz\", \"dd.wx\" and \"dd.wz\" are missing: "
       "the "
       "root's rates have all six columns or none\n"}};
  for (const auto& [motion, options, fault] : cases) {
    write("motion.csv", motion);
    EXPECT_EQ(run("motion.csv " + options), 1) << fault;
    const std::string want = "orvek23-replay: motion.csv, " + fault;
    EXPECT_EQ(read("err").substr(0, want.size()), want);
  }
}

// Two samples of three look like degrees: a hint, no fault. One joint that went around once is
// none.
TEST_F(Replay, DegreesAreNoticed) {
  const auto knees = [](const std::vector<std::string>& angles) {
    Table rows = without_wrenches(3);
    for (std::size_t i = 0; i < 3; ++i) rows[i + 1][column(rows, "LKneePitch")] = angles[i];
    return text(rows);
  };
  results(knees({"0.5", "45.5", "44"}));
  EXPECT_EQ(read("err"),
            "orvek23-replay: warning: motion.csv: joint angles beyond 2 pi in 2 of 3 samples "
            "(LKneePitch up to 45.5): they are taken as rad, are they degrees?\n");
  results(knees({"0.5", "45", "-6.2"}));
  EXPECT_EQ(read("err"), "");
}

// A speed that single precision cannot square: said once, with its place, and kept out of the
// summary, which is then that of the other samples.
TEST_F(Replay, OverflowIsSaid) {
  Table rows = without_wrenches(4);
  for (auto& row : rows) row.push_back(&row == &rows.front() ? "d.LKneePitch" : "0");
  for (auto& row : rows) row.push_back(&row == &rows.front() ? "dd.LKneePitch" : "0");
  results(text(rows));
  const std::string steady = read("out");
  rows[2][29] = rows[3][29] = "1e30";
  rows.insert(rows.begin() + 2, {"# a comment"});
  results(text(rows));
  EXPECT_EQ(
      read("err").find("orvek23-replay: warning: motion.csv, line 4: its results are not finite, "
                       "first results.csv, line 3, column "),
      0U)
      << read("err");
  EXPECT_NE(read("err").find(" (torque."), std::string::npos);
  EXPECT_EQ(read("err").find("warning", 30), std::string::npos) << "not once";
  const std::string summary = read("out");
  EXPECT_NE(summary.find("4 over 0.03 s; 2 of them left out below: their results are not finite\n"),
            std::string::npos)
      << summary;
  const auto torques = [](const std::string& text) {
    return text.substr(text.find("centre"), text.find("external") - text.find("centre"));
  };
  EXPECT_EQ(torques(summary), torques(steady));
  EXPECT_EQ(run("motion.csv"), 0);
  EXPECT_NE(read("err").find("line 4: its results are not finite, first torque."),
            std::string::npos);
}

// The ground's wrenches hold the walk; without them, or with one foot's too large, something else
// must.
TEST_F(Replay, SummarySaysWhetherItStands) {
  const auto wrenches = [this](const Table& rows) {
    results(text(rows));
    const std::string summary = read("out"), label = "external wrenches: ";
    const std::size_t begin = summary.find(label) + label.size();
    return summary.substr(begin, summary.find('\n', begin) - begin);
  };
  const std::string walk_feet = wrenches(walk());
  EXPECT_EQ(
      walk_feet.find("LAnkleRoll, RAnkleRoll; root residual at most 4e-05 N, 4e-06 N m; mean "), 0U)
      << walk_feet;
  EXPECT_EQ(wrenches(without_wrenches(50))
                .find("none: the robot hangs from its root; root residual at most 47.95 N, "),
            0U);
  Table rows = first_rows(40);
  for (auto& row : rows) row[column(rows, "LAnkleRoll.fx")] += &row == &rows[0] ? "" : "1";
  rows = first_rows(40);
  for (std::size_t i = 1; i < rows.size(); ++i) {
    auto& upwards = rows[i][column(rows, "LAnkleRoll.fx")];
    upwards = std::to_string(std::stod(upwards) + (i == 7 ? 4 : 2));
  }
  // 2 N at the ankle, 0.05 m to the left of the root's origin and at 0.012 m behind it or so.
  const std::string pushed = wrenches(rows);
  EXPECT_EQ(
      pushed.find("LAnkleRoll, RAnkleRoll; root residual at most 4.00 N, 0.20 N m; mean 2.05 N, "
                  "0.10 N m"),
      0U)
      << pushed;
}

// Samples 1 ms apart are told apart, and nothing is minus nothing.
TEST_F(Replay, SummaryHasTheDecimalsItNeeds) {
  Table rows = without_wrenches(4);
  for (std::size_t i = 1; i < rows.size(); ++i) {
    rows[i][0] = "0.00" + std::to_string(i);
    rows[i][column(rows, "y")] = "-0.0001";
  }
  results(text(rows));
  const std::string summary = read("out");
  EXPECT_NE(summary.find("samples         4 over 0.003 s\n"), std::string::npos) << summary;
  EXPECT_NE(summary.find(" at 0.001 s\n"), std::string::npos) << summary;
  EXPECT_EQ(summary.find("-0.000"), std::string::npos) << summary;
}

}  // namespace
