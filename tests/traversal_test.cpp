// The order of visits, one by one and side by side: every algorithm relies on it. The model's
// tables and a fresh model's nodes: what the walks are made from and find.

#include "algorithms/traversal.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "lanes/chains.hpp"
#include "lanes/schedule.hpp"
#include "model/orvek23.hpp"
#include "tests/trees.hpp"

namespace {

using metapod::orvek23;
using Arm = metapod::Model<metapod::trees::Robot<metapod::trees::planar_arm>>;
using Bush = metapod::Model<metapod::trees::Robot<metapod::trees::bush>>;
using OneBody = metapod::Model<metapod::trees::Robot<metapod::trees::one_body>>;

/// Notes the visits, and walks back to the root from every node.
template <class Model, int N>
struct Recorder {
  template <class M, int ancestor, int child>
  struct BwdtVisitor {
    static void discover(M&, std::string&, std::string& back) {
      back +=
          std::to_string(N) + ":" + std::to_string(ancestor) + "," + std::to_string(child) + " ";
    }
  };
  static void discover(Model&, std::string& log, std::string&) { log += std::to_string(N) + "( "; }
  static void finish(Model& model, std::string& log, std::string& back) {
    log += ")" + std::to_string(N) + " ";
    metapod::internal::backward_traversal<BwdtVisitor, Model, N>::run(model, log, back);
  }
};

struct Walk {
  std::string visits, back;
};
template <class Model, int start>
Walk walk() {
  const auto model = std::make_unique<Model>();
  Walk w;
  metapod::internal::depth_first_traversal_internal<Recorder, Model, start>::run(*model, w.visits,
                                                                                 w.back);
  return w;
}

TEST(Walks, DiscoverParentsFirstAndFinishChildrenFirst) {
  const auto visits = [](const Walk& w) { return w.visits; };
  EXPECT_EQ(visits(walk<OneBody, 0>()), "0( )0 ");
  EXPECT_EQ(visits(walk<Arm, 0>()), "0( 1( 2( )2 )1 )0 ");
  EXPECT_EQ(visits(walk<Bush, 0>()),
            "0( 1( 2( 3( )3 )2 4( )4 5( )5 6( )6 7( 8( )8 9( )9 )7 10( )10 )1 )0 ");
  EXPECT_EQ(visits(walk<orvek23, 0>()),
            "0( 1( 2( )2 )1 3( 4( 5( 6( )6 )5 )4 )3 7( 8( 9( 10( 11( 12( )12 )11 )10 )9 )8 )7 "
            "13( 14( 15( 16( 17( 18( )18 )17 )16 )15 )14 )13 19( 20( 21( 22( )22 )21 )20 )19 )0 ");
  EXPECT_EQ(visits(walk<orvek23, 10>()), "10( 11( 12( )12 )11 )10 ");
  EXPECT_EQ(visits(walk<orvek23, 22>()), "22( )22 ");
}

TEST(Walks, GoBackFromEveryNodeToTheRoot) {
  const auto back = [](const Walk& w) { return w.back; };
  EXPECT_EQ(back(walk<OneBody, 0>()), "") << "the root has no way back";
  EXPECT_EQ(back(walk<orvek23, 1>()), "2:1,2 2:0,1 1:0,1 ");
  EXPECT_EQ(back(walk<orvek23, 12>()), "12:11,12 12:10,11 12:9,10 12:8,9 12:7,8 12:0,7 ");
  EXPECT_EQ(back(walk<orvek23, 22>()), "22:21,22 22:20,21 22:19,20 22:0,19 ");
  EXPECT_EQ(back(walk<Bush, 7>()), "8:7,8 8:1,7 8:0,1 9:7,9 9:1,7 9:0,1 7:1,7 7:0,1 ");
}

template <class Model>
bool is_about_z(int id) {
  return [&]<std::size_t... k>(std::index_sequence<k...>) {
    return std::array{metapod::lanes::is_about_z<metapod::NodeOf<Model, k>>...}[id];
  }
  (std::make_index_sequence<Model::nb_bodies>{});
}

// A lane that is computed before its parent, twice, or by code of another kind would be wrong.
template <class Model>
void expect_usable_lanes() {
  constexpr const auto& schedule = metapod::lanes::schedule<Model>;
  std::vector<int> seen;
  for (int g = 0; g < static_cast<int>(schedule.size); ++g) {
    int kind = -1;
    for (int lane = 0; lane < 4; ++lane) {
      const int id = schedule.groups[g][lane];
      if (id == metapod::lanes::nobody) continue;
      seen.push_back(id);
      EXPECT_EQ(schedule.places[id].group, g);
      EXPECT_EQ(schedule.places[id].lane, lane);
      if (id == 0) continue;
      EXPECT_LT(schedule.places[Model::parents[id]].group, g) << "node " << id;
      if (kind < 0) kind = is_about_z<Model>(id);
      EXPECT_EQ(is_about_z<Model>(id), kind == 1) << "node " << id;
    }
  }
  std::sort(seen.begin(), seen.end());
  ASSERT_EQ(seen.size(), std::size_t{Model::nb_bodies});
  for (int id = 0; id < Model::nb_bodies; ++id) EXPECT_EQ(seen[id], id);
}

TEST(LaneSchedule, KeepsParentsFirstAndKindsApart) {
  [&]<class... Model>(std::type_identity<std::tuple<Model...>>) {
    (expect_usable_lanes<Model>(), ...);
  }(std::type_identity<metapod::trees::Models>{});
  EXPECT_EQ(metapod::lanes::nb_groups<orvek23>, 8) << "of 23 nodes";
  EXPECT_EQ(metapod::lanes::nb_groups<OneBody>, 1);
  EXPECT_TRUE(metapod::lanes::is_made_of_chains<orvek23>);
  EXPECT_FALSE(metapod::lanes::is_made_of_chains<Bush>);
}

// Parts of one object are built in the order of their addresses, and destroyed in reverse.
TEST(LoadTimeTables, AreBuiltInOrder) {
  const void* const addresses[] = {
      &orvek23::Node0::joint_name,  &orvek23::Node0::body_name, &orvek23::Node0::Xt,
      &orvek23::Node1::joint_name,  &orvek23::Node2::Xt,        &orvek23::Node21::body_name,
      &orvek23::Node22::joint_name, &orvek23::Node22::Xt,       &orvek23::inertias,
      &orvek23::joint_names,        &orvek23::body_names};
  EXPECT_TRUE(std::is_sorted(std::begin(addresses), std::end(addresses)));
}

// Passes read before anything is written what the constructor is to have set.
TEST(FreshModel, HasZerosAndItsMotionSubspaces) {
  alignas(orvek23) static unsigned char storage[sizeof(orvek23)];
  std::memset(storage, 0x3f, sizeof(storage));  // what is not set is about 0.7
  const orvek23& model = *new (storage) orvek23;
  const auto expect_zero = [](const auto& floats, std::size_t from, std::size_t n) {
    float values[64];
    std::memcpy(values, &floats, sizeof(floats));
    for (std::size_t k = from; k < from + n; ++k) EXPECT_EQ(values[k], 0) << "float " << k;
  };
  const auto expect_fresh = [&]<int id>(std::integral_constant<int, id>) {
    SCOPED_TRACE(id);
    const auto& i = metapod::node<id>(model);
    expect_zero(i.sXp, 0, sizeof(i.sXp.E()) / sizeof(float));
    expect_zero(i.joint.Xj, 0, sizeof(i.joint.Xj.E()) / sizeof(float));
    expect_zero(i.iX0, 0, 9);
    expect_zero(i.joint.cj, 0, 6);
    EXPECT_EQ(i.Iic.m(), 0);
    if constexpr (id == 0) {
      for (int j = 0; j < 6; ++j) {
        const metapod::Spatial::Motion& column = i.joint.S.column(j);
        for (int k = 0; k < 3; ++k) {
          EXPECT_EQ(column.w()[k], k == j - 3);
          EXPECT_EQ(column.v()[k], k == j);
        }
      }
    } else {
      expect_zero(i.joint.vj, 3, 3);
      expect_zero(i.joint.S, 0, 2);
      EXPECT_EQ(i.joint.S.motion().w().z(), 1);
      expect_zero(i.joint.S, 3, 3);
    }
  };
  [&]<int... id>(std::integer_sequence<int, id...>) {
    (expect_fresh(std::integral_constant<int, id>{}), ...);
  }
  (std::make_integer_sequence<int, 23>{});
}

// A table whose walk would not be in the order of its rows must not compile.
constexpr metapod::BodyRow row(int parent) {
  return {"", parent, metapod::shifted({0, 0, 0}), 1, {0, 0, 0}, {0, 0, 0, 0, 0, 0}};
}
static_assert(!metapod::Tree<4>({row(-1), row(0), row(0), row(1)}).is_preorder());
static_assert(!metapod::Tree<2>({row(-1), row(-1)}).is_preorder(), "two roots");

}  // namespace
