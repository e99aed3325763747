// The order of visits, one by one and side by side: every algorithm relies on it. The model's
// tables: what the walks are made from.

#include "algorithms/traversal.hpp"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "algorithms/lane_groups.hpp"
#include "model/orvek23.hpp"
#include "tests/two_links.hpp"

namespace test {
metapod::LoadTimeTables<TwoLinks> TwoLinks::tables;
}

namespace {

using metapod::orvek23;
using metapod::internal::depth_first_traversal_internal;
using test::TwoLinkModel;

template <class Model, int N>
struct Recorder {
  static void discover(Model&, std::string& log) { log += std::to_string(N) + "( "; }
  static void finish(Model&, std::string& log) { log += ")" + std::to_string(N) + " "; }
};

template <class Model, int start>
std::string walk() {
  Model model;
  std::string log;
  if constexpr (start == 0) {
    metapod::depth_first_traversal<Recorder, Model>::run(model, log);
  } else {
    depth_first_traversal_internal<Recorder, Model, start>::run(model, log);
  }
  return log;
}

template <class Model>
bool is_about_z(std::size_t id) {
  return [&]<std::size_t... k>(std::index_sequence<k...>) {
    return std::array{metapod::internal::is_about_z<metapod::NodeOf<Model, k>>...}[id];
  }
  (std::make_index_sequence<Model::nb_bodies>{});
}

TEST(DepthFirstWalk, DiscoversParentsFirstAndFinishesChildrenFirst) {
  EXPECT_EQ((walk<TwoLinkModel, 0>()), "0( 1( 2( )2 )1 )0 ");
  EXPECT_EQ((walk<orvek23, 0>()),
            "0( 1( 2( )2 )1 3( 4( 5( 6( )6 )5 )4 )3 7( 8( 9( 10( 11( 12( )12 )11 )10 )9 )8 )7 "
            "13( 14( 15( 16( 17( 18( )18 )17 )16 )15 )14 )13 19( 20( 21( 22( )22 )21 )20 )19 )0 ");
  EXPECT_EQ((walk<orvek23, 10>()), "10( 11( 12( )12 )11 )10 ");
  EXPECT_EQ((walk<orvek23, 22>()), "22( )22 ");
}

// A lane that is computed before its parent, twice, or by code of another kind would be wrong.
template <class Model>
void expect_usable_lanes() {
  using metapod::internal::lane_schedule;
  constexpr const auto& schedule = lane_schedule<Model>;
  std::vector<std::size_t> seen;
  for (std::size_t g = 0; g < schedule.size; ++g) {
    const metapod::internal::LaneGroup& group = schedule.groups[g];
    for (std::size_t lane = 0; lane < group.size; ++lane) {
      const std::size_t id = group.ids[lane];
      seen.push_back(id);
      EXPECT_EQ(schedule.places[id].group, g);
      EXPECT_EQ(schedule.places[id].lane, lane);
      if (id == 0) continue;
      const auto parent = static_cast<std::size_t>(Model::parents[id]);
      EXPECT_LT(schedule.places[parent].group, g) << "node " << id;
      EXPECT_EQ(is_about_z<Model>(id), is_about_z<Model>(group.ids[0])) << "node " << id;
    }
  }
  std::sort(seen.begin(), seen.end());
  for (std::size_t id = 0; id < Model::nb_bodies; ++id) EXPECT_EQ(seen.at(id), id);
}

TEST(LaneSchedule, KeepsParentsFirstAndKindsApart) {
  expect_usable_lanes<TwoLinkModel>();
  expect_usable_lanes<orvek23>();
  EXPECT_EQ(metapod::internal::nb_groups<orvek23>, 8) << "of 23 nodes";
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

// A table whose walk would not be in the order of its rows must not compile.
constexpr metapod::BodyRow row(int parent) {
  return {"", parent, metapod::shifted({0, 0, 0}), 1, {0, 0, 0}, {0, 0, 0, 0, 0, 0}};
}
static_assert(!metapod::Tree<4>({row(-1), row(0), row(0), row(1)}).is_preorder());
static_assert(!metapod::Tree<2>({row(-1), row(-1)}).is_preorder(), "two roots");

}  // namespace
