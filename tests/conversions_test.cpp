// The host's math library and the way between its transforms and the model's.

#include <numbers>

#include "host/kt_math_conversions.hpp"
#include "tests/robot.hpp"

namespace {

using KT::Math::Transform;
using KT::Math::transformFromPosition6D;

constexpr double kTolerance = 8 * test::kEps;

void expect_near(const oracle::Pose& got, const oracle::Pose& want) {
  EXPECT_LE(test::error(got.R, want.R), kTolerance);
  EXPECT_LE(test::error(got.p, want.p), kTolerance * (1 + want.p.norm()));
}

// At +-90 degrees of pitch two angles turn about one axis, and near it they are ill-conditioned: a
// decomposition that takes each angle on its own loses the rotation.
TEST(SixCoordinates, RebuildThePoseAtEveryPitch) {
  const double right = std::numbers::pi / 2;
  for (const double pitch :
       {0., 0.7, -1.5, 3., right - 1e-3, right - 1e-6, right, -right, right + 1e-7, 1e-5 - right}) {
    for (const double roll : {0., 0.3, -2.8}) {
      for (const double yaw : {0., -1.1, 3.1}) {
        SCOPED_TRACE(testing::Message() << "pitch " << pitch << " roll " << roll << " yaw " << yaw);
        oracle::Vector q(6);
        q << 1, -2, 3, roll, pitch, yaw;
        const oracle::Configuration want({test::robot_tree()[0]}, q);
        const Transform t = test::transform(q);
        expect_near(test::pose(t), want.in_world[0]);
        expect_near(test::pose(transformFromPosition6D(position6DFromTransform(t))), test::pose(t));
      }
    }
  }
}

TEST(Conversions, KeepOrInvertThePointMap) {
  std::mt19937 random(test::kSeed);
  for (int k = 0; k < 20; ++k) {
    SCOPED_TRACE(testing::Message() << "sample " << k << " of seed " << test::kSeed);
    const Transform t = test::transform(test::random_state(random, 1).q);
    const Transform u = test::transform(test::random_state(random, 1).q);
    const tavo::ModelTransform a = tavo::fromKTMath(t), b = tavo::fromKTMath(u);
    const oracle::Pose T = test::pose(t), U = test::pose(u);
    const oracle::Vector3 x(0.25, -0.5, 2), Tx = T * x;

    const metapod::Spatial::Vector3 ax = a.apply({0.25f, -0.5f, 2});
    EXPECT_LE(test::error(oracle::Vector3(ax.x(), ax.y(), ax.z()), Tx), kTolerance * 4);
    EXPECT_LE(test::error(test::point(t * KT::Math::Position3D(0.25f, -0.5f, 2)), Tx), kTolerance);
    Transform back, inverse, product;
    tavo::toKTMath(a, back);
    expect_near(test::pose(back), T);
    tavo::invToKTMath(a, inverse);
    EXPECT_EQ(inverse.m[3], a.r().x()) << "copied";
    EXPECT_EQ(inverse.m[1], a.E()(1, 0)) << "copied";
    expect_near(T * test::pose(inverse), {});
    tavo::invProdToKTMath(a, b, product);
    expect_near(T * U * test::pose(product), {});
  }
}

}  // namespace
