#include "apps/replay/plot/arrangement.hpp"

#include <algorithm>

namespace replay {
namespace {

using Eigen::AlignedBox2d, Eigen::Vector2d, Eigen::Vector3d;

constexpr std::size_t most_figures = 9;

}  // namespace

Arrangement::Arrangement(const MotionTrace& trace, ViewChoice choice)
    : view_(trace.view(choice)), postures_(trace.postures()) {
  scene_.seen = AlignedBox2d(Vector2d(-1, -1), Vector2d(1, 1));
  if (postures_.empty()) return;
  AlignedBox2d com;
  for (const Posture& posture : postures_) com.extend(view_(posture.com));
  const bool travels = com.sizes().x() > 0.2;  // m
  stand_in_place(trace.skeleton());
  if (!travels || scene_.scale < least_scale) stand_side_by_side(trace.skeleton(), !travels);
}

double Arrangement::place() const {
  return scene_.seen.sizes().x() / static_cast<double>(figures_.size());
}

void Arrangement::stand_in_place(const Skeleton& skeleton) {
  figures_ = chosen_figures(postures_, most_figures, &view_);
  scene_.seen.setEmpty();
  for (const Figure& figure : figures_) scene_.seen.extend(bounds(skeleton, figure, view_));
  for (const Posture& posture : postures_) {
    scene_.seen.extend(view_(posture.com));
    for (const Vector3d& sole : posture.soles) scene_.seen.extend(view_(sole));
  }
  scene_.scale = fitting_scale(scene_.seen.sizes(), most_height);
}

// Each figure has a place of its own, none narrower than the widest. Where the robot stays about,
// its places are the same piece of ground, so that one sees it sway; else the centre of mass is in
// the middle.
void Arrangement::stand_side_by_side(const Skeleton& skeleton, bool stays) {
  in_place_ = false;
  figures_ = chosen_figures(postures_, most_figures, nullptr);
  std::vector<AlignedBox2d> boxes;
  AlignedBox2d all;
  for (const Figure& figure : figures_) {
    boxes.push_back(bounds(skeleton, figure, view_));
    all.extend(boxes.back());
  }
  double half = 0;
  for (std::size_t i = 0; i < figures_.size(); ++i) {
    double& shift = figures_[i].shift;
    shift = -(stays ? all.center() : view_(figures_[i].posture->com)).x();
    half = std::max({half, boxes[i].max().x() + shift, -boxes[i].min().x() - shift});
  }
  all.extend(Vector2d(all.center().x(), 0));  // the ground
  const double count = static_cast<double>(figures_.size());
  scene_.scale = std::min(Sheet::panel_width / (count * (2 * half + 0.04)),
                          (most_height - 2 * space_margin) / all.sizes().y());
  const double place = Sheet::panel_width / (count * scene_.scale);
  for (std::size_t i = 0; i < figures_.size(); ++i) {
    figures_[i].shift += static_cast<double>(i) * place;
  }
  scene_.seen = AlignedBox2d(Vector2d(-place / 2, all.min().y()),
                             Vector2d((count - 0.5) * place, all.max().y()));
}

}  // namespace replay
