#pragma once

#include <algorithm>
#include <array>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "apps/replay/plot/axis.hpp"
#include "apps/replay/plot/skeleton.hpp"
#include "apps/replay/sole_outline.hpp"
#include "tests/replay_fixture.hpp"

/// What gnuplot wrote: texts with their places, the soles that stand, the centres of mass of the
/// figures, in px.
struct Picture {
  struct Point {
    double x, y;
  };
  struct Text {
    double x, y, size;
    bool upright;
    std::string anchor, text;
  };
  struct Sole {
    bool left;
    std::array<Point, 4> corners;  // heel and toe on its left, toe and heel on its right
    Point middle() const {
      return {(corners[0].x + corners[2].x) / 2, (corners[0].y + corners[2].y) / 2};
    }
  };
  std::vector<Text> texts;
  std::vector<Sole> soles;
  std::vector<Point> centres_of_mass;            // from the side, then from above
  std::vector<std::vector<Point>> green_curves;  // solid

  explicit Picture(const std::string& svg) {
    const std::regex text(
        R"re(translate\(([\d.]+),([\d.]+)\)( rotate)?[^>]*font-size="([\d.]+)"[^>]*text-anchor="(\w+)">\s*<text>(?:<tspan[^>]*>)?([^<]*)<)re");
    for_each(svg, text, [this](const std::smatch& found) {
      texts.push_back({std::stod(found[1]), std::stod(found[2]), std::stod(found[4]),
                       found[3].length() == 0, found[5], found[6]});
    });
    const std::regex sole(R"(<polygon fill = 'rgb\( *(\d+)[^>]*points = '([\d., ]+)')");
    for_each(svg, sole, [this](const std::smatch& found) {
      Sole read{std::stoi(found[1]) == 0, {}};
      std::string numbers = found[2];
      std::replace(numbers.begin(), numbers.end(), ',', ' ');
      std::istringstream in(numbers);
      for (Point& corner : read.corners) in >> corner.x >> corner.y;
      if (read.corners[0].x < legend) soles.push_back(read);
    });
    const std::regex dot(R"(#gpPt6' transform='translate\(([\d.]+),([\d.]+)\))");
    for_each(svg, dot, [this](const std::smatch& found) {
      const Point at{std::stod(found[1]), std::stod(found[2])};
      if (at.x < legend) centres_of_mass.push_back(at);
    });
    const std::string curve = "<path stroke='rgb(  0, 158, 115)'  d='";  // too long for a regex
    for (std::size_t at = 0; (at = svg.find(curve, at)) != std::string::npos;) {
      at += curve.size();
      std::string numbers = svg.substr(at, svg.find('\'', at) - at);
      std::replace_if(
          numbers.begin(), numbers.end(), [](char c) { return c == 'M' || c == 'L' || c == ','; },
          ' ');
      std::istringstream in(numbers);
      std::vector<Point> points;
      for (Point point{}; in >> point.x >> point.y;) {
        if (point.x < legend) points.push_back(point);
      }
      if (!points.empty()) green_curves.push_back(points);
    }
  }

  /// The first one: panels are written from the top down.
  Text find(const std::string& text, const std::string& anchor) const {
    for (const Text& one : texts) {
      if (one.text == text && one.anchor == anchor) return one;
    }
    ADD_FAILURE() << "no text " << text;
    return {};
  }
  bool has(const std::string& text) const {
    return std::any_of(texts.begin(), texts.end(),
                       [&text](const Text& one) { return one.text == text; });
  }
  double px_per_metre() const { return 10 * (find("0.1", "middle").x - find("0", "middle").x); }

  /// Where the points below the ankles stood, x in m.
  std::vector<double> footholds(bool left) const {
    std::vector<double> footholds;
    for (const Sole& sole : soles) {
      const double heel = (sole.corners[0].x - find("0", "middle").x) / px_per_metre();
      if (sole.left == left) footholds.push_back(heel - replay::sole_heel);
    }
    return footholds;
  }

  /// Pairs of texts that print over each other.
  std::vector<std::string> overlaps() const {
    std::vector<std::string> pairs;
    for (std::size_t i = 0; i < texts.size(); ++i) {
      for (std::size_t j = 0; j < i; ++j) {
        if (meet(box(texts[i]), box(texts[j])))
          pairs.push_back(texts[i].text + "|" + texts[j].text);
      }
    }
    return pairs;
  }

 private:
  static constexpr double legend = 728;
  struct Box {
    double left, right, top, bottom;
  };

  template <class Use>
  static void for_each(const std::string& text, const std::regex& pattern, Use use) {
    for (std::sregex_iterator found(text.begin(), text.end(), pattern), end; found != end;
         ++found) {
      use(*found);
    }
  }
  static Box box(const Text& text) {
    const double length = replay::text_width(text.text) * text.size / 12.5;
    const double before = text.anchor == "start" ? 0 : text.anchor == "end" ? length : length / 2;
    const double above = 0.75 * text.size, below = 0.2 * text.size;
    if (text.upright) {
      return {text.x - before, text.x - before + length, text.y - above, text.y + below};
    }
    return {text.x - above, text.x + below, text.y + before - length, text.y + before};
  }
  static bool meet(const Box& a, const Box& b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
  }
};

class ReplayPlot : public Replay {
 protected:
  std::string svg(const std::string& motion, const std::string& options = "") const {
    write("motion.csv", motion);
    EXPECT_EQ(run("motion.csv --plot motion.svg " + options), 0) << read("err");
    const std::string picture = read("motion.svg");
    EXPECT_TRUE(picture.ends_with("</svg>\n\n")) << picture.substr(0, 200);
    return picture;
  }

  // From here on this script runs in the place of gnuplot.
  void replace_gnuplot(const std::string& script) const {
    fs::create_directory(folder_ / "bin");
    write("bin/gnuplot", "#!/bin/sh\n" + script);
    fs::permissions(folder_ / "bin" / "gnuplot", fs::perms::owner_all);
  }
};
