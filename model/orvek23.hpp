#pragma once

#include "model/load_time_tables.hpp"
#include "model/model.hpp"
#include "model/orvek23_data.hpp"
#include "model/tree.hpp"

namespace metapod {

/// What the model is made from.
struct Orvek23 {
  static constexpr const auto& bodies = orvek23_bodies;
  static constexpr Tree<orvek23_bodies.size()> tree{orvek23_bodies};
  static LoadTimeTables<Orvek23> tables;
};

/// The humanoid: a free-floating torso and five chains of revolute joints.
class orvek23 : public Model<Orvek23> {
 public:
  using Node0 = Node<0>;
  using Node1 = Node<1>;
  using Node2 = Node<2>;
  using Node3 = Node<3>;
  using Node4 = Node<4>;
  using Node5 = Node<5>;
  using Node6 = Node<6>;
  using Node7 = Node<7>;
  using Node8 = Node<8>;
  using Node9 = Node<9>;
  using Node10 = Node<10>;
  using Node11 = Node<11>;
  using Node12 = Node<12>;
  using Node13 = Node<13>;
  using Node14 = Node<14>;
  using Node15 = Node<15>;
  using Node16 = Node<16>;
  using Node17 = Node<17>;
  using Node18 = Node<18>;
  using Node19 = Node<19>;
  using Node20 = Node<20>;
  using Node21 = Node<21>;
  using Node22 = Node<22>;
};

static_assert(orvek23::nb_bodies == 23 && orvek23::nb_dofs == 28);

}  // namespace metapod
