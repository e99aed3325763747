// The visitors of algorithms/ on trees of all shapes, in float and in double: what they leave in
// the nodes and in their arguments, against the oracle.

#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "algorithms/crba.hpp"
#include "algorithms/fwd_kin_iX1.hpp"
#include "algorithms/jcalc.hpp"
#include "algorithms/partial_com.hpp"
#include "algorithms/partial_crba.hpp"
#include "algorithms/rnea.hpp"
#include "model/orvek23.hpp"
#include "tests/dense.hpp"
#include "tests/robot.hpp"
#include "tests/trees.hpp"

namespace {

using metapod::orvek23;
using metapod::trees::PlanarArm;
using oracle::Vector6, oracle::Matrix6;
using test::dense;

constexpr float kUnwritten = 1e30f;

template <class Model>
struct RobotFor;
template <class R, class S>
struct RobotFor<metapod::Model<R, S>> {
  using type = R;
};
template <class Model>
using RobotOf = typename RobotFor<Model>::type;

// f(std::integral_constant<int, id>) for all nodes, in the order of their ids.
template <class Model, class F>
void for_nodes(F f) {
  [&]<int... id>(std::integer_sequence<int, id...>) {
    (f(std::integral_constant<int, id>{}), ...);
  }
  (std::make_integer_sequence<int, Model::nb_bodies>{});
}

// The algorithms of a model, with the passes that each needs before it.
template <class M>
class Runner {
 public:
  using S = typename M::Scalar;
  static constexpr int n = M::nb_dofs;
  using Coordinates = Eigen::Matrix<S, n, 1>;
  using Matrix = Eigen::Matrix<S, Eigen::Dynamic, Eigen::Dynamic>;
  using Force = metapod::Spatial::ForceT<S>;

  explicit Runner(const test::State& state) {
    const Coordinates q = state.q.cast<S>(), dq = state.dq.cast<S>();
    metapod::depth_first_traversal<metapod::internal::JcalcVisitor, M>::run(model, q, dq);
  }
  oracle::Vector torques(const test::State& state) {
    std::vector<Force> fext;
    for (const Vector6& F : state.fext) {
      const auto f = F.cast<S>().eval();
      fext.push_back({{f[0], f[1], f[2]}, {f[3], f[4], f[5]}});
    }
    const Coordinates ddq = state.ddq.cast<S>();
    Coordinates result = Coordinates::Constant(kUnwritten);
    metapod::rnea<M, false>::run(model, ddq, fext.data(), result);
    return result.template cast<double>();
  }
  Matrix mass_matrix() {
    Matrix H = Matrix::Constant(n, n, kUnwritten);
    metapod::crba<M, false>::run(model, H);
    return H;
  }
  Matrix partial_mass_matrix(int excluded_id) {
    Eigen::Matrix<S, n, n> H = Eigen::Matrix<S, n, n>::Constant(kUnwritten);
    metapod::partial_crba<M>::run(model, H, excluded_id);
    return H;
  }
  void kinematics() {
    iX1[0] = {metapod::Spatial::RotationMatrixT<S>::identity(), {}};
    J.setConstant(kUnwritten);
    metapod::fwd_kin_iX1<M>::run(model, iX1.data(), J, mc_sum);
  }
  /// By columns, root frame.
  oracle::Matrix joint_forces() const {
    oracle::Matrix F(6, n);
    for_nodes<M>([&](auto id) {
      for (int j = 0; j < M::dof_numbers[id]; ++j) {
        F.col(M::dof_indexes[id] + j) = dense(metapod::node<id>(model).joint_F[j]);
      }
    });
    return F;
  }

  M model;
  std::array<metapod::Spatial::TransformT<metapod::Spatial::RotationMatrixT<S>>, M::nb_bodies> iX1;
  Eigen::Matrix<S, 6, Eigen::Dynamic> J{6, n};
  metapod::Spatial::Vector3T<S> mc_sum{1, 2, 3};  // overwritten, not added to
};

template <class M>
class Algorithms : public ::testing::Test {
 protected:
  static constexpr int n = M::nb_dofs, nb_bodies = M::nb_bodies;

