#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "apps/replay/plot/figures.hpp"
#include "apps/replay/plot/motion_trace.hpp"
#include "apps/replay/plot/thinned.hpp"
#include "tests/plot_fixture.hpp"

namespace {

using replay::Posture, replay::Thinned, replay::ValueRange;

void expect_near(const std::vector<double>& got, const std::vector<double>& want,
                 double tolerance) {
  ASSERT_EQ(got.size(), want.size());
  for (std::size_t i = 0; i < got.size(); ++i) EXPECT_NEAR(got[i], want[i], tolerance) << i;
}

TEST_F(ReplayPlot, ShowsTheWalkToScale) {
  const Picture picture(svg(text(walk())));
  for (const char* text : {"Motion \"motion.csv\": 801 samples over 8 s", "x, m", "y, m", "z, m",
                           "time, s", "torque, N m", "0.0 s", "8.0 s"}) {
    picture.find(text, "middle");
  }
  for (const char* text : {"HipYawPitch", "AnkleRoll", "ShoulderPitch", "ElbowRoll", "left",
                           "right", "left limbs", "right sole", "centre of mass"}) {
    picture.find(text, "start");
  }
  const double scale = picture.px_per_metre();
  EXPECT_GT(scale, 600);
  EXPECT_NEAR(scale, 10 * (picture.find("0", "end").y - picture.find("0.1", "end").y), 0.2);

  expect_near(picture.footholds(true), {0, 0.12, 0.24, 0.36, 0.42}, 1e-3);
  expect_near(picture.footholds(false), {0, 0.06, 0.18, 0.3, 0.42}, 1e-3);
  ASSERT_FALSE(picture.soles.empty());
  const auto &left = picture.soles.front().corners, &right = picture.soles.back().corners;
  EXPECT_NEAR(left[1].x - left[0].x, 0.11 * scale, 0.2);
  EXPECT_NEAR(left[3].y - left[0].y, 0.05 * scale, 0.2);
  EXPECT_NEAR(right[0].y - left[0].y, 0.1 * scale, 0.2) << "the left foot is not on top";
}

// The zero-moment point wanders from foot to foot, 4 mm inside their middles and, at the start, 8
// mm behind; its margin has the heights of the results.
TEST_F(ReplayPlot, ShowsTheBalanceOfTheWalk) {
  const Picture picture(svg(text(walk())));
  for (const char* text : {"support polygon", "cop (wrenches)", "zmp (motion)", "margin"}) {
    picture.find(text, "start");
  }
  ASSERT_GE(picture.green_curves.size(), 2U);
  const auto least = [](const std::vector<Picture::Point>& curve, double Picture::Point::*axis,
                        double sign) {
    double value = sign * curve.front().*axis;
    for (const Picture::Point& point : curve) value = std::min(value, sign * point.*axis);
    return sign * value;
  };
  const auto x = &Picture::Point::x, y = &Picture::Point::y;
  const double scale = picture.px_per_metre();
  const Picture::Point left = picture.soles.front().middle(), right = picture.soles.back().middle();
  const auto& zmp = picture.green_curves[0];
  EXPECT_NEAR(least(zmp, x, 1), left.x - 0.008 * scale, 0.5);
  EXPECT_NEAR(least(zmp, x, -1), right.x - 0.002 * scale, 0.5);
  EXPECT_NEAR(least(zmp, y, 1), left.y + 0.004 * scale, 0.5);
  EXPECT_NEAR(least(zmp, y, -1), right.y - 0.004 * scale, 0.5);
  const auto& margin = picture.green_curves[1];
  const double high = picture.find("0.06", "end").y,
               per_metre = (picture.find("0.02", "end").y - high) / 0.04;
  EXPECT_NEAR((least(margin, y, 1) - high) / per_metre, 0.06 - 0.0565, 0.004) << "texts sit lower";
  EXPECT_NEAR((least(margin, y, -1) - least(margin, y, 1)) / per_metre, 0.0565 - 0.0164, 1e-3);
}

// Nothing is drawn of what is not there.
TEST_F(ReplayPlot, LeavesOutTheBalanceOfARobotThatHangs) {
  Table rows = first_rows(30);
  for (auto& row : rows) row.resize(29);
  EXPECT_FALSE(Picture(svg(text(rows))).has("cop (wrenches)")) << "no wrenches";
  for (std::size_t i = 1; i < rows.size(); ++i) rows[i][column(rows, "z")] = "1";
  const Picture hanging(svg(text(rows)));
  for (const char* text : {"margin", "margin, m", "support polygon", "cop (wrenches)"}) {
    EXPECT_FALSE(hanging.has(text)) << text;
  }
  for (std::size_t i = 1; i < rows.size(); ++i) {  // faster and faster downwards
    const double t = 0.01 * static_cast<double>(i);
    rows[i][column(rows, "z")] = std::to_string(5 - 7 * t * t);
  }
  EXPECT_FALSE(Picture(svg(text(rows))).has("zmp (motion)"));
}

// The picture that the documents show is the one that the program draws.
TEST_F(ReplayPlot, DocumentsShowTheSame) {
  ASSERT_EQ(run("--plot walk.svg"), 0) << read("err");
  const auto words_of = [](const std::string& picture) {
    std::string words;
    for (const Picture::Text& text : Picture(picture).texts) words += text.text + "\n";
    return words;
  };
  EXPECT_EQ(words_of(read("walk.svg")), words_of(contents(WALK_SVG)));
}

// Without wrenches the soles' height tells where the feet stand; they come down softly.
TEST_F(ReplayPlot, FindsFootholdsWithoutWrenches) {
  Table bare = walk();
  for (auto& row : bare) row.resize(29);
  const Picture picture(svg(text(bare)));
  expect_near(picture.footholds(true), {0, 0.12, 0.24, 0.36, 0.42}, 5e-3);
  expect_near(picture.footholds(false), {0, 0.06, 0.18, 0.3, 0.42}, 5e-3);
}

// Whatever the motion, the axes must have an extent and the panels room.
TEST_F(ReplayPlot, DrawsAnyMotion) {
  const auto changed = [](std::size_t samples, const std::string& name, double from, double step) {
    Table rows = first_rows(samples);
    for (std::size_t i = 1; i < rows.size(); ++i) {
      rows[i][column(rows, name)] = std::to_string(from + step * static_cast<double>(i));
    }
    return text(rows);
  };
  EXPECT_EQ(Picture(svg(text(first_rows(1)))).soles.size(), 2U);
  Table late = first_rows(602);  // more than are kept
  late.back()[0] = "9";
  Picture(svg(text(late))).find("9.0 s", "middle");
  Picture(svg(changed(30, "time", 1.7e9, 0.01))).find("time, s (0 is 1700000000.01)", "middle");
  svg(changed(30, "yaw", 0.5, 0));
  svg(changed(30, "pitch", -1.5707963, 0));  // on its back
  for (const char* axis : {"x", "y", "z"}) {
    Picture(svg(changed(30, axis, 0, 1e3))).find("right limbs", "start");
    svg(changed(30, axis, 1e36, -1e37));
  }
}

TEST_F(ReplayPlot, WritesPngAndOddNames) {
  const std::string name = "it's a \"walk\" $(date) `date` & <b> {}_^\\n";
  write(name + ".csv", text(first_rows(3)));
  setenv("NAME", name.c_str(), 1);
  const auto run_on = [this](const std::string& extension) {
    return shell("replay \"$NAME.csv\" --plot \"$NAME" + extension + "\" >out 2>err");
  };
  EXPECT_EQ(run_on(".png"), 0) << read("err");
  EXPECT_EQ(run_on(".SVG"), 0) << read("err");
  const std::string png = read(name + ".png");
  EXPECT_TRUE(png.starts_with("\x89PNG\r\n")) << png.substr(0, 20);
  EXPECT_GT(png.size(), 20000U);
  const std::string shown = "Motion \"it's a \"walk\" $(date) `date` &amp; &lt;b> {}_^\\...\"";
  const std::string svg = read(name + ".SVG");
  EXPECT_NE(svg.find("<text>" + shown), std::string::npos);
  EXPECT_NE(svg.find("<title>Motion \"it's a"), std::string::npos);
  EXPECT_EQ(svg.find("<title>Gnuplot"), std::string::npos);
  EXPECT_EQ(svg.find("<title>gnuplot"), std::string::npos);
}

TEST_F(ReplayPlot, NothingIsLostWhenThereCanBeNoPicture) {
  const std::string good = text(first_rows(3));
  write("motion.csv", good);
  write("motion.svg", good);
  write("old.svg", "older picture");
  const std::string no_gnuplot = "PATH=/nowhere; ";
  const std::string results = "replay motion.csv -o results.csv --plot ";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {results + "new.pdf", "new.pdf: a picture's name ends in .svg or .png"},
      {"replay motion.csv --plot new.svg --view z", "--view: \"z\" is none of x, y, auto"},
      {"replay motion.csv --view x", "--view requires --plot"},
      {results + "svg", "svg: a picture's name ends in .svg or .png"},
      {no_gnuplot + results + "new.svg",
       "gnuplot: not found; a picture needs it (Debian package gnuplot-nox)"},
      {results + "nowhere/new.svg",
       "nowhere/new.svg: cannot be written: No such file or directory"},
      {"replay motion.svg --plot ./motion.svg",
       "./motion.svg: the picture would replace the motion"},
      {"replay motion.csv -o new.svg --plot ./new.svg",
       "./new.svg: the picture would replace the results"},
      {"(cat motion.csv; echo x) >bad.csv; replay bad.csv --plot old.svg",
       "bad.csv, line 5, column 1 (time): \"x\" is not a number"}};
  for (const auto& [script, fault] : cases) {
    EXPECT_EQ(shell("{ " + script + "; } >out 2>err"), 1) << script;
    EXPECT_EQ(read("err"), "orvek23-replay: " + fault + "\n");
  }
  EXPECT_EQ(read("motion.svg"), good);
  EXPECT_EQ(read("old.svg"), "older picture");
  EXPECT_EQ(files(), (std::vector<std::string>{"bad.csv", "err", "motion.csv", "motion.svg",
                                               "old.svg", "out"}));
}

