#pragma once

#include <array>

#include "model/load_time_tables.hpp"
#include "model/model.hpp"
#include "model/tree.hpp"

/// A second, tiny model: a free-flying base that carries a planar arm. At the base's rest the arm
/// moves in the base's x-z plane: joint angles turn it from x towards z. One joint has a general
/// placement, the other a mere shift.
namespace test {

struct TwoLinks {
  // Length, distance to the centre of mass (m), mass (kg), inertia about the centre (kg m²).
  static constexpr float l1 = 0.4f, c1 = 0.15f, m1 = 1.5f, i1 = 0.02f;
  static constexpr float c2 = 0.25f, m2 = 0.8f, i2 = 0.01f;

  static constexpr std::array<metapod::BodyRow, 3> bodies{
      {{"Base",
        -1,
        metapod::shifted({0, 0, 0}),
        2,
        {0.02f, -0.01f, 0.04f},
        {0.05f, 0.001f, 0.06f, -0.002f, 0.003f, 0.07f}},
       {"Upper",
        0,
        metapod::turned({1, 0, 0}, {0, 0, 1}, {0, -1, 0}, {0.1f, 0, 0.2f}),
        m1,
        {m1 * c1, 0, 0},
        {i1, 0, i1 + m1* c1* c1, 0, 0, i1 + m1* c1* c1}},
       {"Lower",
        1,
        metapod::shifted({l1, 0, 0}),
        m2,
        {m2 * c2, 0, 0},
        {i2, 0, i2 + m2* c2* c2, 0, 0, i2 + m2* c2* c2}}}};
  static constexpr metapod::Tree<3> tree{bodies};
  static metapod::LoadTimeTables<TwoLinks> tables;
};

using TwoLinkModel = metapod::Model<TwoLinks>;

}  // namespace test
