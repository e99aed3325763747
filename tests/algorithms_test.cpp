// The algorithms below the interface, on both models: what the interface does not hand out.

#include <array>
#include <cmath>
#include <numbers>

#include <gtest/gtest.h>

#include "algorithms/crba.hpp"
#include "algorithms/fwd_kin_iX1.hpp"
#include "algorithms/jcalc.hpp"
#include "algorithms/rnea.hpp"
#include "model/orvek23.hpp"
#include "tests/robot.hpp"
#include "tests/two_links.hpp"

namespace {

using metapod::orvek23;
using metapod::Spatial::Force;
using metapod::Spatial::Vector3;
using test::TwoLinks;

constexpr float kUnwritten = 1e30f;

oracle::Vector3 dense(const Vector3& v) {
  return {v.x(), v.y(), v.z()};
}

// The algorithms of a model, with the passes that each needs before it.
template <class Model>
class Runner {
 public:
  static constexpr int n = Model::nb_dofs;
  using Coordinates = Eigen::Matrix<float, n, 1>;

  explicit Runner(const test::State& state) {
    const Coordinates q = state.q.cast<float>(), dq = state.dq.cast<float>();
    metapod::jcalc<Model>::run(model, q, dq, sXp);
  }
  oracle::Vector torques(const test::State& state) {
    std::vector<Force> fext;
    for (const oracle::Vector6& F : state.fext) {
      const auto f = F.cast<float>().eval();
      fext.push_back({{f[0], f[1], f[2]}, {f[3], f[4], f[5]}});
    }
    const Coordinates dq = state.dq.cast<float>(), ddq = state.ddq.cast<float>();
    Coordinates result = Coordinates::Constant(kUnwritten);
    metapod::rnea<Model, false>::run(model, sXp, dq, ddq, fext.data(), result);
    return result.template cast<double>();
  }
  Eigen::MatrixXf mass_matrix() {
    Eigen::MatrixXf H = Eigen::MatrixXf::Constant(n, n, kUnwritten);
    metapod::crba<Model, false>::run(model, H.data());
    return H;
  }
  Eigen::MatrixXf partial_mass_matrix(int excluded_id) {
    Eigen::Matrix<float, n, n> H = Eigen::Matrix<float, n, n>::Constant(kUnwritten);
    metapod::partial_crba<Model>::run(model, H.data(), excluded_id);
    return H;
  }
  void kinematics() {
    iX1[0] = {metapod::Spatial::RotationMatrix::identity(), {}};
    J.setConstant(kUnwritten);
    metapod::fwd_kin_iX1<Model>::run(model, sXp, iX1.data(), J.data(), mc_sum);
  }
  Model model;
  metapod::internal::JointTransforms<Model> sXp;
  std::array<metapod::internal::BodyTransform, Model::nb_bodies> iX1;
  Eigen::MatrixXf J{6, n};
  Vector3 mc_sum{1, 2, 3};  // overwritten, not added to
};

template <class Model>
class Algorithms : public ::testing::Test {
 protected:
  template <class Check>
  static void for_states(int count, const Check& check) {
    test::for_random_states(count, check, Model::nb_bodies);
  }
  static const oracle::Tree& tree();

