#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>

#include "model/body_row.hpp"
#include "spatial/inertia.hpp"
#include "spatial/rotation.hpp"
#include "spatial/transform.hpp"

/// The constants that are built when the library is loaded. Static members of class templates
/// initialise in no given order; members of one object do, and are destroyed in reverse. So all of
/// them are parts of one object, Robot::tables, and what the node types offer are references.
namespace metapod {

constexpr Spatial::Vector3 as_vector(const std::array<float, 3>& v) {
  return {v[0], v[1], v[2]};
}

constexpr Spatial::Inertia as_inertia(const BodyRow& row) {
  const auto& I = row.inertia;
  return {row.mass, as_vector(row.first_moment), {I[0], I[1], I[2], I[3], I[4], I[5]}};
}

/// Names and placement of one node.
template <class Robot, int id>
struct NodeConstants {
  static constexpr const BodyRow& row = Robot::bodies[id];
  template <class S>
  using PlacementOn = Spatial::TransformT<
      std::conditional_t<Robot::bodies[id].placement.is_shift(),
                         Spatial::RotationMatrixIdentityT<S>, Spatial::RotationMatrixT<S>>>;
  using PlacementType = PlacementOn<float>;

  /// The value that Xt is given.
  static constexpr PlacementType placement() {
    const Placement& p = row.placement;
    if constexpr (Robot::bodies[id].placement.is_shift()) {
      return {Spatial::RotationMatrixIdentity(1), as_vector(p.r)};
    } else {
      return {Spatial::RotationMatrix::from_rows(as_vector(p.E[0]), as_vector(p.E[1]),
                                                 as_vector(p.E[2])),
              as_vector(p.r)};
    }
  }

  const std::string joint_name{row.name};
  const std::string body_name{row.name};
  const PlacementType Xt{placement()};
};

/// Nodes 0 .. id, each base constructed before its derived class: ascending order.
template <class Robot, int id>
struct NodeConstantsUpTo : NodeConstantsUpTo<Robot, id - 1> {
  NodeConstants<Robot, id> constants;
};
template <class Robot>
struct NodeConstantsUpTo<Robot, -1> {};

template <class Robot>
struct LoadTimeTables {
  static constexpr std::size_t nb_bodies = Robot::bodies.size();
  using Names = std::array<std::string, nb_bodies>;

  NodeConstantsUpTo<Robot, static_cast<int>(nb_bodies) - 1> nodes;
  /// Body inertias; the one table that changes after loading.
  std::array<Spatial::Inertia, nb_bodies> inertias = per_body<decltype(inertias)>(as_inertia);
  const Names joint_names = per_body<Names>(name_of);
  const Names body_names = per_body<Names>(name_of);

 private:
  static std::string name_of(const BodyRow& row) { return row.name; }

  template <class Table, class Make>
  static Table per_body(Make make) {
    return [&]<std::size_t... k>(std::index_sequence<k...>) {
      return Table{make(Robot::bodies[k])...};
    }
    (std::make_index_sequence<nb_bodies>{});
  }
};

template <class Robot, int id>
constexpr const NodeConstants<Robot, id>& node_constants() {
  return static_cast<const NodeConstantsUpTo<Robot, id>&>(Robot::tables.nodes).constants;
}

}  // namespace metapod
