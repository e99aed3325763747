#pragma once

/// What the floors up to this one use and is not theirs: included before a region of a source that
/// is compiled for an instruction set, so that nothing in it can be.

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include <boost/fusion/include/at_c.hpp>
#include <boost/fusion/include/vector.hpp>
