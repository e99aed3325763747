// Every product of the spatial algebra against the dense 6 x 6 matrix it stands for.

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include "lanes/sincos.hpp"
#include "spatial/motion_subspace.hpp"
#include "spatial/sincos.hpp"
#include "spatial/transform.hpp"
#include "tests/dense.hpp"
#include "tests/robot.hpp"

namespace {

using namespace metapod::Spatial;
using oracle::Matrix3, oracle::Matrix6, oracle::Vector6;
using test::dense, test::dense_rotation;

constexpr float kInf = std::numeric_limits<float>::infinity();

// Random values; the same in every run.
class SpatialTest : public ::testing::Test {
 protected:
  float number() { return std::uniform_real_distribution<float>(-4, 4)(random_); }
  Vector3 vector() { return {number(), number(), number()}; }
  Motion motion() { return {vector(), vector()}; }
  Force force() { return {vector(), vector()}; }
  Inertia inertia() {
    return {number(), vector(), {number(), number(), number(), number(), number(), number()}};
  }
  template <class R>
  R rotation() {
    const float angle = number();
    if constexpr (std::is_same_v<R, RotationMatrixAboutZ>)
      return {std::cos(angle), std::sin(angle)};
    if constexpr (std::is_same_v<R, RotationMatrixIdentity>) return R(1);
    if constexpr (std::is_same_v<R, RotationMatrix>) {
      const auto turn = Eigen::AngleAxisd(angle, dense(vector()).normalized());
      const Eigen::Matrix3f m = turn.toRotationMatrix().cast<float>();
      const auto row = [&m](int i) { return Vector3(m(i, 0), m(i, 1), m(i, 2)); };
      return RotationMatrix::from_rows(row(0), row(1), row(2));
    }
  }
  template <class R>
  TransformT<R> transform() {
    return {rotation<R>(), vector()};
  }
  // `got` may differ from `want` by rounding in terms as large as `scale`.
  static void expect_equal(const oracle::Matrix& got, const oracle::Matrix& want,
                           double scale = 60) {
    EXPECT_LE(test::error(got, want), 8 * test::kEps * scale) << got << "\nwant\n" << want;
  }

