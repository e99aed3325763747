#pragma once

#include <cstddef>
#include <tuple>
#include <utility>

#include "algorithms/lane_groups.hpp"
#include "algorithms/lanes.hpp"
#include "algorithms/traversal.hpp"
#include "spatial/lanes.hpp"
#include "spatial/value_lanes.hpp"

namespace metapod::internal {

/// sXp of every group's nodes but the root's, each in its kind. Joint calculation leaves it to the
/// pass that follows; other passes load it from the nodes.
template <class Model>
class JointTransforms {
 public:
  template <std::size_t g>
  using Value = OnLanes<decltype(NodeLike<Model, g>::sXp)>;

  template <std::size_t g>
  ORVEK23_INLINE Spatial::Stored<Value<g>>& of_group() {
    return std::get<g>(values_);
  }
  template <std::size_t g>
  ORVEK23_INLINE const Spatial::Stored<Value<g>>& of_group() const {
    return std::get<g>(values_);
  }

  ORVEK23_INLINE void load_from(const Model& model) {
    Spatial::unrolled<nb_groups<Model> - 1>([&](auto n) ORVEK23_INLINE_LAMBDA {
      of_group<n + 1>() =
          load<Model, n + 1>([&](auto id) -> const auto& { return node<id>(model).sXp; });
    });
  }

 private:
  template <std::size_t... g>
  static std::tuple<Spatial::Stored<Value<g>>...> all(std::index_sequence<g...>);

  decltype(all(std::make_index_sequence<nb_groups<Model>>{})) values_;
};

}  // namespace metapod::internal
