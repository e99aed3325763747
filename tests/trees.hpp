#pragma once

#include <array>
#include <cstddef>
#include <tuple>
#include <utility>

#include "model/body_row.hpp"
#include "model/load_time_tables.hpp"
#include "model/model.hpp"
#include "model/orvek23.hpp"
#include "model/tree.hpp"

/// Robots of all shapes beside the humanoid: the algorithms must not know it. In the namespace of
/// the models, so that a region of source for an instruction set has them as its own.
namespace metapod::trees {

/// A robot from a table; its name is that of its root.
template <const auto& rows>
struct Robot {
  static constexpr const auto& bodies = rows;
  static constexpr Tree<rows.size()> tree{bodies};
  static LoadTimeTables<Robot> tables;
};
template <const auto& rows>
LoadTimeTables<Robot<rows>> Robot<rows>::tables;

/// How a joint is placed: a shift keeps its transform about z. The turns by quarters are exact; the
/// oblique one is exact to float.
enum class Turn { none, about_x, about_xyz, about_z, oblique };

struct Link {
  int parent;
  Turn turn;
  bool massless = false;
};

constexpr Placement placed(Turn turn, const std::array<float, 3>& r) {
  switch (turn) {
    case Turn::none:
      return shifted(r);
    case Turn::about_x:
      return turned({1, 0, 0}, {0, 0, 1}, {0, -1, 0}, r);
    case Turn::about_xyz:
      return turned({0, 0, 1}, {1, 0, 0}, {0, 1, 0}, r);
    case Turn::about_z:
      return turned({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, r);
    case Turn::oblique:
      break;
  }
  return turned({0.36f, 0.48f, -0.8f}, {-0.8f, 0.6f, 0}, {0.48f, 0.64f, 0.6f}, r);
}

/// Bodies with different and possible inertias; the root's frame is at `root`.
template <std::size_t n>
constexpr std::array<BodyRow, n> grown(const char* name, const std::array<float, 3>& root,
                                       const Link (&links)[n]) {
  std::array<BodyRow, n> rows{};
  for (std::size_t k = 0; k < n; ++k) {
    const float i = static_cast<float>(k), m = links[k].massless ? 0 : 0.3f + 0.1f * i;
    const float x = 0.02f * i - 0.05f, y = 0.03f, z = 0.08f - 0.01f * i;
    const std::array<float, 3> r{0.05f * i, 0.1f, -0.02f * i};
    rows[k] = {k == 0 ? name : "Link",
               links[k].parent,
               placed(links[k].turn, k == 0 ? root : r),
               m,
               {m * x, m * y, m * z},
               {m * (y * y + z * z + 0.01f), -m * x * y, m * (x * x + z * z + 0.011f), -m * x * z,
                -m * y * z, m * (x * x + y * y + 0.012f)}};
  }
  return rows;
}

using enum Turn;

/// A free-flying base that carries the textbooks' planar arm: at the base's rest it moves in the
/// base's x-z plane, and its angles turn it from x towards z.
struct PlanarArm {
  // Length, distance to the centre of mass (m), mass (kg), inertia about the centre (kg m²).
  static constexpr float l1 = 0.4f, c1 = 0.15f, m1 = 1.5f, i1 = 0.02f;
  static constexpr float c2 = 0.25f, m2 = 0.8f, i2 = 0.01f;
};
// clang-format off
inline constexpr std::array<BodyRow, 3> planar_arm{{
    {"PlanarArm", -1, shifted({0, 0, 0}), 2, {0.02f, -0.01f, 0.04f}, {0.05f, 0.001f, 0.06f, -0.002f, 0.003f, 0.07f}},
    {"Upper", 0, turned({1, 0, 0}, {0, 0, 1}, {0, -1, 0}, {0.1f, 0, 0.2f}), PlanarArm::m1, {PlanarArm::m1 * PlanarArm::c1, 0, 0},
     {PlanarArm::i1, 0, PlanarArm::i1 + PlanarArm::m1 * PlanarArm::c1 * PlanarArm::c1, 0, 0, PlanarArm::i1 + PlanarArm::m1 * PlanarArm::c1 * PlanarArm::c1}},
    {"Lower", 1, shifted({PlanarArm::l1, 0, 0}), PlanarArm::m2, {PlanarArm::m2 * PlanarArm::c2, 0, 0},
     {PlanarArm::i2, 0, PlanarArm::i2 + PlanarArm::m2 * PlanarArm::c2 * PlanarArm::c2, 0, 0, PlanarArm::i2 + PlanarArm::m2 * PlanarArm::c2 * PlanarArm::c2}},
}};

inline constexpr auto one_body = grown("OneBody", {0, 0, 0}, {{-1, none}});
inline constexpr auto two_bodies = grown("TwoBodies", {0, 0, 0}, {{-1, none}, {0, oblique}});
inline constexpr auto about_z_chain = grown("AboutZChain", {0, 0, 0},
    {{-1, none}, {0, none}, {1, none}, {2, none}, {3, none}, {4, none}});
inline constexpr auto long_chain = grown("LongChain", {0, 0, 0},
    {{-1, none}, {0, about_x}, {1, none}, {2, oblique}, {3, none}, {4, about_z}, {5, about_xyz}, {6, none}, {7, none}, {8, about_x}});
// Three legs alike and one of other kinds, whose joints at times stand in one group.
inline constexpr auto legs = grown("Legs", {0, 0, 0},
    {{-1, none}, {0, about_x}, {1, none}, {2, about_xyz}, {0, about_xyz}, {4, none}, {5, about_x}, {0, oblique}, {7, none}, {8, about_z}, {0, none}, {10, about_x}});
inline constexpr auto star = grown("Star", {0, 0, 0},
    {{-1, none}, {0, about_x}, {0, none}, {0, none}, {0, about_z}, {0, oblique}, {0, none}, {0, about_x}});
inline constexpr auto fork = grown("Fork", {0, 0, 0},
    {{-1, none}, {0, about_x}, {1, none}, {2, oblique}, {1, about_xyz}, {0, none}, {5, none}, {5, about_x}, {7, none}});
inline constexpr auto bush = grown("Bush", {0, 0, 0},
    {{-1, none}, {0, none}, {1, about_x}, {2, none}, {1, none}, {1, about_z}, {1, none}, {1, about_x}, {7, none}, {7, none}, {1, oblique}});
// Roots whose frames are not at the coordinates' origin.
inline constexpr auto shifted_root = grown("ShiftedRoot", {0.3f, -0.2f, 0.1f},
    {{-1, none}, {0, about_x}, {1, none}, {0, about_xyz}});
inline constexpr auto turned_root = grown("TurnedRoot", {0.3f, -0.2f, 0.1f},
    {{-1, about_xyz}, {0, about_x}, {1, none}, {1, none}, {0, about_xyz}});
inline constexpr auto massless = grown("Massless", {0, 0, 0},
    {{-1, none}, {0, about_x}, {1, none, true}, {2, about_xyz}, {0, none, true}});
// clang-format on

#ifdef ORVEK23_SANITIZED  // instrumented, a tree takes half a minute to compile
using Robots = std::tuple<Robot<one_body>, Robot<fork>, Robot<turned_root>, Orvek23Robot>;
#else
using Robots =
    std::tuple<Robot<one_body>, Robot<two_bodies>, Robot<planar_arm>, Robot<about_z_chain>,
               Robot<long_chain>, Robot<legs>, Robot<star>, Robot<fork>, Robot<bush>,
               Robot<shifted_root>, Robot<turned_root>, Robot<massless>, Orvek23Robot>;
#endif

template <class... R>
std::tuple<Model<R>...> models_of(const std::tuple<R...>&);
/// One model a robot, the humanoid last.
using Models = decltype(models_of(std::declval<Robots>()));
inline constexpr std::size_t nb_models = std::tuple_size_v<Models>;

}  // namespace metapod::trees