// Found out only at the end, when the run has been worth something.
TEST_F(ReplayPlot, ResultsOutliveAPictureThatFails) {
  write("motion.csv", text(first_rows(3)));
  write("old.svg", "older picture");
  const std::string draws = "grep -q multiplot || exit 0\n";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {draws + "printf 'gnuplot> plot\\n     ^\\n     line 9: on strike\\n\\n' >&2; exit 1\n",
       "line 9: on strike"},
      {draws + "kill -9 $$\n", "ended by signal: Killed"},
      {draws + "exit 1\n", "failed without a message"},
      {draws + "echo '<svg>'\n", "the picture is incomplete"}};
  for (const auto& [script, fault] : cases) {
    replace_gnuplot(script);
    fs::remove(folder_ / "results.csv");
    EXPECT_EQ(shell("PATH=$PWD/bin:$PATH; replay motion.csv -o results.csv --plot old.svg "
                    ">out 2>err"),
              1);
    EXPECT_EQ(read("err"), "orvek23-replay: gnuplot: " + fault + "\n");
    EXPECT_EQ(table(read("results.csv")).size(), 4U);
    EXPECT_NE(read("out").find("largest torque"), std::string::npos);
    EXPECT_EQ(read("old.svg"), "older picture");
    EXPECT_EQ(files().size(), 6U);
  }
}