 private:
  std::mt19937 random_{test::kSeed};
};

template <class Pair>
class TransformKinds : public SpatialTest {};
using Pairs = ::testing::Types<std::pair<RotationMatrixAboutZ, RotationMatrix>,
                               std::pair<RotationMatrixAboutZ, RotationMatrixIdentity>,
                               std::pair<RotationMatrix, RotationMatrixIdentity>,
                               std::pair<RotationMatrix, RotationMatrix>>;
TYPED_TEST_SUITE(TransformKinds, Pairs);

// A product specialised wrongly for a kind or a pair: a sign, a transposition, a forgotten r.
TYPED_TEST(TransformKinds, ActAsTheDenseTransforms) {
  using First = typename TypeParam::first_type;
  using Second = typename TypeParam::second_type;
  const auto expect_actions = [this](const auto& X) {
    const Matrix6 dense_X = dense(X), inverse = dense_X.inverse();
    const Matrix3 E = dense_rotation(X.E());
    const Vector3 p = this->vector();
    const Motion m = this->motion();
    const Force F = this->force();
    this->expect_equal(dense(X.apply(p)), E * (dense(p) - dense(X.r())));
    this->expect_equal(dense(X.applyInv(p)), E.transpose() * dense(p) + dense(X.r()));
    this->expect_equal(dense(X.apply(m)), dense_X * dense(m));
    this->expect_equal(dense(X * m), dense_X * dense(m));
    this->expect_equal(dense(X.applyInv(m)), inverse * dense(m));
    this->expect_equal(dense(X.apply(F)), inverse.transpose() * dense(F));
    this->expect_equal(dense(X.applyInv(F)), dense_X.transpose() * dense(F));
  };
  for (int k = 0; k < 50 && !this->HasFailure(); ++k) {
    SCOPED_TRACE(testing::Message() << "sample " << k << " of seed " << test::kSeed);
    const auto X1 = this->template transform<First>();
    const auto X2 = this->template transform<Second>();
    expect_actions(X1);
    expect_actions(X2);
    this->expect_equal(dense(X1 * X2), dense(X1) * dense(X2));
    const Inertia I = this->inertia();
    this->expect_equal(dense(X1.applyInv(I)), dense(X1).transpose() * dense(I) * dense(X1), 400);
  }
}

// What a kind promises beyond rounding: the factor scales rotations only, row 2 is copied, column 2
// is the cross product of the others (seen where the factors are no rotations).
TEST_F(SpatialTest, CompositionsKeepTheirExactForms) {
  const RotationMatrix any({1, 2, 3}, {4, 5, 7}, {-2, 6, 9});
  const RotationMatrixAboutZ turn(0.6f, 0.8f);
  const auto scaled =
      TransformT(turn, {1, 2, 3}) * TransformT(RotationMatrixIdentity(2), {4, 5, 6});
  EXPECT_EQ(scaled.E().c(), 2 * 0.6f);
  EXPECT_EQ(scaled.E().s(), 2 * 0.8f);
  EXPECT_EQ(dense(scaled.r()), oracle::Vector3(5, 7, 9));
  EXPECT_EQ(dense_rotation(any * RotationMatrixIdentity(2)), 2 * dense_rotation(any));
  EXPECT_EQ(dense((turn * any).row(2)), dense(any.row(2)));
  const RotationMatrix product = any * any;
  EXPECT_EQ(dense(product.column(1)), dense(any * any.column(1)));
  EXPECT_EQ(dense(product.column(2)), dense(product.column(0).cross(product.column(1))));
  EXPECT_EQ(dense_rotation(RotationMatrix()), Matrix3::Zero()) << "a default rotation is zero";
}

TEST_F(SpatialTest, RotatedInertiaNeverReadsTheEntryItCanDoWithout) {
  const RotationMatrix E = rotation<RotationMatrix>();
  const SymmetricMatrix3 A = inertia().I();
  const RotationMatrix poisoned({E(0, 0), E(1, 0), NAN}, E.column(1), E.column(2));
  EXPECT_EQ(dense(poisoned.congruence(A)), dense(E.congruence(A)));
}

TEST_F(SpatialTest, MotionForceAndInertiaProductsMatchTheirMatrices) {
  for (int k = 0; k < 50 && !HasFailure(); ++k) {
    SCOPED_TRACE(testing::Message() << "sample " << k << " of seed " << test::kSeed);
    const Motion m1 = motion(), m2 = motion();
    const Force F = force();
    const Inertia I = inertia(), I2 = inertia();
    const Matrix6 m1_cross = oracle::cross(dense(m1));
    expect_equal(dense(m1.cross(m2)), m1_cross * dense(m2));
    expect_equal(dense(cross(m1, F)), -m1_cross.transpose() * dense(F));
    expect_equal(dense((I + I2) * (m1 + m2) - F),
                 (dense(I) + dense(I2)) * (dense(m1) + dense(m2)) - dense(F), 400);
  }
}

// The subspaces are read where the algebra says so (a dense matrix in the root's place tells), and
// not read where a pattern stands for them.
TEST_F(SpatialTest, SubspacesAreReadWhereTheyShould) {
  std::array<Motion, 6> columns;
  Matrix6 dense_S, off_diagonal = Matrix6::Zero(), IS;
  for (int j = 0; j < 6; ++j) dense_S.col(j) = dense(columns[j] = motion());
  off_diagonal.topRightCorner<3, 3>() = dense_S.topRightCorner<3, 3>();
  off_diagonal.bottomLeftCorner<3, 3>() = dense_S.bottomLeftCorner<3, 3>();
  const ConstraintMotionFreeFlyerBody S(columns), free_flyer;
  const Force F = force();
  const Inertia I = inertia();
  const Vector6 x{{1, -2, 3, 4, -5, 6}};
  Vector6 projected;
  for (int j = 0; j < 6; ++j) projected[j] = S.transposed_times(F)[j];
  const std::array<Force, 6> I_S = I * S;
  for (int j = 0; j < 6; ++j) IS.col(j) = dense(I_S[j]);
  expect_equal(dense(S * std::array{1.f, -2.f, 3.f, 4.f, -5.f, 6.f}), dense_S * x);
  expect_equal(projected, dense_S.transpose() * dense(F));
  expect_equal(IS, dense(I) * off_diagonal);
  EXPECT_EQ(dense(free_flyer * std::array{1.f, 2.f, 3.f, 4.f, 5.f, 6.f}),
            dense(Motion({4, 5, 6}, {1, 2, 3})));

  const ConstraintMotionAxisZ axis;
  EXPECT_EQ(dense(axis * 3.f), 3 * Vector6::Unit(2));
  EXPECT_EQ(axis.transposed_times(F), F.n().z());
  EXPECT_EQ(dense(I * axis), dense(I).col(2));
  EXPECT_TRUE(std::isnan(axis.transposed_times(Force({0, 0, 1}, {kInf, 0, 0}))));
}

// Every angle has the float of the C library's double: quadrants, reduction, the angles beyond its
// range, and -0 with its sign; one by one and side by side.
TEST(SinCos, AreTheCLibrarysInFloat) {
  std::mt19937 random(test::kSeed);
  std::uniform_real_distribution<float> near(-8, 8), far(-1.1e5f, 1.1e5f);
  std::vector<float> angles{0.f,   -0.f,  1e5f,         std::nextafter(1e5f, 2e5f),
                            1e30f, -kInf, std::nanf("")};
  for (int n = -70000; n <= 70000; n += 7) angles.push_back(static_cast<float>(n * M_PI_2));
  for (int k = 0; k < 200000; ++k) angles.push_back(k % 2 == 0 ? near(random) : far(random));
  angles.resize(angles.size() / 4 * 4);
  for (std::size_t k = 0; k < angles.size() && !HasFailure(); k += 4) {
    const metapod::lanes::Lanes four{angles[k], angles[k + 1], angles[k + 2], angles[k + 3]};
    const metapod::lanes::SinCos all = metapod::lanes::sin_cos(std::array{four})[0];
    for (std::size_t lane = 0; lane < 4; ++lane) {
      const double angle = four[lane];
      const float want[] = {static_cast<float>(std::sin(angle)),
                            static_cast<float>(std::cos(angle))};
      const auto one = sin_cos(four[lane]);
      for (const auto& [s, c] : {one, SinCosT<float>{all.s[lane], all.c[lane]}}) {
        const float have[] = {s, c};
        if (std::isnan(want[0])) {
          EXPECT_TRUE(std::isnan(s) && std::isnan(c)) << four[lane];
        } else {
          EXPECT_EQ(std::memcmp(have, want, sizeof(want)), 0) << four[lane];
        }
      }
    }
  }
}

}  // namespace
