#include "apps/replay/plot/side_panel.hpp"

#include <algorithm>
#include <ostream>
#include <set>
#include <sstream>
#include <vector>

#include "apps/replay/decimals.hpp"
#include "apps/replay/plot/colours.hpp"

namespace replay {
namespace {

using Eigen::AlignedBox2d, Eigen::Vector2d, Eigen::Vector3d;

constexpr double label_height = 16;  // px

struct Label {
  Vector2d at;  // its middle
  std::string text;
};

// Of the figures (s), with as many decimals as tell them apart.
std::vector<std::string> times(const MotionTrace& trace, const std::vector<Figure>& figures) {
  const double start = time_origin(trace);
  const double duration = trace.last_time() - trace.first_time();
  int decimals = duration > 0 ? std::min(4, decimals_of(duration / 9)) : 2;
  while (true) {
    std::vector<std::string> texts;
    for (const Figure& figure : figures) {
      texts.push_back(fixed_text(figure.posture->time - start, decimals));
    }
    const bool distinct = std::set(texts.begin(), texts.end()).size() == texts.size();
    if (distinct || ++decimals > 9) return texts;
  }
}

// Each as near above its head as heads and other labels leave room, the last figure's first.
std::vector<Label> labels_over_heads(const MotionTrace& trace, const Arrangement& arrangement) {
  const std::vector<Figure>& figures = arrangement.figures();
  const std::vector<std::string> texts = times(trace, figures);
  std::vector<AlignedBox2d> taken;
  std::vector<Disc> heads;
  for (const Figure& figure : figures) {
    heads.push_back(head(trace.skeleton(), figure, arrangement.view()));
  }
  std::vector<Label> labels;
  for (std::size_t i = figures.size(); i-- > 0;) {
    const std::string text = texts[i] + " s";
    const Vector2d half =
        Vector2d(text_width(text) + 4, label_height) / (2 * arrangement.scene().scale);
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

Axis times_of_places(const MotionTrace& trace, const Arrangement& arrangement) {
  const double start = time_origin(trace);
  std::ostringstream title;
  title.precision(12);
  title << "time of each figure, s";
  if (start != 0) title << " (0 is " << start << ")";
  Axis axis{title.str(), across(arrangement.scene()), {}};
  double at = arrangement.scene().seen.min().x() + arrangement.place() / 2;
  for (const std::string& text : times(trace, arrangement.figures())) {
    axis.marks.push_back({at, text});
    at += arrangement.place();
  }
  return axis;
}

// A block a layer: $under, $far, $middle, $near.
void write_figures(std::ostream& out, const Skeleton& skeleton, const Arrangement& arrangement) {
  const std::vector<std::pair<const char*, Layer>> layers = {{"$under", Layer::under},
                                                             {"$far", Layer::far},
                                                             {"$middle", Layer::middle},
                                                             {"$near", Layer::near}};
  for (const auto& [block, layer] : layers) {
    out << block << " << EOD\n";
    for (const Figure& figure : arrangement.figures()) {
      write_figure(out, skeleton, figure, arrangement.view(), layer);
    }
    out << "EOD\n";
  }
}

// The blocks $path, for every posture: the centre of mass, the left sole and the right sole; and
// $stop, for those that are drawn: the centre of mass.
void write_paths(std::ostream& out, const Arrangement& arrangement) {
  out << "$path << EOD\n";
  for (const Posture& posture : arrangement.postures()) {
    for (const Vector3d& point : {posture.com, posture.soles[0], posture.soles[1]}) {
      out << arrangement.view()(point).x() << " " << point.z() << " ";
    }
    out << "\n";
  }
  out << "EOD\n$stop << EOD\n";
  for (const Figure& figure : arrangement.figures()) {
    const Vector3d& com = figure.posture->com;
    out << arrangement.view()(com).x() + figure.shift << " " << com.z() << "\n";
  }
  out << "EOD\n";
}

std::string line(unsigned colour, double width, const char* title) {
  std::ostringstream text;
  text << " with lines lc rgb " << colour << " lw " << width << " title '" << title << "', \\\n";
  return text.str();
}

void plot_figures(std::ostream& out) {
  const char* const in_colour = " using 1:2:3 with lines lc rgb variable lw ";
  out << "plot $under" << in_colour << "5 notitle, \\\n";
  for (const char* block : {"$far", "$middle", "$near"}) {
    out << block << in_colour << "2 notitle, \\\n";
  }
  out << "keyentry" << line(blue, 3, "left limbs") << "keyentry"
      << line(vermillion, 3, "right limbs") << "keyentry" << line(grey, 3, "trunk, head");
}

}  // namespace

void add_side_panel(Sheet& sheet, const MotionTrace& trace, const Arrangement& arrangement) {
  const View& view = arrangement.view();
  const std::string title = "Side view, " + view.name() + " against z: figures ";
  Scene scene = arrangement.scene();
  std::vector<Label> labels;
  if (arrangement.in_place()) {
    labels = labels_over_heads(trace, arrangement);
    for (const Label& label : labels) {
      scene.seen.extend(label.at + Vector2d(0, (label_height / 2 - space_margin) / scene.scale));
    }
    Axis x = round_axis(view.name(), "m", across(scene), Sheet::panel_width, Direction::across);
    if (view.is_along_x()) x.title.clear();
    begin_space_panel(sheet, title + "darken with time", x, "z", scene);
  } else {
    begin_space_panel(sheet, title + "side by side", times_of_places(trace, arrangement), "z",
                      scene);
  }
  std::ostream& out = sheet.script();
  write_figures(out, trace.skeleton(), arrangement);
  write_paths(out, arrangement);
  out << "$labels << EOD\n";
  for (const Label& label : labels) {
    out << label.at.x() << " " << label.at.y() << " \"" << label.text << "\"\n";
  }
  out << "EOD\n";
  plot_figures(out);
  if (arrangement.in_place()) {
    out << "$path using 3:4" << line(blue, 2.2, "left sole") << "$path using 5:6"
        << line(vermillion, 1, "right sole") << "$path using 1:2"
        << line(black, 1.5, "centre of mass") << "$labels using 1:2:3 with labels notitle, \\\n";
  }
  out << "$stop using 1:2 with points pt 7 ps 0.5 lc rgb 0 title '"
      << (arrangement.in_place() ? "at each figure" : "centre of mass") << "'\n";
}

}  // namespace replay
