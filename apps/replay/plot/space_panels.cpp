#include "apps/replay/plot/space_panels.hpp"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <vector>

#include <Eigen/Geometry>

#include "apps/replay/plot/colours.hpp"
#include "apps/replay/plot/figures.hpp"

namespace replay {
namespace motion = tavo::motion;
namespace {

using Eigen::AlignedBox2d, Eigen::Vector2d, Eigen::Vector3d;

constexpr std::size_t most_figures = 9;
constexpr double margin = 22, least_height = 160, most_height = 500, mark_distance = 60;  // px

Vector2d from_above(const Vector3d& point) {
  return {point.x(), point.y()};
}

// A sole that stands, seen from above: around its corners.
std::vector<Vector2d> outline(const Foothold& foothold) {
  const Vector2d ahead = from_above(foothold.ahead).normalized();
  const Vector2d half_width = drawn_half_width * Vector2d(-ahead.y(), ahead.x());
  const Vector2d heel = from_above(foothold.sole) + drawn_heel * ahead;
  const Vector2d toe = from_above(foothold.sole) + drawn_toe * ahead;
  return {heel + half_width, toe + half_width, toe - half_width, heel - half_width,
          heel + half_width};
}

class SpacePanels {
 public:
  SpacePanels(Sheet& sheet, const MotionTrace& trace);

  void add_side();
  void add_above();

 private:
  void find_bounds();
  void begin_panel(const std::string& title, const char* x, const char* y,
                   const AlignedBox2d& bounds);
  void write_places() const;
  void write_figures() const;
  void write_times() const;
  void write_footholds(const char* block, std::size_t foot) const;

