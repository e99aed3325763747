#pragma once

#include <array>
#include <cstddef>

#include "algorithms/lane_groups.hpp"
#include "algorithms/lanes.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/components.hpp"
#include "spatial/lanes.hpp"
#include "spatial/rotation.hpp"
#include "spatial/transform.hpp"

namespace metapod::internal {

/// sXp of every group's nodes but the root's, each in its kind. Joint calculation leaves it to the
/// pass that follows; other passes load it from the nodes.
template <class Model>
class JointTransforms {
 public:
  template <std::size_t g>
  using Value = OnLanes<decltype(NodeLike<Model, g>::sXp)>;

  template <std::size_t g>
  ORVEK23_INLINE void set(const Value<g>& value) {
    Spatial::Components<Value<g>>::write(value, e_[g].data());
  }
  template <std::size_t g>
  ORVEK23_INLINE Value<g> get() const {
    return Spatial::Components<Value<g>>::value(e_[g].data());
  }
  ORVEK23_INLINE const Spatial::Lanes* at(std::size_t g) const { return e_[g].data(); }

  ORVEK23_INLINE void load_from(const Model& model) {
    Spatial::unrolled<nb_groups<Model> - 1>([&](auto n) ORVEK23_INLINE_LAMBDA {
      set<n + 1>(load<Model, n + 1>([&](auto id) -> const auto& { return node<id>(model).sXp; }));
    });
  }

 private:
  using Largest = Spatial::TransformT<Spatial::RotationMatrixT<Spatial::Lanes>>;
  std::array<Spatial::ComponentArray<Largest>, nb_groups<Model>> e_;
};

}  // namespace metapod::internal
