#include "apps/replay/decimals.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace replay {

int decimals_of(double step) {
  if (!(step > 0)) return 0;
  return static_cast<int>(std::clamp(-std::floor(std::log10(step) + 1e-6), 0.0, 9.0));
}

std::string fixed_text(double value, int decimals) {
  char digits[400];
  std::snprintf(digits, sizeof digits, "%.*f", decimals, value);
  std::string text = digits;
  const bool zero = text.find_first_of("123456789") == std::string::npos;
  if (zero && text[0] == '-') text.erase(0, 1);
  return text;
}

}  // namespace replay
