#include "apps/replay/plot/space_panel.hpp"

#include <algorithm>
#include <cmath>

namespace replay {

double fitting_scale(const Eigen::Vector2d& size, double height) {
  return std::min((Sheet::panel_width - 2 * space_margin) / size.x(),
                  (height - 2 * space_margin) / size.y());
}

Interval across(const Scene& scene) {
  return resized({scene.seen.min().x(), scene.seen.max().x()}, Sheet::panel_width / scene.scale);
}

void begin_space_panel(Sheet& sheet, const std::string& title, const Axis& x, const char* up,
                       const Scene& scene) {
  constexpr double least_height = 160;  // px
  const double height =
      std::max(least_height, std::ceil(scene.seen.sizes().y() * scene.scale + 2 * space_margin));
  const Interval range =
      resized({scene.seen.min().y(), scene.seen.max().y()}, height / scene.scale);
  sheet.begin_panel(title, height, x, round_axis(up, "m", range, height, Direction::up));
}

}  // namespace replay
