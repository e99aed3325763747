#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <set>
#include <string>
#include <vector>

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include "apps/replay/plot/axis.hpp"
#include "apps/replay/plot/footholds.hpp"
#include "apps/replay/plot/view.hpp"
#include "tests/motions.hpp"
#include "tests/plot_fixture.hpp"

namespace {

using Eigen::Vector3d;

// Heights of the centres of mass of the figures, m.
std::vector<double> heights(const Picture& picture) {
  const double zero = picture.find("0", "end").y, mark = picture.find("0.2", "end").y;
  constexpr double below = 4.1;  // px, from a mark to the line that its text stands on
  std::vector<double> heights;
  for (std::size_t i = 0; i < picture.centres_of_mass.size() / 2; ++i) {
    heights.push_back(0.2 * (zero - (picture.centres_of_mass[i].y + below)) / (zero - mark));
  }
  return heights;
}

// Whatever the motion: nine figures that use the width, seen along its travel, no text upon
// another.
TEST_F(ReplayPlot, ShowsMotionsOfEveryKind) {
  struct Want {
    std::string seen;
    bool in_place;
    double width;  // from the first figure to the last, of the panel's
  };
  const std::map<std::string, Want> wanted = {
      {"walk_x", {"x", true, 0.5}},     {"walk_y", {"y", true, 0.5}},
      {"to_and_fro", {"x", true, 0.5}}, {"walk_diagonal", {"45° left of x", true, 0.5}},
      {"circle", {"x", true, 0.6}},     {"fall", {"x", true, 0.4}},
      {"turn", {"x", false, 0.8}},      {"squats", {"x", false, 0.8}},
      {"jump", {"x", false, 0.8}},      {"one_leg", {"y", false, 0.8}},
      {"head_shake", {"y", false, 0.8}}};
  for (const std::string& name : motions::names()) {
    SCOPED_TRACE(name);
    const Want& want = wanted.at(name);
    const Picture picture(svg(motions::csv(name)));
    EXPECT_TRUE(picture.has("Side view, " + want.seen + " against z: figures " +
                            (want.in_place ? "darken with time" : "side by side")));
    EXPECT_TRUE(picture.has(want.in_place ? want.seen + ", m" : "time of each figure, s"));
    EXPECT_TRUE(picture.has("Torques of the head"));
    EXPECT_EQ(picture.overlaps(), std::vector<std::string>());
    EXPECT_EQ(picture.centres_of_mass.size(), 18U);
    const auto figures = std::minmax_element(
        picture.centres_of_mass.begin(), picture.centres_of_mass.begin() + 9,
        [](const Picture::Point& a, const Picture::Point& b) { return a.x < b.x; });
    EXPECT_GT(figures.second->x - figures.first->x, want.width * 640);
  }
}

// The deepest pose and the highest are among the figures, however short or long the motion, and the
// last time is there.
TEST_F(ReplayPlot, ShowsExtremesOfRepeatedMotions) {
  for (const auto& [count, rate] : {std::pair(2, 100.0), {400, 4.0}}) {
    const Picture picture(svg(motions::squats(count, rate, 0)));
    write("motion.csv", motions::squats(1, 100, 0));
    EXPECT_EQ(run("motion.csv -o results.csv --signals com"), 0);
    const Table com = table(read("results.csv"));
    const auto z = [&com](std::size_t row) { return std::stod(com.at(row)[3]); };
    const std::vector<double> shown = heights(picture);
    ASSERT_EQ(shown.size(), 9U);
    EXPECT_NEAR(*std::min_element(shown.begin(), shown.end()), z(151), 2e-3) << count;
    EXPECT_NEAR(*std::max_element(shown.begin(), shown.end()), z(1), 2e-3) << count;
    picture.find(count == 2 ? "6.0" : "1200", "middle");
  }
}

// A sole that turns stands in many places about the middle, none of them in the middle.
TEST_F(ReplayPlot, ShowsWhereATurningFootStood) {
  const Picture picture(svg(motions::csv("turn")));
  // The side view has no such marks.
  const double left = picture.find("-0.10", "middle").x, right = picture.find("0.10", "middle").x;
  const double px_per_metre = (right - left) / 0.2, middle = (left + right) / 2;
  ASSERT_GT(picture.soles.size(), 60U);
  double lowest = 1e9, highest = 0;
  for (const Picture::Sole& sole : picture.soles) {
    lowest = std::min(lowest, sole.middle().y);
    highest = std::max(highest, sole.middle().y);
  }
  for (const Picture::Sole& sole : picture.soles) {
    const double x = sole.middle().x - middle, y = sole.middle().y - (lowest + highest) / 2;
    EXPECT_NEAR(std::hypot(x, y) / px_per_metre, std::hypot(0.05, 0.02), 0.002);
  }
}

// Legs that coincide are seen both: the farther one is the wider.
TEST_F(ReplayPlot, ShowsBothOfTwoLegsThatCoincide) {
  const auto under = [](const std::string& svg) {
    const std::size_t begin = svg.find("gnuplot_plot_1a");
    const std::string lines = svg.substr(begin, svg.find("gnuplot_plot_2a") - begin);
    return lines.find("rgb(  0, 114, 178)") != std::string::npos;
  };
  EXPECT_TRUE(under(svg(motions::csv("squats"))));
  EXPECT_FALSE(under(svg(motions::csv("one_leg"))));
}

// Seconds since 1970 are not repeated on every mark.
TEST_F(ReplayPlot, CountsLateTimesFromTheStart) {
  const Picture picture(svg(motions::squats(2, 100, 1.7e9)));
  EXPECT_TRUE(picture.has("time, s (0 is 1700000000)"));
  EXPECT_TRUE(picture.has("time of each figure, s (0 is 1700000000)"));
  for (const Picture::Text& text : picture.texts) {
    EXPECT_FALSE(text.text.starts_with("17000")) << text.text;
  }
  EXPECT_EQ(picture.overlaps(), std::vector<std::string>());
}

TEST_F(ReplayPlot, ViewCanBeChosen) {
  const std::string walk_y = motions::csv("walk_y");
  EXPECT_TRUE(Picture(svg(walk_y, "--view x")).has("Side view, x against z: figures side by side"));
  EXPECT_TRUE(
      Picture(svg(walk_y, "--view auto")).has("Side view, y against z: figures darken with time"));
}

// Heads stand close enough for these times to meet if each were just above its own.
TEST_F(ReplayPlot, KeepsTimesApartOverHeads) {
  Table rows = walk();
  for (std::size_t i = 1; i < rows.size(); ++i) rows[i][0] = "1" + std::to_string(1000 + i);
  const Picture picture(svg(text(rows)));
  EXPECT_EQ(picture.overlaps(), std::vector<std::string>());
  EXPECT_EQ(std::count_if(picture.texts.begin(), picture.texts.end(),
                          [](const Picture::Text& text) { return text.text.ends_with(" s"); }),
            9 + 2);  // the title, the axis
}

// The principal axis of a path, wherever it lies and whichever way it is walked; a circle has none.
TEST(Travel, IsAlongThePath) {
  const auto name_of = [](double degrees, double across) {
    replay::Travel travel;
    const double angle = degrees * std::numbers::pi / 180;
    for (int i = 0; i < 360; ++i) {
      const double phase = i * std::numbers::pi / 180;
      const Eigen::Vector2d place =
          Eigen::Rotation2Dd(angle) * Eigen::Vector2d(std::cos(phase), across * std::sin(phase));
      travel.add({Vector3d(place.x() + 1e3, place.y(), 0.3), Vector3d(7, 7, 7)});
    }
    return travel.view(replay::ViewChoice::automatic).name();
  };
  EXPECT_EQ(name_of(4, 0.1), "x");
  EXPECT_EQ(name_of(184, 0.1), "x");
  EXPECT_EQ(name_of(-94, 0.1), "y");
  EXPECT_EQ(name_of(31, 0.5), "30° left of x");
  EXPECT_EQ(name_of(-31, 0.5), "30° right of x");
  EXPECT_EQ(name_of(60, 1), "x");
  EXPECT_EQ(name_of(150, 0.5), "30° right of x");
  const Eigen::Vector2d seen = replay::View(90)(Vector3d(1, 2, 3));
  EXPECT_EQ(seen, Eigen::Vector2d(2, 3));
  EXPECT_GT(replay::View(90).nearness(Vector3d(1, 0, 0)), 0) << "x points to the eye";
}

// A step that slides by less than a centimetre is one place; one that goes on is several.
TEST(Footholds, EndWhereTheFootHasGone) {
  const auto places = [](double slide, double turn) {
    replay::Footholds footholds;
    for (int i = 0; i <= 100; ++i) {
      const double angle = 0.01 * i * turn;
      footholds.add(
          true, {Vector3d(0.01 * i * slide, 0, 0), Vector3d(std::cos(angle), std::sin(angle), 0)});
    }
    return footholds.all();
  };
  EXPECT_EQ(places(0.009, 0).size(), 1U);
  EXPECT_NEAR(places(0.009, 0)[0].sole.x(), 0.0045, 1e-9);
  EXPECT_EQ(places(0, 0.1).size(), 1U);
  EXPECT_GE(places(0.1, 0).size(), 9U);
  EXPECT_GE(places(0, 1.0).size(), 6U);
}

// Whatever it shows, an axis has marks that can be told apart, at their places, and short.
TEST(RoundAxis, HasMarksThatSayWhereTheyAre) {
  for (const double low : {-1e6, -5000.0, -0.3, -2e-4, 0.0, 0.7, 123.4, 1.7e9}) {
    for (const double length : {1e-6, 3e-4, 0.02, 0.9, 7.0, 44.0, 1e3, 5e5}) {
      for (const double px : {90.0, 240.0, 640.0}) {
        if (std::abs(low) * 1e-15 > length * 1e-6) continue;
        const replay::Interval range{low, low + length};
        const auto direction = px > 600 ? replay::Direction::across : replay::Direction::up;
        const replay::Axis axis = replay::round_axis("x", "m", range, px, direction);
        SCOPED_TRACE(testing::Message() << low << " " << length << " " << px);
        ASSERT_GE(axis.marks.size(), 2U);
        const double space = (axis.marks[1].at - axis.marks[0].at) / length * px;
        std::set<std::string> texts;
        for (const replay::Mark& mark : axis.marks) {
          texts.insert(mark.text);
          EXPECT_LE(mark.text.size(), 8U) << mark.text;
          EXPECT_GE(mark.at, low - 1e-6 * length);
          EXPECT_LE(mark.at, low + length * (1 + 1e-6));
          EXPECT_GT(space, px > 600 ? replay::text_width(mark.text) : 15);
        }
        EXPECT_EQ(texts.size(), axis.marks.size());
      }
    }
  }
}

}  // namespace
