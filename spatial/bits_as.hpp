#pragma once

namespace metapod::Spatial {

/// The value of another type that has the same bits. The standard library's would hand vectors over
/// in the registers of the lowest instruction set.
template <class To, class From>
constexpr To bits_as(const From& x) {
  return __builtin_bit_cast(To, x);
}

}  // namespace metapod::Spatial
