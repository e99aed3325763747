#pragma once

#include <string>

namespace replay {

/// Decimals that tell multiples of `step` apart, at most 9; none if it is not positive.
int decimals_of(double step);

/// `value` with so many decimals; nothing is never minus nothing.
std::string fixed_text(double value, int decimals);

}  // namespace replay
