#pragma once

#include <array>
#include <cstddef>

#include "lanes/sincos.hpp"

namespace metapod::bench {

inline constexpr std::size_t nb_sincos_groups = 7;

/// Sines and cosines of seven times four angles, side by side.
inline void by_lanes(const float* angles, float* sines, float* cosines) {
  std::array<lanes::Lanes, nb_sincos_groups> groups;
  for (std::size_t k = 0; k < groups.size(); ++k)
    groups[k] = lanes::load_row<lanes::Lanes>(angles + 4 * k);
  const auto of_groups = lanes::sin_cos(groups);
  for (std::size_t k = 0; k < groups.size(); ++k) {
    lanes::store_first<4>(sines + 4 * k, of_groups[k].s);
    lanes::store_first<4>(cosines + 4 * k, of_groups[k].c);
  }
}

}  // namespace metapod::bench