  template <class Check>
  static void for_states(int count, const Check& check) {
    SCOPED_TRACE(M::body_names[0]);
    test::for_random_states(count, check, nb_bodies);
  }

  // Rounding, and where a table's rotations are none, that: products of rotations use that they
  // are.
  static double tolerance() {
    double defect = 0;
    for (const oracle::Body& body : tree) {
      defect =
          std::max(defect, test::error(body.E * body.E.transpose(), oracle::Matrix3::Identity()));
    }
    return 200 * std::numeric_limits<typename M::Scalar>::epsilon() + 20 * defect;
  }
  static void expect_near(const oracle::Matrix& got, const oracle::Matrix& want, double scale = 0) {
    EXPECT_LE(test::error(got, want), tolerance() * std::max({1., want.norm(), scale}))
        << got << "\nwant\n"
        << want;
  }

  // Entries of `got` on one path to the root are those of `want`; the others are untouched.
  static void expect_mass_matrix(const typename Runner<M>::Matrix& got,
                                 const oracle::Matrix& want) {
    for (int a = 0; a < n; ++a) {
      for (int b = 0; b < n; ++b) {
        if (related(a, b)) {
          EXPECT_LE(std::abs(got(a, b) - want(a, b)), tolerance() * want.cwiseAbs().maxCoeff())
              << a << ", " << b;
        } else {
          EXPECT_EQ(got(a, b), kUnwritten) << a << ", " << b;
        }
      }
    }
  }
  static bool related(int a, int b) {
    for (int i = std::max(a, b) - 5; i > 0; i = tree[i].parent) {
      if (i == std::min(a, b) - 5) return true;
    }
    return std::min(a, b) < 6;
  }

  // What inverse dynamics and the composite inertias leave, for joints as the nodes have them.
  static void expect_fields(Runner<M>& run, const test::State& state,
                            const std::vector<oracle::Joint>& joints) {
    const oracle::Configuration at(tree, state.q);
    const auto want = at.dynamics(joints, state.ddq, state.fext);
    expect_near(run.torques(state), want.tau);

    // The columns of which a joint's force is made: its axis, which is not read from S; of the
    // root's S the two off-diagonal blocks.
    oracle::Matrix S(6, n), F(6, n), made_of = at.J;
    made_of.block(0, 3, 3, 3) = joints[0].S.topRightCorner(3, 3);
    made_of.block(3, 0, 3, 3) = joints[0].S.bottomLeftCorner(3, 3);
    const auto H = run.mass_matrix();
    const oracle::Matrix joint_F = run.joint_forces();
    for_nodes<M>([&](auto id) {
      SCOPED_TRACE(testing::Message() << "node " << id());
      const auto& i = metapod::node<id>(run.model);
      expect_near(dense(i.vi), want.v[id]);
      expect_near(dense(i.ai), want.a[id]);
      expect_near(dense(i.joint.f), want.f[id], want.f[0].norm());
      const Matrix6 to_root = at.to_body(id).inverse(), Ic = at.subtree_inertia(id);
      expect_near(dense(i.Iic), to_root.transpose() * Ic * to_root);
      const int k = M::dof_indexes[id], size = M::dof_numbers[id];
      S.middleCols(k, size) = to_root * joints[id].S;
      F.middleCols(k, size) = Ic * made_of.middleCols(k, size);
    });
    expect_near(joint_F, F);
    oracle::Matrix H_want = S.transpose() * F;  // F_k at the ancestors of k
    for (int k = 6; k < n; ++k) H_want.row(k).head(k) = H_want.col(k).head(k).transpose();
    expect_mass_matrix(H, H_want);
  }

