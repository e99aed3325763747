#pragma once

#include "apps/replay/plot/skeleton.hpp"

namespace replay {

/// Colours 0xRRGGBB that people with any kind of colour vision can tell apart: Okabe and Ito, Color
/// Universal Design, 2008, without the yellow, which is too light for lines.
constexpr unsigned black = 0x000000, orange = 0xE69F00, sky_blue = 0x56B4E9, green = 0x009E73,
                   blue = 0x0072B2, vermillion = 0xD55E00, purple = 0xCC79A7, grey = 0x606060;

constexpr unsigned colour_of(Side side) {
  return side == Side::left ? blue : side == Side::right ? vermillion : grey;
}

/// `share` of a colour on white.
constexpr unsigned tint(unsigned colour, double share) {
  unsigned mixed = 0;
  for (const unsigned shift : {16U, 8U, 0U}) {
    const double part = (colour >> shift) & 0xFFU;
    mixed |= static_cast<unsigned>(255 - share * (255 - part) + 0.5) << shift;
  }
  return mixed;
}

}  // namespace replay
