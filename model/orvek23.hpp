#pragma once

#include "model/load_time_tables.hpp"
#include "model/model.hpp"
#include "model/orvek23_data.hpp"
#include "model/tree.hpp"

namespace metapod {

/// What the model is made from.
struct Orvek23Robot {
  static constexpr const auto& bodies = orvek23_bodies;
  static constexpr Tree<orvek23_bodies.size()> tree{orvek23_bodies};
  static LoadTimeTables<Orvek23Robot> tables;
};

/// The humanoid: a free-floating torso and five chains of revolute joints.
template <class S>
class Orvek23Model : public Model<Orvek23Robot, S> {
 public:
  using Node0 = metapod::Node<Orvek23Robot, 0, S>;
  using Node1 = metapod::Node<Orvek23Robot, 1, S>;
  using Node2 = metapod::Node<Orvek23Robot, 2, S>;
  using Node3 = metapod::Node<Orvek23Robot, 3, S>;
  using Node4 = metapod::Node<Orvek23Robot, 4, S>;
  using Node5 = metapod::Node<Orvek23Robot, 5, S>;
  using Node6 = metapod::Node<Orvek23Robot, 6, S>;
  using Node7 = metapod::Node<Orvek23Robot, 7, S>;
  using Node8 = metapod::Node<Orvek23Robot, 8, S>;
  using Node9 = metapod::Node<Orvek23Robot, 9, S>;
  using Node10 = metapod::Node<Orvek23Robot, 10, S>;
  using Node11 = metapod::Node<Orvek23Robot, 11, S>;
  using Node12 = metapod::Node<Orvek23Robot, 12, S>;
  using Node13 = metapod::Node<Orvek23Robot, 13, S>;
  using Node14 = metapod::Node<Orvek23Robot, 14, S>;
  using Node15 = metapod::Node<Orvek23Robot, 15, S>;
  using Node16 = metapod::Node<Orvek23Robot, 16, S>;
  using Node17 = metapod::Node<Orvek23Robot, 17, S>;
  using Node18 = metapod::Node<Orvek23Robot, 18, S>;
  using Node19 = metapod::Node<Orvek23Robot, 19, S>;
  using Node20 = metapod::Node<Orvek23Robot, 20, S>;
  using Node21 = metapod::Node<Orvek23Robot, 21, S>;
  using Node22 = metapod::Node<Orvek23Robot, 22, S>;
};

class orvek23 : public Orvek23Model<float> {};

static_assert(orvek23::nb_bodies == 23 && orvek23::nb_dofs == 28);

}  // namespace metapod
