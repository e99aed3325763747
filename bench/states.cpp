#include "bench/states.hpp"

#include <random>

namespace bench {

std::vector<State> random_states() {
  std::mt19937 random(23);
  const auto uniform = [&](float limit) {
    return std::uniform_real_distribution<float>(-limit, limit)(random);
  };
  const auto vector = [&](std::size_t n, float limit) {
    std::vector<float> v(n);
    for (float& x : v) x = uniform(limit);
    return v;
  };
  const auto six = [&](float limit) {
    const auto v = vector(6, limit);
    return KT::Math::Velocity6D{v[0], v[1], v[2], v[3], v[4], v[5]};
  };
  std::vector<State> states(nb_states);
  for (std::size_t k = 0; k < nb_states; ++k) {
    State& s = states[k];
    const auto p = vector(3, 1), angles = vector(3, 3);
    s.root = {p[0], p[1], p[2], angles[0], angles[1] / 2, angles[2]};
    s.root_pose = transformFromPosition6D(s.root);
    s.root_velocity = six(2);
    s.root_acceleration = six(10);
    s.q = vector(nb_joints, 3);
    s.dq = vector(nb_joints, 4);
    s.ddq = vector(nb_joints, 20);
    for (auto& wrench : s.wrenches) wrench = vector(6, 5);
    s.body = 1 + k % (nb_bodies - 1);
  }
  return states;
}

}  // namespace bench