  static inline const oracle::Tree tree = test::tree_of(RobotOf<M>::bodies);
};

template <class R>
using DoubleModel = metapod::Model<R, double>;
template <class... Lists>
struct Joined;
template <class... A, class... B>
struct Joined<std::tuple<A...>, std::tuple<B...>> {
  using Types = ::testing::Types<A..., B...>;
};
using Models = Joined<metapod::trees::Models, metapod::trees::AllOf<DoubleModel>>::Types;
struct Names {
  template <class M>
  static std::string GetName(int) {
    return std::string(RobotOf<M>::bodies[0].name) +
           (sizeof(typename M::Scalar) == 8 ? "InDouble" : "");
  }
};
TYPED_TEST_SUITE(Algorithms, Models, Names);

TYPED_TEST(Algorithms, LeaveTheOraclesFieldsInTheNodes) {
  this->for_states(20, [this](const test::State& state) {
    Runner<TypeParam> run(state);
    const std::vector<oracle::Joint> joints = oracle::joints(this->tree, state.dq);
    const oracle::Configuration at(this->tree, state.q);
    for_nodes<TypeParam>([&](auto id) {
      SCOPED_TRACE(testing::Message() << "node " << id());
      const auto& i = metapod::node<id>(run.model);
      const oracle::Pose& world = at.in_world[0];
      const Matrix6 root = oracle::motion_matrix(world.R.transpose(), world.p);
      if constexpr (id == 0) {
        this->expect_near(dense(i.sXp), root);
      } else {
        this->expect_near(dense(i.sXp) * at.to_body(this->tree[id].parent), at.to_body(id));
      }
      this->expect_near(dense(i.joint.Xj) * dense(i.Xt), dense(i.sXp));
      EXPECT_EQ(test::error(dense(i.joint.vj), joints[id].vj), 0);
    });
    this->expect_fields(run, state, joints);
    this->expect_mass_matrix(run.mass_matrix(), at.mass_matrix());
  });
}

// The recursions hold for any subspaces, velocities and biases: what a robot's joints have as zeros
// and ones must be read all the same.
TYPED_TEST(Algorithms, ReadTheJointsFromTheNodes) {
  std::mt19937 random(test::kSeed);
  this->for_states(20, [&](const test::State& state) {
    using S = typename TypeParam::Scalar;
    using Motion = metapod::Spatial::MotionT<S>;
    Runner<TypeParam> run(state);
    std::vector<oracle::Joint> joints = oracle::joints(this->tree, state.dq);
    const auto motion = [&](auto&& column) {
      for (double& x : column) x = std::uniform_real_distribution<float>(-1, 1)(random);
      const auto m = column.template cast<S>().eval();
      return Motion({m[0], m[1], m[2]}, {m[3], m[4], m[5]});
    };
    for_nodes<TypeParam>([&](auto id) {
      auto& joint = metapod::node<id>(run.model).joint;
      joint.vj = motion(joints[id].vj);
      joint.cj = motion(joints[id].cj);
      std::vector<Motion> columns;
      for (int j = 0; j < joints[id].S.cols(); ++j) columns.push_back(motion(joints[id].S.col(j)));
      using Subspace = std::remove_cvref_t<decltype(joint.S)>;
      if constexpr (id == 0) {
        std::array<Motion, 6> six;
        std::copy(columns.begin(), columns.end(), six.begin());
        joint.S = Subspace(six);
      } else {
        joint.S = Subspace(columns[0]);
      }
    });
    this->expect_fields(run, state, joints);
  });
}

TYPED_TEST(Algorithms, PartialMassMatricesMatchTheOracleAndLeaveTheRest) {
  this->for_states(5, [this](const test::State& state) {
    Runner<TypeParam> run(state);
    for (int i = 0; i < TypeParam::nb_bodies; ++i) {
      const oracle::Configuration rest(oracle::without(this->tree, i), state.q);
      this->expect_mass_matrix(run.partial_mass_matrix(i), rest.mass_matrix());
    }
    const auto whole = run.mass_matrix();  // starts afresh
    EXPECT_EQ(run.partial_mass_matrix(-1), whole);
    EXPECT_EQ(run.partial_mass_matrix(TypeParam::nb_bodies), whole);
  });
}

// Any matrix that is large enough, by its own rows.
TYPED_TEST(Algorithms, WriteMatricesOfAnySize) {
  this->for_states(1, [this](const test::State& state) {
    constexpr int n = TypeParam::nb_dofs;
    using S = typename TypeParam::Scalar;
    Runner<TypeParam> run(state);
    const auto want = run.mass_matrix();
    const auto expect_corner = [&](auto H, auto pass) {
      H.setConstant(kUnwritten);
      pass(H);
      EXPECT_EQ(H.topLeftCorner(n, n), want);
      EXPECT_TRUE((H.bottomRows(H.rows() - n).array() == S(kUnwritten)).all());
      EXPECT_TRUE((H.rightCols(H.cols() - n).array() == S(kUnwritten)).all());
    };
    const auto whole = [&](auto& H) { metapod::crba<TypeParam, false>::run(run.model, H); };
    const auto part = [&](auto& H) { metapod::partial_crba<TypeParam>::run(run.model, H, -1); };
    expect_corner(typename Runner<TypeParam>::Matrix(n + 3, n + 2), whole);
    expect_corner(Eigen::Matrix<S, n + 1, n + 4>(), whole);
    expect_corner(Eigen::Matrix<S, n, n, Eigen::RowMajor>(), whole);
    expect_corner(typename Runner<TypeParam>::Matrix(n + 3, n), part);
  });
}

TYPED_TEST(Algorithms, KinematicsMatchTheOracleAndLeaveTheRoot) {
  this->for_states(20, [this](const test::State& state) {
    using S = typename TypeParam::Scalar;
    Runner<TypeParam> run(state);
    run.kinematics();
    const oracle::Configuration want(this->tree, state.q);
    EXPECT_TRUE((run.J.leftCols(6).array() == S(kUnwritten)).all());
    run.J.leftCols(6) = want.J.leftCols(6).template cast<S>();
    this->expect_near(run.J.template cast<double>(), want.J);
    for (int i = 0; i < TypeParam::nb_bodies; ++i) {
      SCOPED_TRACE(testing::Message() << "body " << i);
      this->expect_near(dense(run.iX1[i]), want.to_body(i));
    }
    EXPECT_EQ(dense(run.iX1[0]), Matrix6::Identity());

    // A body without mass has no centre of it, and is not to be left out by chance.
    bool any_massless = false;
    for (const oracle::Body& body : this->tree) any_massless |= body.m == 0;
    if (any_massless) {
      EXPECT_TRUE(std::isnan(run.mc_sum.x()));
    } else {
      this->expect_near(dense(run.mc_sum), want.mass * want.com_root);
      for (int i = 1; i < TypeParam::nb_bodies; ++i) {
        const oracle::Configuration rest(oracle::without(this->tree, i), state.q);
        metapod::Spatial::Vector3T<S> sum{1, 2, 3};
        metapod::partial_com<TypeParam>::run(run.model, run.iX1.data(), i, sum);
        this->expect_near(dense(sum), rest.mass * rest.com_root);
      }
      for (const int nobody : {0, -1, TypeParam::nb_bodies}) {
        metapod::Spatial::Vector3T<S> sum;
        metapod::partial_com<TypeParam>::run(run.model, run.iX1.data(), nobody, sum);
        EXPECT_EQ(dense(sum), dense(run.mc_sum)) << "excluding " << nobody;
      }
    }
  });
}

// What the joints put in comes out as kinetic and potential energy, whatever the recursion does.
TYPED_TEST(Algorithms, PowerIsTheRateOfEnergy) {
  this->for_states(20, [this](test::State state) {
    for (Vector6& F : state.fext) F.setZero();
    const oracle::Vector tau = Runner<TypeParam>(state).torques(state);
    const double h = 1e-5;
    const oracle::Vector rates = oracle::coordinate_rates(state.q, state.dq);
    const auto energy = [&](double t) {
      return oracle::Configuration(this->tree, state.q + t * rates)
          .energy(state.dq + t * state.ddq);
    };
    EXPECT_NEAR(tau.dot(state.dq), (energy(h) - energy(-h)) / (2 * h),
                1e-5 * tau.norm() * state.dq.norm());
  });
}

// The textbook's planar arm: torques and inertias in closed form (Siciliano et al. 2009, section
// 7.3.2), its base at rest.
TEST(ClosedForm, OfThePlanarArm) {
  constexpr double g = 9.81, l1 = PlanarArm::l1, c1 = PlanarArm::c1, c2 = PlanarArm::c2,
                   m1 = PlanarArm::m1, m2 = PlanarArm::m2, i1 = PlanarArm::i1, i2 = PlanarArm::i2;
  test::for_random_states(
      50,
      [](test::State state) {
        state.q.head(6).setZero();
        state.dq.head(6).setZero();
        state.ddq.head(6).setZero();
        for (Vector6& F : state.fext) F.setZero();
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

        Runner<metapod::Model<metapod::trees::Robot<metapod::trees::planar_arm>>> run(state);
        EXPECT_LE(test::error(run.torques(state).tail(2), want),
                  16 * test::kEps * (1 + want.norm()));
        EXPECT_LE(test::error(run.mass_matrix().bottomRightCorner(2, 2).cast<double>(), H),
                  16 * test::kEps * H.norm());
      },
      metapod::trees::planar_arm.size());
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
  metapod::depth_first_traversal<metapod::internal::JcalcPosVisitor, orvek23>::run(run.model,
                                                                                   moved);
  EXPECT_EQ(head.sXp.E().s(), std::sin(0.5f));
  EXPECT_EQ(dense(head.joint.vj.w()), oracle::Vector3(0, 0, 7)) << "positions only";
  EXPECT_EQ(dense(root.joint.vj.v()), oracle::Vector3(1, 2, 3)) << "positions only";
}

// The steps one by one, with arguments as a user of the headers has them: Eigen's vectors and
// matrices, constant inputs, pointers and ids that are variables. They must compile, and make the
// same bits as the passes.
TEST(Steps, CanBeTakenOneByOne) {
  using namespace metapod::internal;
  using M = orvek23;
  using Coordinates = Eigen::Matrix<float, 28, 1>;
  test::for_random_states(1, [](const test::State& state) {
    Runner<M> passes(state);
    const oracle::Vector want_torques = passes.torques(state);
    passes.kinematics();

    M model;
    const Coordinates q = state.q.cast<float>(), dq = state.dq.cast<float>(),
                      ddq = state.ddq.cast<float>();
    JcalcVisitor<M, 0>::discover(model, q, dq);
    JcalcVisitor<M, 0>::finish(model, q, dq);
    depth_first_traversal_internal<JcalcVisitor, M, 1>::run(model, q, dq);
    for (int repeat = 0; repeat < 2; ++repeat) {  // the order of the nodes does not matter
      depth_first_traversal_internal<JcalcVisitor, M, 19>::run(model, q, dq);
      depth_first_traversal_internal<JcalcVisitor, M, 3>::run(model, q, dq);
    }
    depth_first_traversal_internal<JcalcVisitor, M, 7>::run(model, q, dq);
    JcalcPosVisitor<M, 13>::discover(model, q);
    JcalcPosVisitor<M, 13>::finish(model, q);
    depth_first_traversal_internal<JcalcVisitor, M, 13>::run(model, q, dq);

    std::vector<metapod::Spatial::Force> forces;
    for (const Vector6& F : state.fext) {
      const Eigen::Matrix<float, 6, 1> f = F.cast<float>();
      forces.push_back({{f[0], f[1], f[2]}, {f[3], f[4], f[5]}});
    }
    const metapod::Spatial::Force* fext = forces.data();
    using Rnea = metapod::rnea<M, false>;
    Coordinates torques;
    Rnea::DftVisitor<M, 0>::discover(model, ddq, fext, torques);
    depth_first_traversal_internal<Rnea::DftVisitor, M, 1>::run(model, ddq, fext, torques);
    depth_first_traversal_internal<Rnea::DftVisitor, M, 3>::run(model, ddq, fext, torques);
    depth_first_traversal_internal<Rnea::DftVisitor, M, 7>::run(model, ddq, fext, torques);
    depth_first_traversal_internal<Rnea::DftVisitor, M, 13>::run(model, ddq, fext, torques);
    depth_first_traversal_internal<Rnea::DftVisitor, M, 19>::run(model, ddq, fext, torques);
    Rnea::DftVisitor<M, 0>::finish(model, ddq, fext, torques);
    EXPECT_EQ(torques.cast<double>(), want_torques);

    const Eigen::Matrix<float, 6, 1> ddq_0 = ddq.head<6>();
    const Eigen::Matrix<float, 1, 1> ddq_1 = ddq.segment<1>(6);
    const Vector6 a_0 = dense(model.node<0>().ai), a_1 = dense(model.node<1>().ai);
    model.node<0>().ai = model.node<1>().ai = {};
    Rnea::update_kinematics<0, -1>::run(model, ddq_0);
    Rnea::update_kinematics<1, 0>::run(model, ddq_1);
    EXPECT_EQ(dense(model.node<0>().ai), a_0);
    EXPECT_EQ(dense(model.node<1>().ai), a_1);

    using Crba = metapod::crba<M, false>;
    using PartialCrba = metapod::partial_crba<M>;
    Eigen::MatrixXf H = Eigen::MatrixXf::Constant(28, 28, kUnwritten);
    depth_first_traversal_internal<Crba::DftVisitor, M, 0>::run(model, H);
    EXPECT_EQ(H, passes.mass_matrix());
    // Node 2 again: its walk begins with the force in its own frame.
    Crba::DftVisitor<M, 2>::discover(model, H);
    model.node<2>().joint_F[0] = model.node<2>().Iic * model.node<2>().joint.S;
    H(6, 7) = H(7, 6) = 0;
    Crba::DftVisitor<M, 2>::BwdtVisitor<M, 1, 2>::discover(model, H);
    Crba::DftVisitor<M, 2>::BwdtVisitor<M, 0, 1>::discover(model, H);
    EXPECT_EQ(H, passes.mass_matrix());
    Eigen::Matrix<float, 28, 28> part = Eigen::Matrix<float, 28, 28>::Constant(kUnwritten);
    int id = 9;
    depth_first_traversal_internal<PartialCrba::DftVisitor, M, 0>::run(model, part, id);
    EXPECT_EQ(part, passes.partial_mass_matrix(9));
    PartialCrba::DftVisitor<M, 0>::discover(model, part, id);
    PartialCrba::DftVisitor<M, 2>::finish(model, part, 3);

    std::array<metapod::Spatial::TransformT<metapod::Spatial::RotationMatrix>, 23> transforms;
    transforms[0] = {metapod::Spatial::RotationMatrix::identity(), {}};
    metapod::Spatial::TransformT<metapod::Spatial::RotationMatrix>* iX1 = transforms.data();
    Eigen::Matrix<float, 6, Eigen::Dynamic> J =
        Eigen::Matrix<float, 6, Eigen::Dynamic>::Constant(6, 30, kUnwritten);
    Eigen::Vector3f mc_sum;
    metapod::fwd_kin_iX1<M>::run(model, iX1, J, mc_sum);
    EXPECT_EQ(J.leftCols(28), passes.J);
    EXPECT_EQ(mc_sum.cast<double>(), dense(passes.mc_sum));
    FwdKiniX1Visitor<M, 1>::discover(model, iX1, J, mc_sum);
    EXPECT_NE(mc_sum.cast<double>(), dense(passes.mc_sum)) << "a step adds";

    // A subtree's own sum, and of one that is excluded.
    oracle::Vector3 want = oracle::Vector3::Zero();
    for (const int k : {7, 8, 10, 11, 12}) {
      const auto& I = M::inertias[k];
      want += I.m() * dense(iX1[k].applyInv(I.h() / I.m()));
    }
    Eigen::Vector3f sum = Eigen::Vector3f::Zero();
    depth_first_traversal_internal<PartialComVisitor, M, 7>::run(model, iX1, id, sum);
    EXPECT_LE(test::error(sum.cast<double>(), want), 16 * test::kEps);
    id = 22;
    sum.setConstant(5);
    depth_first_traversal_internal<PartialComVisitor, M, 22>::run(model, iX1, id, sum);
    EXPECT_EQ(sum, Eigen::Vector3f::Constant(5));
    PartialComVisitor<M, 3>::discover(model, iX1, id, sum);
    PartialComVisitor<M, 3>::finish(model, iX1, id, sum);
    EXPECT_NE(sum, Eigen::Vector3f::Constant(5));
  });
}

}  // namespace
