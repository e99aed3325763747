#include "apps/replay/plot/space_panels.hpp"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <set>
#include <sstream>
#include <vector>

#include <Eigen/Geometry>

#include "apps/replay/plot/axis.hpp"
#include "apps/replay/plot/colours.hpp"
#include "apps/replay/plot/figures.hpp"

namespace replay {
namespace {

using Eigen::AlignedBox2d, Eigen::Vector2d, Eigen::Vector3d;

constexpr std::size_t most_figures = 9;
constexpr double margin = 22, least_height = 160, most_height = 500;  // px
constexpr double least_scale = 200, most_scale = 1500;                // px a metre
constexpr double label_height = 16;                                   // px

// A sole that stands, seen from above: around its corners.
std::vector<Vector2d> outline(const Foothold& foothold) {
  const Vector2d ahead = foothold.ahead.head<2>().normalized();
  const Vector2d half_width = drawn_half_width * Vector2d(-ahead.y(), ahead.x());
  const Vector2d heel = foothold.sole.head<2>() + drawn_heel * ahead;
  const Vector2d toe = foothold.sole.head<2>() + drawn_toe * ahead;
  return {heel + half_width, toe + half_width, toe - half_width, heel - half_width,
          heel + half_width};
}

// px a metre at which all of it fits, with a margin.
double fitting(const Vector2d& size, double height) {
  return std::min((Sheet::panel_width - 2 * margin) / size.x(), (height - 2 * margin) / size.y());
}

Interval across(const AlignedBox2d& box) {
  return {box.min().x(), box.max().x()};
}
Interval up(const AlignedBox2d& box) {
  return {box.min().y(), box.max().y()};
}

std::string line(unsigned colour, double width, const char* title) {
  std::ostringstream text;
  text << " with lines lc rgb " << colour << " lw " << width << " title '" << title << "', \\\n";
  return text.str();
}

class SpacePanels {
 public:
  SpacePanels(Sheet& sheet, const MotionTrace& trace, ViewChoice choice);

  void add_side();
  void add_above();

 private:
  struct Label {
    Vector2d at;
    std::string text;
  };

  void stand_in_place();
  void stand_side_by_side(double travel);
  void find_above();
  std::vector<std::string> times() const;
  std::vector<Label> labels_over_heads() const;
  double begin_panel(const std::string& title, Axis x, const char* y, double scale,
                     const AlignedBox2d& seen);
  void write_places() const;
  void write_figures(const char* block, Layer layer) const;
  void write_footholds(const char* block, std::size_t foot) const;

