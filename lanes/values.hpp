#pragma once

#include <array>
#include <cstddef>

#include "lanes/components.hpp"
#include "lanes/lanes.hpp"

/// Spatial values side by side: the value types on scalar types that are lanes. Values are taken
/// apart into their scalars and put together again, which compilers see through; copying them as
/// bytes, they do not.
namespace metapod::lanes {

template <class T, class S = Lanes>
using OnLanes = Rebound<T, S>;

/// A value in memory; nothing is set at first.
template <class T>
class Stored {
 public:
  using Value = T;

  Stored() {}  // not = default, which {} would turn into zeros

  Stored& operator=(const T& value) {
    Components<T>::write(value, e_.data());
    return *this;
  }
  T operator*() const { return from_components<T>(e_); }
  /// Of a value on Lanes: in both halves of wide ones.
  Rebound<T, Wide> in_both_halves() const {
    ComponentArray<Rebound<T, Wide>> e;
    unrolled<e.size()>(
        [&](auto k) { e[k] = load_in_both_halves(reinterpret_cast<const float*>(&e_[k])); });
    return from_components<Rebound<T, Wide>>(e);
  }
  const ComponentArray<T>& components() const { return e_; }
  ComponentArray<T>& components() { return e_; }

 private:
  ComponentArray<T> e_;
};

/// The value in every lane.
template <class S = Lanes, class T>
OnLanes<T, S> broadcast(const T& value) {
  const auto e = components(value);
  ComponentArray<OnLanes<T, S>> lanes;
  unrolled<e.size()>([&](auto k) { lanes[k] = all_lanes<S>(e[k]); });
  return from_components<OnLanes<T, S>>(lanes);
}

/// Values on lanes as the halves of one on wide lanes.
template <class L>
Rebound<L, Wide> side_by_side(const L& low, const L& high) {
  const auto a = components(low), b = components(high);
  ComponentArray<Rebound<L, Wide>> e;
  unrolled<e.size()>([&](auto k) { e[k] = joined(a[k], b[k]); });
  return from_components<Rebound<L, Wide>>(e);
}
template <std::size_t n, class W>
OnLanes<W> half_of(const W& value) {
  const auto wide = components(value);
  ComponentArray<OnLanes<W>> e;
  unrolled<e.size()>([&](auto k) { e[k] = half<n>(wide[k]); });
  return from_components<OnLanes<W>>(e);
}

}  // namespace metapod::lanes
