#include "apps/replay/plot/above_panel.hpp"

#include <algorithm>
#include <optional>
#include <ostream>
#include <sstream>
#include <vector>

#include "apps/replay/plot/colours.hpp"
#include "apps/replay/sole_outline.hpp"

namespace replay {
namespace {

using Eigen::Vector2d;

// A sole that stands: around its corners.
std::vector<Vector2d> outline(const Foothold& foothold) {
  const Vector2d ahead = foothold.ahead.head<2>().normalized();
  const Vector2d half_width = sole_half_width * Vector2d(-ahead.y(), ahead.x());
  const Vector2d heel = foothold.sole.head<2>() + sole_heel * ahead;
  const Vector2d toe = foothold.sole.head<2>() + sole_toe * ahead;
  return {heel + half_width, toe + half_width, toe - half_width, heel - half_width,
          heel + half_width};
}

void write_footholds(std::ostream& out, const char* block, const std::vector<Foothold>& footholds) {
  out << block << " << EOD\n";
  for (const Foothold& foothold : footholds) {
    for (const Vector2d& corner : outline(foothold)) out << corner.x() << " " << corner.y() << "\n";
    out << "\n";
  }
  out << "EOD\n";
}

std::string filled(const char* block, std::size_t footholds, unsigned colour, const char* title) {
  const bool many = footholds > 20;  // they overlap
  std::ostringstream text;
  text << block << " using 1:2 with filledcurves closed lw " << (many ? 0.5 : 1) << " fc rgb "
       << colour << " fs transparent solid " << (many ? 0.04 : 0.12) << " border lc rgb " << colour
       << " title '" << title << "', \\\n";
  return text.str();
}

// Around each polygon, none upon the next.
void write_supports(std::ostream& out, const std::vector<Support>& supports) {
  out << "$support << EOD\n";
  for (const Support& support : supports) {
    for (std::size_t i = 0; i <= support.corners.size(); ++i) {
      const Eigen::Vector3d& corner = support.corners[i % support.corners.size()];
      out << corner.x() << " " << corner.y() << "\n";
    }
    out << "\n";
  }
  out << "EOD\n";
}

// The path of a point on the ground, broken where there is none. Returns whether there is any.
bool write_point(std::ostream& out, const char* block, const std::vector<Posture>& postures,
                 std::optional<Eigen::Vector3d> Posture::*point) {
  bool any = false;
  out << block << " << EOD\n";
  for (const Posture& posture : postures) {
    if (posture.*point) out << (posture.*point)->x() << " " << (posture.*point)->y();
    out << "\n";
    any = any || posture.*point;
  }
  out << "EOD\n";
  return any;
}

}  // namespace

Scene scene_from_above(const MotionTrace& trace, const Arrangement& arrangement) {
  if (arrangement.postures().empty()) return arrangement.scene();
  Scene scene;
  for (const Posture& posture : arrangement.postures()) {
    scene.seen.extend(posture.com.head<2>().eval());
  }
  for (std::size_t foot = 0; foot < motion::foot_bodies.size(); ++foot) {
    for (const Foothold& foothold : trace.footholds(foot)) {
      for (const Vector2d& corner : outline(foothold)) scene.seen.extend(corner);
    }
  }
  scene.scale = std::min(fitting_scale(scene.seen.sizes(), 0.75 * most_height), most_scale);
  return scene;
}

void add_above_panel(Sheet& sheet, const MotionTrace& trace, const Arrangement& arrangement,
                     const Scene& scene) {
  begin_space_panel(sheet, "From above, x against y",
                    round_axis("x", "m", across(scene), Sheet::panel_width, Direction::across), "y",
                    scene);
  std::ostream& out = sheet.script();
  const std::vector<Foothold> left = trace.footholds(0), right = trace.footholds(1);
  write_footholds(out, "$left", left);
  write_footholds(out, "$right", right);
  write_supports(out, trace.supports());
  const bool zmp = write_point(out, "$zmp", arrangement.postures(), &Posture::zmp);
  const bool cop = write_point(out, "$cop", arrangement.postures(), &Posture::cop);
  out << "$path << EOD\n";
  for (const Posture& posture : arrangement.postures()) {
    out << posture.com.x() << " " << posture.com.y() << "\n";
  }
  out << "EOD\n$stop << EOD\n";
  for (const Figure& figure : arrangement.figures()) {
    out << figure.posture->com.x() << " " << figure.posture->com.y() << "\n";
  }
  out << "EOD\nplot ";
  if (!trace.supports().empty()) {
    out << "$support using 1:2 with lines lw " << (trace.supports().size() > 40 ? 0.4 : 1)
        << " lc rgb " << grey << " title 'support polygon', \\\n";
  }
  out << filled("$left", left.size(), blue, "left foot stands")
      << filled("$right", right.size(), vermillion, "right foot stands");
  const bool line = arrangement.postures().size() > 1;
  if (cop) {
    out << "$cop using 1:2 with " << (line ? "lines lw 4.5" : "points pt 7 ps 1.1") << " lc rgb "
        << tint(sky_blue, 0.7) << " title 'cop (wrenches)', \\\n";
  }
  if (zmp) {
    out << "$zmp using 1:2 with " << (line ? "lines lw 1.2" : "points pt 2 ps 0.7") << " lc rgb "
        << green << " title 'zmp (motion)', \\\n";
  }
  out << "$path using 1:2 with lines lc rgb 0 lw 1.5 title 'centre of mass', \\\n"
      << "$stop using 1:2 with points pt 7 ps 0.5 lc rgb 0 title 'at each figure'\n";
}

}  // namespace replay