  Sheet& sheet_;
  std::ostream& out_;
  const MotionTrace& trace_;
  const View view_;
  std::vector<Posture> postures_;
  std::vector<Figure> figures_;  // of postures_
  bool in_place_ = true;         // else side by side
  AlignedBox2d side_, above_;    // what is to be seen, m
  double side_scale_, above_scale_;
};

SpacePanels::SpacePanels(Sheet& sheet, const MotionTrace& trace, ViewChoice choice)
    : sheet_(sheet),
      out_(sheet.script()),
      trace_(trace),
      view_(trace.view(choice)),
      postures_(trace.postures()) {
  if (postures_.empty()) {
    side_ = above_ = AlignedBox2d(Vector2d(-1, -1), Vector2d(1, 1));
    side_scale_ = above_scale_ = least_scale;
    return;
  }
  AlignedBox2d com;
  for (const Posture& posture : postures_) com.extend(view_(posture.com));
  stand_in_place();
  const double travel = com.sizes().x();
  if (!(travel > 0.2 && side_scale_ > least_scale)) stand_side_by_side(travel);
  find_above();
}

void SpacePanels::stand_in_place() {
  figures_ = chosen_figures(postures_, most_figures, &view_);
  for (const Figure& figure : figures_) side_.extend(bounds(trace_.skeleton(), figure, view_));
  for (const Posture& posture : postures_) {
    side_.extend(view_(posture.com));
    for (const Vector3d& sole : posture.soles) side_.extend(view_(sole));
  }
  side_scale_ = fitting(side_.sizes(), most_height);
}

// Each figure has a place of its own, none narrower than the widest. Where the robot stays about,
// its places are the same piece of ground, so that one sees it sway; else the centre of mass is in
// the middle.
void SpacePanels::stand_side_by_side(double travel) {
  in_place_ = false;
  figures_ = chosen_figures(postures_, most_figures, nullptr);
  std::vector<AlignedBox2d> boxes;
  AlignedBox2d all;
  for (const Figure& figure : figures_) {
    boxes.push_back(bounds(trace_.skeleton(), figure, view_));
    all.extend(boxes.back());
  }
  const bool stays = travel < 0.2;
  double half = 0;
  for (std::size_t i = 0; i < figures_.size(); ++i) {
    figures_[i].shift = -(stays ? all.center() : view_(figures_[i].posture->com)).x();
    half = std::max(
        {half, boxes[i].max().x() + figures_[i].shift, -boxes[i].min().x() - figures_[i].shift});
  }
  all.extend(Vector2d(all.center().x(), 0));  // the ground
  const double count = static_cast<double>(figures_.size());
  double place = 2 * half + 0.04;
  side_scale_ =
      std::min(Sheet::panel_width / (count * place), (most_height - 2 * margin) / all.sizes().y());
  place = Sheet::panel_width / (count * side_scale_);
  for (std::size_t i = 0; i < figures_.size(); ++i) {
    figures_[i].shift += static_cast<double>(i) * place;
  }
  side_ = AlignedBox2d(Vector2d(-place / 2, all.min().y()),
                       Vector2d((count - 0.5) * place, all.max().y()));
}

// To the scale of the figures where both panels have the same axis.
void SpacePanels::find_above() {
  for (const Posture& posture : postures_) above_.extend(posture.com.head<2>().eval());
  for (std::size_t foot = 0; foot < motion::foot_bodies.size(); ++foot) {
    for (const Foothold& foothold : trace_.footholds(foot)) {
      for (const Vector2d& corner : outline(foothold)) above_.extend(corner);
    }
  }
  if (in_place_ && view_.is_along_x()) {
    AlignedBox2d both = above_;
    both.extend(Vector2d(side_.min().x(), above_.min().y()));
    both.extend(Vector2d(side_.max().x(), above_.max().y()));
    side_scale_ = above_scale_ = std::min(side_scale_, fitting(both.sizes(), most_height));
    const Interval x = resized(across(both), Sheet::panel_width / side_scale_);
    for (AlignedBox2d* box : {&side_, &above_}) {
      box->min().x() = x.low;
      box->max().x() = x.high;
    }
  } else {
    above_scale_ = std::min(fitting(above_.sizes(), 0.75 * most_height), most_scale);
  }
}

// Of the figures (s), with as many decimals as tell them apart.
std::vector<std::string> SpacePanels::times() const {
  const double start = time_origin(trace_);
  const double duration = trace_.last_time() - trace_.first_time();
  int decimals = duration > 0 ? std::min(4, decimals_of(duration / most_figures)) : 2;
  while (true) {
    std::vector<std::string> texts;
    for (const Figure& figure : figures_) {
      texts.push_back(fixed_text(figure.posture->time - start, decimals));
    }
    const bool distinct = std::set(texts.begin(), texts.end()).size() == texts.size();
    if (distinct || ++decimals > 9) return texts;
  }
}

// Each as near above its head as heads and other labels leave room, the last figure's first.
std::vector<SpacePanels::Label> SpacePanels::labels_over_heads() const {
  const std::vector<std::string> texts = times();
  std::vector<AlignedBox2d> taken;
  std::vector<Disc> heads;
  for (const Figure& figure : figures_) heads.push_back(head(trace_.skeleton(), figure, view_));
  std::vector<Label> labels;
  for (std::size_t i = figures_.size(); i-- > 0;) {
    const std::string text = texts[i] + " s";
    const Vector2d half = Vector2d(text_width(text) + 4, label_height) / (2 * side_scale_);
    for (int row = 0; row < 6; ++row) {
      const Vector2d place =
          heads[i].centre + Vector2d(0, heads[i].radius + (2 * row + 1.2) * half.y());
      const AlignedBox2d room(place - half, place + half);
      const bool free =
          std::none_of(taken.begin(), taken.end(),
                       [&room](const AlignedBox2d& other) { return room.intersects(other); }) &&
          std::none_of(heads.begin(), heads.end(), [&room](const Disc& other) {
            return room.exteriorDistance(other.centre) < other.radius;
          });
      if (!free) continue;
      taken.push_back(room);
      labels.push_back({place, text});
      break;
    }
  }
  return labels;
}

double SpacePanels::begin_panel(const std::string& title, Axis x, const char* y, double scale,
                                const AlignedBox2d& seen) {
  const double height = std::max(least_height, std::ceil(seen.sizes().y() * scale + 2 * margin));
  const Interval range = resized(up(seen), height / scale);
  sheet_.begin_panel(title, height, x, round_axis(y, "m", range, height, Direction::up));
  return height;
}

// The blocks $path, for every posture: the centre of mass, the left sole and the right sole, as
// seen from the side, the first also from above; and $stop, for those that are drawn: the centre of
// mass, in both views.
void SpacePanels::write_places() const {
  out_ << "$path << EOD\n";
  for (const Posture& posture : postures_) {
    for (const Vector3d& point : {posture.com, posture.soles[0], posture.soles[1]}) {
      out_ << view_(point).x() << " " << point.z() << " ";
    }
    out_ << posture.com.x() << " " << posture.com.y() << "\n";
  }
  out_ << "EOD\n$stop << EOD\n";
  for (const Figure& figure : figures_) {
    const Vector3d& com = figure.posture->com;
    out_ << view_(com).x() + figure.shift << " " << com.z() << " " << com.x() << " " << com.y()
         << "\n";
  }
  out_ << "EOD\n";
}

void SpacePanels::write_figures(const char* block, Layer layer) const {
  out_ << block << " << EOD\n";
  for (const Figure& figure : figures_) {
    write_figure(out_, trace_.skeleton(), figure, view_, layer);
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
  const Interval seen = resized(across(side_), Sheet::panel_width / side_scale_);
  const std::string name = "Side view, " + view_.name() + " against z: figures ";
  std::vector<Label> labels;
  if (in_place_) {
    labels = labels_over_heads();
    for (const Label& label : labels) {
      side_.extend(label.at + Vector2d(0, (label_height / 2 - margin) / side_scale_));
    }
    Axis x = round_axis(view_.name(), "m", seen, Sheet::panel_width, Direction::across);
    if (view_.is_along_x()) x.title.clear();
    begin_panel(name + "darken with time", x, "z", side_scale_, side_);
  } else {
    const double start = time_origin(trace_);
    std::ostringstream title;
    title.precision(12);
    title << "time of each figure, s";
    if (start != 0) title << " (0 is " << start << ")";
    Axis x{title.str(), seen, {}};
    const std::vector<std::string> texts = times();
    const double place = (side_.max().x() - side_.min().x()) / static_cast<double>(texts.size());
    for (std::size_t i = 0; i < texts.size(); ++i) {
      x.marks.push_back({side_.min().x() + (static_cast<double>(i) + 0.5) * place, texts[i]});
    }
    begin_panel(name + "side by side", x, "z", side_scale_, side_);
  }
  write_places();
  write_figures("$under", Layer::under);
  write_figures("$far", Layer::far);
  write_figures("$middle", Layer::middle);
  write_figures("$near", Layer::near);
  out_ << "$times << EOD\n";
  for (const Label& label : labels) {
    out_ << label.at.x() << " " << label.at.y() << " \"" << label.text << "\"\n";
  }
  out_ << "EOD\n";
  const char* const in_colour = " using 1:2:3 with lines lc rgb variable lw ";
  out_ << "plot $under" << in_colour << "5 notitle, \\\n";
  for (const char* block : {"$far", "$middle", "$near"}) {
    out_ << block << in_colour << "2 notitle, \\\n";
  }
  out_ << "keyentry" << line(blue, 3, "left limbs") << "keyentry"
       << line(vermillion, 3, "right limbs") << "keyentry" << line(grey, 3, "trunk, head");
  if (in_place_) {
    out_ << "$path using 3:4" << line(blue, 2.2, "left sole") << "$path using 5:6"
         << line(vermillion, 1, "right sole") << "$path using 1:2"
         << line(black, 1.5, "centre of mass") << "$times using 1:2:3 with labels notitle, \\\n";
  }
  out_ << "$stop using 1:2 with points pt 7 ps 0.5 lc rgb 0 title '"
       << (in_place_ ? "at each figure" : "centre of mass") << "'\n";
}

void SpacePanels::add_above() {
  const Interval seen = resized(across(above_), Sheet::panel_width / above_scale_);
  begin_panel("From above, x against y",
              round_axis("x", "m", seen, Sheet::panel_width, Direction::across), "y", above_scale_,
              above_);
  write_footholds("$left", 0);
  write_footholds("$right", 1);
  const auto soles = [this](const char* block, std::size_t foot, unsigned colour,
                            const char* title) {
    const bool many = trace_.footholds(foot).size() > 20;  // they overlap
    std::ostringstream text;
    text << block << " using 1:2 with filledcurves closed lw " << (many ? 0.5 : 1) << " fc rgb "
         << colour << " fs transparent solid " << (many ? 0.04 : 0.12) << " border lc rgb "
         << colour << " title '" << title << "', \\\n";
    return text.str();
  };
  out_ << "plot " << soles("$left", 0, blue, "left foot stands")
       << soles("$right", 1, vermillion, "right foot stands")
       << "$path using 7:8 with lines lc rgb 0 lw 1.5 title 'centre of mass', \\\n"
       << "$stop using 3:4 with points pt 7 ps 0.5 lc rgb 0 title 'at each figure'\n";
}

}  // namespace

void add_space_panels(Sheet& sheet, const MotionTrace& trace, ViewChoice view) {
  SpacePanels panels(sheet, trace, view);
  panels.add_side();
  panels.add_above();
}

}  // namespace replay