// One sample of a joint is far out, once on either side of 0: no thinning may hide that.
TEST(Thinned, KeepsPeaksAndOrderInBoundedMemory) {
  Thinned<ValueRange> series(8);
  const auto torque = [](int i) { return i == 777 ? 50.0 : i == 901 ? -60.0 : std::sin(0.1 * i); };
  for (int i = 0; i < 1000; ++i) {
    const ValueRange::At at{i * 0.01, torque(i)};
    series.add({{{at, at}}});
  }
  ASSERT_LE(series.items().size(), 8U);
  ASSERT_GE(series.items().size(), 4U);
  ValueRange all = series.items().front();
  double last_time = 0;
  for (const ValueRange& range : series.items()) {
    const auto& [low, high] = range.values[0];
    EXPECT_GE(std::min(low.time, high.time), last_time);
    EXPECT_LT(std::max(low.time, high.time) - last_time, 2.56) << "stretches of different lengths";
    last_time = std::max(low.time, high.time);
    all.merge(range);
  }
  EXPECT_EQ(all.values[0].high.value, 50);
  EXPECT_DOUBLE_EQ(all.values[0].high.time, 7.77);
  EXPECT_EQ(all.values[0].low.value, -60);
  EXPECT_DOUBLE_EQ(all.values[0].low.time, 9.01);
}

