// The order of visits: every algorithm relies on it. The model's tables: what the walks are made
// from.

#include "algorithms/traversal.hpp"

#include <string>

#include <gtest/gtest.h>

#include "model/orvek23.hpp"
#include "tests/two_links.hpp"

namespace test {
metapod::LoadTimeTables<TwoLinks> TwoLinks::tables;
}

namespace {

using metapod::orvek23;
using metapod::internal::backward_traversal;
using metapod::internal::depth_first_traversal_internal;
using test::TwoLinkModel;

template <class Model, int N>
struct Recorder {
  static void discover(Model&, std::string& log) { log += std::to_string(N) + "( "; }
  static void finish(Model&, std::string& log) { log += ")" + std::to_string(N) + " "; }

  template <class M, int ancestor, int child>
  struct BwdtVisitor {
    static void discover(M&, std::string& log) {
      log += std::to_string(ancestor) + "<-" + std::to_string(child) + " ";
    }
  };
};

template <class Model, int start>
std::string walk() {
  Model model;
  std::string log;
  depth_first_traversal_internal<Recorder, Model, start>::run(model, log);
  return log;
}

template <class Model, int start>
std::string walk_back() {
  Model model;
  std::string log;
  backward_traversal<Recorder, Model, start>::run(model, log);
  return log;
}

TEST(DepthFirstWalk, DiscoversParentsFirstAndFinishesChildrenFirst) {
  EXPECT_EQ((walk<TwoLinkModel, 0>()), "0( 1( 2( )2 )1 )0 ");
  EXPECT_EQ((walk<orvek23, 0>()),
            "0( 1( 2( )2 )1 3( 4( 5( 6( )6 )5 )4 )3 7( 8( 9( 10( 11( 12( )12 )11 )10 )9 )8 )7 "
            "13( 14( 15( 16( 17( 18( )18 )17 )16 )15 )14 )13 19( 20( 21( 22( )22 )21 )20 )19 )0 ");
  EXPECT_EQ((walk<orvek23, 10>()), "10( 11( 12( )12 )11 )10 ");
  EXPECT_EQ((walk<orvek23, 22>()), "22( )22 ");
}

TEST(BackwardWalk, VisitsTheAncestorsUpToTheRoot) {
  EXPECT_EQ((walk_back<TwoLinkModel, 2>()), "1<-2 0<-1 ");
  EXPECT_EQ((walk_back<orvek23, 22>()), "21<-22 20<-21 19<-20 0<-19 ");
  EXPECT_EQ((walk_back<orvek23, 13>()), "0<-13 ");
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
