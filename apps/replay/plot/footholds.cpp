#include "apps/replay/plot/footholds.hpp"

#include "apps/replay/sole_outline.hpp"

namespace replay {
namespace {

bool is_elsewhere(const Foothold& a, const Foothold& b) {
  constexpr double slip = 0.01;  // m
  const auto toe = [](const Foothold& foothold) -> Eigen::Vector3d {
    return foothold.sole + sole_toe * foothold.ahead;
  };
  return (a.sole - b.sole).norm() > slip || (toe(a) - toe(b)).norm() > slip;
}

}  // namespace

void Footholds::add(bool stands, const Foothold& now) {
  if (samples_ > 0 && (!stands || is_elsewhere(first_, now))) leave();
  if (!stands) return;
  if (samples_ == 0) first_ = now;
  sum_.sole += now.sole;
  sum_.ahead += now.ahead;
  ++samples_;
}

void Footholds::leave() {
  left_behind_.add(mean());
  sum_ = {Eigen::Vector3d::Zero(), Eigen::Vector3d::Zero()};
  samples_ = 0;
}

std::vector<Foothold> Footholds::all() const {
  std::vector<Foothold> all = left_behind_.items();
  if (samples_ > 0) all.push_back(mean());
  return all;
}

Foothold Footholds::mean() const {
  return {sum_.sole / samples_, sum_.ahead / samples_};
}

}  // namespace replay
