#pragma once

#include <utility>

#include "model/tree.hpp"

/// Walks over the tree of a Model, node by node, resolved at compile time: a visitor is
/// instantiated for every node, against that node's exact types. Arguments are threaded by
/// reference, as the caller passed them.
namespace metapod {

/// The node with a given id.
template <int N, class Model>
auto& node(Model& model) {
  return model.template node<N>();
}

template <class Model, int N>
using NodeOf = typename Model::template Node<N>;

namespace internal {

/// Depth-first walk of the subtree of node N: discover(N), the children in order, finish(N).
template <template <class, int> class Visitor, class Model, int N>
struct depth_first_traversal_internal {
  template <class... Args>
  static void run(Model& model, Args&... args) {
    Visitor<Model, N>::discover(model, args...);
    run_children(typename NodeOf<Model, N>::children{}, model, args...);
    Visitor<Model, N>::finish(model, args...);
  }

 private:
  template <int... child, class... Args>
  static void run_children(std::integer_sequence<int, child...>, Model& model, Args&... args) {
    (depth_first_traversal_internal<Visitor, Model, child>::run(model, args...), ...);
  }
};

/// Depth-first walk of the whole tree.
template <template <class, int> class Visitor, class Model>
struct depth_first_traversal : depth_first_traversal_internal<Visitor, Model, 0> {};

/// From node N up to the root: Visitor<Model, A, C>::discover for every ancestor A of N, nearest
/// first; C is the child of A through which the walk came. The root has none.
template <template <class, int, int> class Visitor, class Model, int N>
struct backward_traversal {
  template <class... Args>
  static void run(Model& model, Args&... args) {
    step<NodeOf<Model, N>::parent, N>(model, args...);
  }

 private:
  template <int A, int C, class... Args>
  static void step(Model& model, Args&... args) {
    if constexpr (A != no_parent) {
      Visitor<Model, A, C>::discover(model, args...);
      step<NodeOf<Model, A>::parent, A>(model, args...);
    }
  }
};

}  // namespace internal

using internal::backward_traversal;
using internal::depth_first_traversal;

}  // namespace metapod
