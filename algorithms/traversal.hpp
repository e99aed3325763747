#pragma once

#include <utility>

#include "model/tree.hpp"
#include "spatial/lanes.hpp"

/// Walks over the tree of a Model, node by node, resolved at compile time: a visitor is
/// instantiated for every node, against that node's exact types. Arguments are threaded by
/// reference, as the caller passed them. Walks over groups of nodes side by side: lane_groups.hpp.
namespace metapod {

/// The node with a given id.
template <int N, class Model>
ORVEK23_INLINE auto& node(Model& model) {
  return model.template node<N>();
}

template <class Model, int N>
using NodeOf = typename Model::template Node<N>;

namespace internal {

/// Depth-first walk of the subtree of node N: discover(N), the children in order, finish(N).
template <template <class, int> class Visitor, class Model, int N>
struct depth_first_traversal_internal {
  template <class... Args>
  ORVEK23_INLINE static void run(Model& model, Args&... args) {
    Visitor<Model, N>::discover(model, args...);
    run_children(typename NodeOf<Model, N>::children{}, model, args...);
    Visitor<Model, N>::finish(model, args...);
  }

 private:
  template <int... child, class... Args>
  ORVEK23_INLINE static void run_children(std::integer_sequence<int, child...>, Model& model,
                                          Args&... args) {
    (depth_first_traversal_internal<Visitor, Model, child>::run(model, args...), ...);
  }
};

}  // namespace internal

/// Depth-first walk of the whole tree.
template <template <class, int> class Visitor, class Model>
struct depth_first_traversal : internal::depth_first_traversal_internal<Visitor, Model, 0> {};

}  // namespace metapod
