#include "apps/replay/plot/footholds.hpp"

namespace replay {

void Footholds::add(bool stands, const Foothold& now) {
  if (stands) {
    sum_.sole += now.sole;
    sum_.ahead += now.ahead;
    ++samples_;
  } else if (samples_ > 0) {
    left_behind_.add(mean());
    sum_ = {Eigen::Vector3d::Zero(), Eigen::Vector3d::Zero()};
    samples_ = 0;
  }
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
