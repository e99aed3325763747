#pragma once

#include <string>

#include <Eigen/Geometry>

#include "apps/replay/plot/axis.hpp"
#include "apps/replay/plot/sheet.hpp"

namespace replay {

/// What the panels that show space have in common: px, and px a metre.
constexpr double space_margin = 22, most_height = 500, least_scale = 200, most_scale = 1500;

/// A piece of a plane that is to be seen.
struct Scene {
  Eigen::AlignedBox2d seen;  // m
  double scale = least_scale;
};

/// px a metre at which all of it fits, with a margin.
double fitting_scale(const Eigen::Vector2d& size, double height);

/// What the panel shows from left to right, m.
Interval across(const Scene& scene);

/// Begins a panel as high as the scene asks for, with z or y in metres upwards.
void begin_space_panel(Sheet& sheet, const std::string& title, const Axis& x, const char* up,
                       const Scene& scene);

}  // namespace replay