  Sheet& sheet_;
  std::ostream& out_;
  const MotionTrace& trace_;
  std::vector<Posture> postures_;
  std::vector<Figure> figures_;  // of postures_
  AlignedBox2d side_, above_;    // what is to be seen, m
  double scale_;                 // px a metre
  Interval x_;
};

SpacePanels::SpacePanels(Sheet& sheet, const MotionTrace& trace)
    : sheet_(sheet),
      out_(sheet.script()),
      trace_(trace),
      postures_(trace.postures()),
      figures_(chosen_figures(postures_, most_figures)) {
  find_bounds();
  const Interval x{std::min(side_.min().x(), above_.min().x()),
                   std::max(side_.max().x(), above_.max().x())};
  const auto fitting = [](double px, double metres) { return (px - 2 * margin) / metres; };
  scale_ =
      std::min({fitting(Sheet::panel_width, x.length()), fitting(most_height, side_.sizes().y()),
                fitting(most_height, above_.sizes().y())});
  x_ = resized(x, Sheet::panel_width / scale_);
}

void SpacePanels::find_bounds() {
  if (figures_.empty()) side_ = above_ = AlignedBox2d(Vector2d(-1, -1), Vector2d(1, 1));
  for (const Figure& figure : figures_) side_.extend(bounds_from_side(trace_.skeleton(), figure));
  for (const Posture& posture : postures_) {
    side_.extend(from_side(posture.com));
    above_.extend(from_above(posture.com));
    for (const Vector3d& sole : posture.soles) {
      side_.extend(from_side(sole));
      above_.extend(from_above(sole));
    }
  }
  for (std::size_t foot = 0; foot < motion::foot_bodies.size(); ++foot) {
    for (const Foothold& foothold : trace_.footholds(foot)) {
      for (const Vector2d& corner : outline(foothold)) above_.extend(corner);
    }
  }
}

void SpacePanels::begin_panel(const std::string& title, const char* x, const char* y,
                              const AlignedBox2d& bounds) {
  const Interval seen{bounds.min().y(), bounds.max().y()};
  const double height = std::max(least_height, std::ceil(seen.length() * scale_ + 2 * margin));
  const double step = round_step(mark_distance / scale_);
  sheet_.begin_panel(title, height, {x, x_, step}, {y, resized(seen, height / scale_), step});
}

// The blocks $path, for every posture, and $stop, for those that are drawn: x y z of the centre of
// mass, of the left sole and of the right sole.
void SpacePanels::write_places() const {
  const auto write = [this](const Posture& posture) {
    for (const Vector3d& point : {posture.com, posture.soles[0], posture.soles[1]}) {
      out_ << point.x() << " " << point.y() << " " << point.z() << " ";
    }
    out_ << "\n";
  };
  out_ << "$path << EOD\n";
  for (const Posture& posture : postures_) write(posture);
  out_ << "EOD\n$stop << EOD\n";
  for (const Figure& figure : figures_) write(*figure.posture);
  out_ << "EOD\n";
}

void SpacePanels::write_figures() const {
  out_ << "$figures << EOD\n";
  for (const Figure& figure : figures_) write_figure(out_, trace_.skeleton(), figure);
  out_ << "EOD\n";
}

// Over the heads, where there is room beside those that are there already. The last comes first.
void SpacePanels::write_times() const {
  constexpr double character = 7.2, height = 16, distance = 10;  // px
  const double step = (trace_.last_time() - trace_.first_time()) / most_figures;
  const int decimals =
      step > 0 ? std::clamp(-static_cast<int>(std::floor(std::log10(step))), 0, 4) : 2;
  std::vector<AlignedBox2d> taken;
  out_ << "$times << EOD\n";
  for (auto figure = figures_.rbegin(); figure != figures_.rend(); ++figure) {
    std::ostringstream time;
    time << std::fixed << std::setprecision(decimals) << figure->posture->time << " s";
    const Vector2d place = top_of_head(trace_.skeleton(), *figure) + Vector2d(0, distance / scale_);
    const Vector2d half =
        Vector2d(character * static_cast<double>(time.str().size()), height) / (2 * scale_);
    const AlignedBox2d room(place - half, place + half);
    if (std::any_of(taken.begin(), taken.end(),
                    [&room](const AlignedBox2d& other) { return room.intersects(other); })) {
      continue;
    }
    taken.push_back(room);
    out_ << place.x() << " " << place.y() << " \"" << time.str() << "\"\n";
  }
  out_ << "EOD\n";
}

void SpacePanels::write_footholds(const char* block, std::size_t foot) const {
  out_ << block << " << EOD\n";
  for (const Foothold& foothold : trace_.footholds(foot)) {
    for (const Vector2d& corner : outline(foothold)) {
      out_ << corner.x() << " " << corner.y() << "\n";
    }
    out_ << "\n";
  }
  out_ << "EOD\n";
}

void SpacePanels::add_side() {
  begin_panel("Side view, x against z: figures darken with time", "", "z, m", side_);
  write_places();
  write_figures();
  write_times();
  const auto line = [](unsigned colour, double width, const char* title) {
    std::ostringstream text;
    text << " with lines lc rgb " << colour << " lw " << width << " title '" << title << "', \\\n";
    return text.str();
  };
  out_ << "plot $figures using 1:2:3 with lines lc rgb variable lw 2 notitle, \\\n"
       << "keyentry" << line(blue, 3, "left limbs") << "keyentry"
       << line(vermillion, 3, "right limbs") << "keyentry" << line(grey, 3, "trunk, head")
       << "$path using 4:6" << line(blue, 1.2, "left sole") << "$path using 7:9"
       << line(vermillion, 1.2, "right sole") << "$path using 1:3"
       << line(black, 1.5, "centre of mass")
       << "$stop using 1:3 with points pt 7 ps 0.5 lc rgb 0 title 'at each figure', \\\n"
       << "$times using 1:2:3 with labels notitle\n";
}

void SpacePanels::add_above() {
  begin_panel("From above, x against y", "x, m", "y, m", above_);
  write_footholds("$left", 0);
  write_footholds("$right", 1);
  const auto soles = [](unsigned colour, const char* title) {
    std::ostringstream text;
    text << " with filledcurves closed fc rgb " << colour
         << " fs transparent solid 0.12 border lc rgb " << colour << " title '" << title
         << "', \\\n";
    return text.str();
  };
  out_ << "plot $left using 1:2" << soles(blue, "left foot stands") << "$right using 1:2"
       << soles(vermillion, "right foot stands")
       << "$path using 1:2 with lines lc rgb 0 lw 1.5 title 'centre of mass', \\\n"
       << "$stop using 1:2 with points pt 7 ps 0.5 lc rgb 0 title 'at each figure'\n";
}

}  // namespace

void add_space_panels(Sheet& sheet, const MotionTrace& trace) {
  SpacePanels panels(sheet, trace);
  panels.add_side();
  panels.add_above();
}

}  // namespace replay
