#pragma once

#include <array>
#include <cstddef>

#include "spatial/components.hpp"
#include "spatial/lanes.hpp"
#include "spatial/wide_lanes.hpp"

/// Spatial values side by side: the value types on scalar types that are lanes.
namespace metapod::Spatial {

template <class T, class S = Lanes>
using OnLanes = Rebound<T, S>;

/// The floats that a spatial value consists of.
template <class T>
ORVEK23_INLINE const float* floats_of(const T& value) {
  return reinterpret_cast<const float*>(&value);
}
template <class T>
ORVEK23_INLINE float* floats_of(T& value) {
  return reinterpret_cast<float*>(&value);
}

/// A value in memory; nothing is set at first.
template <class T>
class Stored {
 public:
  using Value = T;

  Stored() {}  // not = default, which {} would turn into zeros

  ORVEK23_INLINE Stored& operator=(const T& value) {
    Components<T>::write(value, e_.data());
    return *this;
  }
  ORVEK23_INLINE T operator*() const { return from_components<T>(e_); }
  ORVEK23_INLINE const ComponentArray<T>& components() const { return e_; }

 private:
  ComponentArray<T> e_;
};

/// The value in every lane.
template <class S = Lanes, class T>
ORVEK23_INLINE OnLanes<T, S> broadcast(const T& value) {
  const auto e = components(value);
  ComponentArray<OnLanes<T, S>> lanes;
  unrolled<e.size()>([&](auto k) ORVEK23_INLINE_LAMBDA { lanes[k] = all_lanes<S>(e[k]); });
  return from_components<OnLanes<T, S>>(lanes);
}

/// Values on lanes as the halves of one on wide lanes.
template <class Wide, class L>
ORVEK23_INLINE Rebound<L, Wide> side_by_side(const L& low, const L& high) {
  const auto a = components(low), b = components(high);
  ComponentArray<Rebound<L, Wide>> e;
  unrolled<e.size()>([&](auto k) ORVEK23_INLINE_LAMBDA { e[k] = joined<Wide>(a[k], b[k]); });
  return from_components<Rebound<L, Wide>>(e);
}
template <class Wide, class L>
ORVEK23_INLINE Rebound<L, Wide> both_halves(const L& value) {
  return side_by_side<Wide>(value, value);
}
template <std::size_t n, class W>
ORVEK23_INLINE OnLanes<W> half_of(const W& value) {
  const auto wide = components(value);
  ComponentArray<OnLanes<W>> e;
  unrolled<e.size()>([&](auto k) ORVEK23_INLINE_LAMBDA { e[k] = half<n>(wide[k]); });
  return from_components<OnLanes<W>>(e);
}

}  // namespace metapod::Spatial