  // Entries of `got` on one path to the root are those of `want`; the others are untouched.
  static void expect_mass_matrix(const Eigen::MatrixXf& got, const oracle::Matrix& want) {
    const double tolerance = 2e-6 * want.cwiseAbs().maxCoeff();
    for (int a = 0; a < Model::nb_dofs; ++a) {
      for (int b = 0; b < Model::nb_dofs; ++b) {
        if (related(a, b)) {
          EXPECT_LE(std::abs(got(a, b) - want(a, b)), tolerance) << a << ", " << b;
        } else {
          EXPECT_EQ(got(a, b), kUnwritten) << a << ", " << b;
        }
      }
    }
  }
  static bool related(int a, int b) {
    for (int i = std::max(a, b) - 5; i > 0; i = tree()[i].parent) {
      if (i == std::min(a, b) - 5) return true;
    }
    return std::min(a, b) < 6;
  }
};
template <>
const oracle::Tree& Algorithms<orvek23>::tree() {
  return test::robot_tree();
}
template <>
const oracle::Tree& Algorithms<test::TwoLinkModel>::tree() {
  static const oracle::Tree tree = test::tree_of(TwoLinks::bodies);
  return tree;
}
using Models = ::testing::Types<test::TwoLinkModel, orvek23>;
TYPED_TEST_SUITE(Algorithms, Models);

// All generalized forces, the root wrench too.
TYPED_TEST(Algorithms, InverseDynamicsMatchesTheOracle) {
  this->for_states(100, [this](const test::State& state) {
    const oracle::Vector want = oracle::Configuration(this->tree(), state.q)
                                    .inverse_dynamics(state.dq, state.ddq, state.fext);
    EXPECT_LE(test::error(Runner<TypeParam>(state).torques(state), want),
              2e-5 * want.cwiseAbs().maxCoeff());
  });
}

TYPED_TEST(Algorithms, MassMatricesMatchTheOracleAndLeaveTheRest) {
  this->for_states(20, [this](const test::State& state) {
    Runner<TypeParam> run(state);
    const oracle::Configuration whole(this->tree(), state.q);
    for (int i = 0; i < TypeParam::nb_bodies; ++i) {
      const oracle::Configuration rest(oracle::without(this->tree(), i), state.q);
      this->expect_mass_matrix(run.partial_mass_matrix(i), rest.mass_matrix());
    }
    this->expect_mass_matrix(run.mass_matrix(), whole.mass_matrix());  // starts afresh
    EXPECT_EQ(run.partial_mass_matrix(-1), run.mass_matrix());
    EXPECT_EQ(run.partial_mass_matrix(TypeParam::nb_bodies), run.mass_matrix());
  });
}

TYPED_TEST(Algorithms, KinematicsMatchTheOracleAndLeaveTheRoot) {
  this->for_states(50, [this](const test::State& state) {
    Runner<TypeParam> run(state);
    run.kinematics();
    const oracle::Configuration want(this->tree(), state.q);
    EXPECT_EQ(run.J.leftCols(6), Eigen::MatrixXf::Constant(6, 6, kUnwritten));
    run.J.leftCols(6) = want.J.leftCols(6).template cast<float>();
    EXPECT_LE(test::error(run.J.template cast<double>(), want.J), 2e-6);
    EXPECT_LE(test::error(dense(run.mc_sum), want.mass * want.com_root), 2e-6 * want.mass);
    for (int i = 1; i < TypeParam::nb_bodies; ++i) {
      EXPECT_LE(test::error(dense(run.iX1[i].r()), want.in_root[i].p), 2e-6) << "body " << i;
    }
    EXPECT_EQ(dense(run.iX1[0].E() * Vector3(1, 2, 3)), oracle::Vector3(1, 2, 3));
  });
}

// What the joints put in comes out as kinetic and potential energy, whatever the recursion does.
TYPED_TEST(Algorithms, PowerIsTheRateOfEnergy) {
  this->for_states(50, [this](test::State state) {
    for (oracle::Vector6& F : state.fext) F.setZero();
    const oracle::Vector tau = Runner<TypeParam>(state).torques(state);
    const double h = 1e-5;
    const oracle::Vector rates = oracle::coordinate_rates(state.q, state.dq);
    const auto energy = [&](double t) {
      return oracle::Configuration(this->tree(), state.q + t * rates)
          .energy(state.dq + t * state.ddq);
    };
    EXPECT_NEAR(tau.dot(state.dq), (energy(h) - energy(-h)) / (2 * h),
                1e-5 * tau.norm() * state.dq.norm());
  });
}

TYPED_TEST(Algorithms, AtRestTheRootBearsTheWeightAtTheCentreOfMass) {
  this->for_states(20, [this](test::State state) {
    state.dq.setZero();
    state.ddq.setZero();
    for (oracle::Vector6& F : state.fext) F.setZero();
    const oracle::Configuration at(this->tree(), state.q);
    const oracle::Vector3 weight = at.in_world[0].R.transpose() * oracle::Vector3(0, 0, 9.81);
    oracle::Vector want(6);
    want << at.mass * weight, at.mass * at.com_root.cross(weight);
    EXPECT_LE(test::error(Runner<TypeParam>(state).torques(state).head(6), want),
              8 * test::kEps * want.norm());
  });
}

// The textbook's planar arm: torques and inertias in closed form (Siciliano et al. 2009, section
// 7.3.2), its base at rest.
TEST(PlanarArm, HasItsClosedForm) {
  constexpr double g = 9.81, l1 = TwoLinks::l1, c1 = TwoLinks::c1, c2 = TwoLinks::c2,
                   m1 = TwoLinks::m1, m2 = TwoLinks::m2, i1 = TwoLinks::i1, i2 = TwoLinks::i2;
  test::for_random_states(
      50,
      [](test::State state) {
        state.q.head(6).setZero();
        state.dq.head(6).setZero();
        state.ddq.head(6).setZero();
        for (oracle::Vector6& F : state.fext) F.setZero();
        const double q1 = state.q[6], q2 = state.q[7], w1 = state.dq[6], w2 = state.dq[7];
        const double h = m2 * l1 * c2 * std::sin(q2);
        Eigen::Matrix2d H;
        H(1, 1) = i2 + m2 * c2 * c2;
        H(0, 1) = H(1, 0) = H(1, 1) + m2 * l1 * c2 * std::cos(q2);
        H(0, 0) = i1 + m1 * c1 * c1 + i2 + m2 * (l1 * l1 + c2 * c2 + 2 * l1 * c2 * std::cos(q2));
        const Eigen::Vector2d velocity(-h * (2 * w1 * w2 + w2 * w2), h * w1 * w1);
        const double outer = m2 * c2 * g * std::cos(q1 + q2);
        const Eigen::Vector2d gravity((m1 * c1 + m2 * l1) * g * std::cos(q1) + outer, outer);
        const Eigen::Vector2d want = H * state.ddq.tail(2) + velocity + gravity;

        Runner<test::TwoLinkModel> run(state);
        EXPECT_LE(test::error(run.torques(state).tail(2), want),
                  16 * test::kEps * (1 + want.norm()));
        EXPECT_LE(test::error(run.mass_matrix().bottomRightCorner(2, 2).cast<double>(), H),
                  16 * test::kEps * H.norm());
      },
      TwoLinks::bodies.size());
}

// Excluding a body changes what is projected from its composite inertia and those above it, and
// not a bit of anything else.
TEST(PartialInertia, DiffersOnlyAboveTheExcludedBody) {
  test::for_random_states(1, [](const test::State& state) {
    Runner<orvek23> run(state);
    const Eigen::MatrixXf whole = run.mass_matrix();
    const Eigen::MatrixXf thigh = run.partial_mass_matrix(9), hand = run.partial_mass_matrix(22);
    for (int a = 0; a < 28; ++a) {
      for (int b = 0; b < 28; ++b) {
        const int from = std::max(a, b);
        if (from >= 6 && (from < 12 || from > 14)) {
          EXPECT_EQ(thigh(a, b), whole(a, b)) << a << ", " << b;
        }
        if (from == 27 && hand(a, b) != kUnwritten) {
          EXPECT_EQ(hand(a, b), 0) << a << ", " << b;
        }
      }
    }
    EXPECT_NE(thigh(14, 14), whole(14, 14));
    EXPECT_EQ(whole(14, 14), run.mass_matrix()(14, 14));
    EXPECT_EQ(run.model.node<9>().Iic.I().zz(), whole(14, 14));
    EXPECT_EQ(run.model.node<12>().joint_F[0].f().y(), whole(17, 1)) << "in root coordinates";
  });
}

TEST(JointCalculation, FollowsItsConventions) {
  test::State state;
  state.q = state.dq = oracle::Vector::Zero(28);
  state.q[4] = static_cast<float>(std::numbers::pi / 2);
  state.dq.head(6) << 1, 2, 3, 4, 5, 6;
  state.dq[6] = 7;
  Runner<orvek23> run(state);
  const auto& root = run.model.node<0>();
  EXPECT_EQ(root.sXp.E()(0, 2), -1);
  EXPECT_FLOAT_EQ(root.sXp.E()(0, 0), -4.371139e-08f) << "the cosine of the float, not zero";
  EXPECT_EQ(dense(root.joint.vj.w()), oracle::Vector3(4, 5, 6));
  EXPECT_EQ(dense(root.joint.vj.v()), oracle::Vector3(1, 2, 3));

  const auto& head = run.model.node<1>();
  const Eigen::Matrix<float, 28, 1> moved = Eigen::Matrix<float, 28, 1>::Constant(0.5f);
  metapod::jcalc<orvek23>::run(run.model, moved, run.sXp);
  EXPECT_EQ(head.sXp.E().s(), std::sin(0.5f));
  EXPECT_EQ(dense(head.joint.vj.w()), oracle::Vector3(0, 0, 7)) << "positions only";
  EXPECT_EQ(dense(root.joint.vj.v()), oracle::Vector3(1, 2, 3)) << "positions only";
}

}  // namespace