// A robot that waits, walks and waits again: figures at even distances, none on top of another.
TEST(ChosenFigures, StandApartWhereTheRobotWaits) {
  const Eigen::Vector3d origin = Eigen::Vector3d::Zero();
  const replay::View side(0);
  std::vector<Posture> postures;
  for (int i = 0; i <= 300; ++i) {
    const double x = std::clamp(0.01 * (i - 100), 0.0, 1.0);
    postures.push_back({0.01 * i, {x, 0, 0.3}, {origin, origin}, {{x, 0, 0}, {x, 0.5 * x, 0.5}}});
  }
  const auto figures = replay::chosen_figures(postures, 9, &side);
  ASSERT_LE(figures.size(), 9U);
  ASSERT_GE(figures.size(), 8U);
  EXPECT_EQ(figures.front().posture->time, 0);
  EXPECT_EQ(figures.back().posture->time, 3);
  const double even = 1.0 / static_cast<double>(figures.size() - 1);
  for (std::size_t i = 1; i < figures.size(); ++i) {
    const double gap = figures[i].posture->com.x() - figures[i - 1].posture->com.x();
    EXPECT_NEAR(gap, even, 0.6 * even) << i;
    EXPECT_GT(figures[i].share, figures[i - 1].share);
  }
  EXPECT_EQ(figures.back().share, 1);

  postures.resize(90);
  EXPECT_EQ(replay::chosen_figures(postures, 9, &side).size(), 1U);
  EXPECT_TRUE(replay::chosen_figures({}, 9, &side).empty());
}

// A short dip on a long way is no far posture, but the lowest. Of many periods the first is shown.
TEST(ChosenFigures, ShowExtremesAndTheFirstOfManyPeriods) {
  const auto posture = [](double time, double x, double z) {
    return Posture{time, {x, 0, z}, {}, {{x, 0, 0}, {x, 0, z}}};
  };
  std::vector<Posture> way, squats;
  for (int i = 0; i <= 300; ++i) {
    way.push_back(posture(i, 0.01 * i, i == 77 ? 0.25 : 0.3));
    squats.push_back(posture(i, 0, 0.3 + 0.1 * std::cos(2 * std::numbers::pi * i / 30)));
  }
  const replay::View side(0);
  const auto on_way = replay::chosen_figures(way, 9, &side);
  EXPECT_EQ(on_way.size(), 9U);
  EXPECT_TRUE(std::any_of(on_way.begin(), on_way.end(),
                          [](const auto& figure) { return figure.posture->time == 77; }));
  const auto in_squats = replay::chosen_figures(squats, 6, nullptr);
  ASSERT_EQ(in_squats.size(), 6U);
  EXPECT_LE(in_squats[4].posture->time, 30);
  EXPECT_EQ(in_squats[5].posture->time, 300);
}

}  // namespace
