// The visitors of algorithms/ on trees of all shapes, in float and in double: what they leave in
// the nodes and in their arguments, against the oracle.

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <string>
#include <tuple>
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
using oracle::Matrix3, oracle::Matrix6, oracle::Vector6;
using test::dense;

constexpr float kUnwritten = 1e30f;

// f(std::integral_constant<int, id>) for all nodes, in the order of their ids.
template <class Model, class F>
void for_nodes(F f) {
  [&]<int... id>(std::integer_sequence<int, id...>) {
    (f(std::integral_constant<int, id>{}), ...);
  }
  (std::make_integer_sequence<int, Model::nb_bodies>{});
}

/// What the passes leave in a node, widened.
struct NodeFields {
  Matrix6 sXp, Xj_Xt, Iic;
  Vector6 vj, vi, ai, f;
};

/// The algorithms of a model in double, whatever its scalar is: so that no check is compiled for
/// every node of every tree.
class Robot {
 public:
  virtual ~Robot() = default;
  /// Joint calculation, which comes before the others.
  virtual void set_positions(const test::State& state) = 0;
  /// Any joints in place of the model's.
  virtual void set_joints(const std::vector<oracle::Joint>& joints) = 0;
  virtual oracle::Vector torques(const test::State& state) = 0;
  virtual oracle::Matrix mass_matrix() = 0;
  virtual oracle::Matrix partial_mass_matrix(int excluded_id) = 0;
  /// The mass matrix once more, in the corner of larger ones of other types.
  virtual void expect_mass_matrix_in_corners() = 0;
  /// Fills iX1, J and mc_sum.
  virtual void kinematics() = 0;
  virtual oracle::Vector3 partial_com(int excluded_id) = 0;
  virtual std::vector<NodeFields> fields() const = 0;
  /// By columns, root frame.
  virtual oracle::Matrix joint_forces() const = 0;

  std::vector<Matrix6> iX1;
  oracle::Matrix J;
  oracle::Vector3 mc_sum;
};

template <class M>
class RobotOf final : public Robot {
 public:
  using S = typename M::Scalar;
  static constexpr int n = M::nb_dofs;
  using Coordinates = Eigen::Matrix<S, n, 1>;
  using Matrix = Eigen::Matrix<S, Eigen::Dynamic, Eigen::Dynamic>;
  using Motion = metapod::Spatial::MotionT<S>;
  using Force = metapod::Spatial::ForceT<S>;

  void set_positions(const test::State& state) override {
    const Coordinates q = state.q.cast<S>(), dq = state.dq.cast<S>();
    metapod::depth_first_traversal<metapod::internal::JcalcVisitor, M>::run(model, q, dq);
  }
  void set_joints(const std::vector<oracle::Joint>& joints) override {
    for_nodes<M>([&](auto id) {
      auto& joint = metapod::node<id>(model).joint;
      joint.vj = motion(joints[id].vj);
      joint.cj = motion(joints[id].cj);
      using Subspace = std::remove_cvref_t<decltype(joint.S)>;
      if constexpr (id == 0) {
        std::array<Motion, 6> columns;
        for (int j = 0; j < 6; ++j) columns[j] = motion(joints[id].S.col(j));
        joint.S = Subspace(columns);
      } else {
        joint.S = Subspace(motion(joints[id].S));
      }
    });
  }
  oracle::Vector torques(const test::State& state) override {
    std::vector<Force> fext;
    for (const Vector6& F : state.fext) {
      const Motion m = motion(F);
      fext.push_back({m.w(), m.v()});
    }
    const Coordinates ddq = state.ddq.cast<S>();
    Coordinates result = Coordinates::Constant(kUnwritten);
    metapod::rnea<M, false>::run(model, ddq, fext.data(), result);
    return result.template cast<double>();
  }
  oracle::Matrix mass_matrix() override {
    Matrix H = Matrix::Constant(n, n, kUnwritten);
    metapod::crba<M, false>::run(model, H);
    return H.template cast<double>();
  }
  oracle::Matrix partial_mass_matrix(int excluded_id) override {
    Eigen::Matrix<S, n, n> H = Eigen::Matrix<S, n, n>::Constant(kUnwritten);
    metapod::partial_crba<M>::run(model, H, excluded_id);
    return H.template cast<double>();
  }
  void expect_mass_matrix_in_corners() override {
    const oracle::Matrix want = mass_matrix();
    const auto expect = [&](auto H, auto pass) {
      H.setConstant(kUnwritten);
      pass(H);
      oracle::Matrix rest = H.template cast<double>();
      EXPECT_EQ(rest.topLeftCorner(n, n), want);
      rest.topLeftCorner(n, n).setConstant(kUnwritten);
      EXPECT_TRUE((rest.array() == kUnwritten).all());
    };
    expect(Matrix(n + 3, n + 2), [&](auto& H) { metapod::crba<M, false>::run(model, H); });
    expect(Matrix(n + 3, n), [&](auto& H) { metapod::partial_crba<M>::run(model, H, -1); });
    if constexpr (n < 12) {  // sizes known when compiled: a few trees tell
      expect(Eigen::Matrix<S, n + 1, n + 4>(),
             [&](auto& H) { metapod::crba<M, false>::run(model, H); });
    }
  }
  void kinematics() override {
    transforms_[0] = {metapod::Spatial::RotationMatrixT<S>::identity(), {}};
    Eigen::Matrix<S, 6, Eigen::Dynamic> columns =
        Eigen::Matrix<S, 6, Eigen::Dynamic>::Constant(6, n, kUnwritten);
    metapod::Spatial::Vector3T<S> sum{1, 2, 3};  // overwritten, not added to
    metapod::fwd_kin_iX1<M>::run(model, transforms_.data(), columns, sum);
    iX1.clear();
    for (const auto& X : transforms_) iX1.push_back(dense(X));
    J = columns.template cast<double>();
    mc_sum = dense(sum);
  }
  oracle::Vector3 partial_com(int excluded_id) override {
    metapod::Spatial::Vector3T<S> sum{1, 2, 3};
    metapod::partial_com<M>::run(model, transforms_.data(), excluded_id, sum);
    return dense(sum);
  }
  std::vector<NodeFields> fields() const override {
    std::vector<NodeFields> all;
    for_nodes<M>([&](auto id) {
      const auto& i = metapod::node<id>(model);
      all.push_back({dense(i.sXp), dense(i.joint.Xj) * dense(i.Xt), dense(i.Iic), dense(i.joint.vj),
                     dense(i.vi), dense(i.ai), dense(i.joint.f)});
    });
    return all;
  }
  oracle::Matrix joint_forces() const override {
    std::vector<Vector6> F;
    for_nodes<M>([&](auto id) {
      for (const Force& column : metapod::node<id>(model).joint_F) F.push_back(dense(column));
    });
    return Eigen::Map<const Eigen::Matrix<double, 6, Eigen::Dynamic>>(F[0].data(), 6, n);
  }

  M model;

 private:
  static Motion motion(const Vector6& m) {
    return {{S(m[0]), S(m[1]), S(m[2])}, {S(m[3]), S(m[4]), S(m[5])}};
  }

  std::array<metapod::Spatial::TransformT<metapod::Spatial::RotationMatrixT<S>>, M::nb_bodies>
      transforms_;
};

struct Case {
  std::string name;
  oracle::Tree tree;
  double epsilon;  // of the scalar
  std::unique_ptr<Robot> (*make)();

  friend void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }
};
template <class R, class S>
Case case_of() {
  return {
      R::bodies[0].name + std::string(sizeof(S) == 8 ? "InDouble" : ""), test::tree_of(R::bodies),
      std::numeric_limits<S>::epsilon(),
      []() -> std::unique_ptr<Robot> { return std::make_unique<RobotOf<metapod::Model<R, S>>>(); }};
}
std::vector<Case> cases() {
  return []<class... R>(std::type_identity<std::tuple<R...>>) {
    return std::vector<Case>{case_of<R, float>()..., case_of<R, double>()...};
  }(std::type_identity<metapod::trees::Robots>{});
}

class Algorithms : public ::testing::TestWithParam<Case> {
 protected:
  const oracle::Tree& tree = GetParam().tree;
  const int nb_bodies = static_cast<int>(tree.size()), n = nb_bodies + 5;

  /// check(state, robot), its joints calculated.
  template <class Check>
  void for_states(int count, const Check& check) {
    test::for_random_states(
        count,
        [&](const test::State& state) {
          const std::unique_ptr<Robot> robot = GetParam().make();
          robot->set_positions(state);
          check(state, *robot);
        },
        nb_bodies);
  }

  // Rounding, and where a table's rotations are none, that: products of rotations use that they
  // are.
  double tolerance() const {
    double defect = 0;
    for (const oracle::Body& body : tree) {
      defect = std::max(defect, test::error(body.E * body.E.transpose(), Matrix3::Identity()));
    }
    return 200 * GetParam().epsilon + 20 * defect;
  }
  void expect_near(const oracle::Matrix& got, const oracle::Matrix& want, double scale = 1) const {
    EXPECT_LE(test::error(got, want), tolerance() * std::max({1., want.norm(), scale}))
        << got << "\nwant\n"
        << want;
  }

  // Entries of `got` on one path to the root are those of `want`; the others are untouched.
  void expect_mass_matrix(const oracle::Matrix& got, const oracle::Matrix& want) const {
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
  bool related(int a, int b) const {
    for (int i = std::max(a, b) - 5; i > 0; i = tree[i].parent) {
      if (i == std::min(a, b) - 5) return true;
    }
    return std::min(a, b) < 6;
  }

  // What inverse dynamics and the composite inertias leave, for joints as the nodes have them.
  void expect_fields(Robot& robot, const test::State& state,
                     const std::vector<oracle::Joint>& joints) const {
    const oracle::Configuration at(tree, state.q);
    const auto want = at.dynamics(joints, state.ddq, state.fext);
    expect_near(robot.torques(state), want.tau);

    // The columns of which a joint's force is made: its axis, which is not read from S; of the
    // root's S the two off-diagonal blocks.
    oracle::Matrix S(6, n), F(6, n), made_of = at.J;
    made_of.block(0, 3, 3, 3) = joints[0].S.topRightCorner(3, 3);
    made_of.block(3, 0, 3, 3) = joints[0].S.bottomLeftCorner(3, 3);
    const oracle::Matrix H = robot.mass_matrix();
    const std::vector<NodeFields> nodes = robot.fields();
    for (int i = 0; i < nb_bodies; ++i) {
      SCOPED_TRACE(testing::Message() << "node " << i);
      expect_near(nodes[i].vi, want.v[i]);
      expect_near(nodes[i].ai, want.a[i]);
      expect_near(nodes[i].f, want.f[i], want.f[0].norm());
      const Matrix6 to_root = at.to_body(i).inverse(), Ic = at.subtree_inertia(i);
      expect_near(nodes[i].Iic, to_root.transpose() * Ic * to_root);
      const int k = i == 0 ? 0 : i + 5, size = i == 0 ? 6 : 1;
      S.middleCols(k, size) = to_root * joints[i].S;
      F.middleCols(k, size) = Ic * made_of.middleCols(k, size);
    }
    expect_near(robot.joint_forces(), F);
    oracle::Matrix H_want = S.transpose() * F;  // F_k at the ancestors of k
    for (int k = 6; k < n; ++k) H_want.row(k).head(k) = H_want.col(k).head(k).transpose();
    expect_mass_matrix(H, H_want);
  }
};
INSTANTIATE_TEST_SUITE_P(Trees, Algorithms, testing::ValuesIn(cases()),
                         [](const auto& tree) { return tree.param.name; });

TEST_P(Algorithms, LeaveTheOraclesFieldsInTheNodes) {
  for_states(20, [this](const test::State& state, Robot& robot) {
    const std::vector<oracle::Joint> joints = oracle::joints(tree, state.dq);
    const oracle::Configuration at(tree, state.q);
    const std::vector<NodeFields> nodes = robot.fields();
    for (int i = 0; i < nb_bodies; ++i) {
      SCOPED_TRACE(testing::Message() << "node " << i);
      const oracle::Pose& world = at.in_world[0];
      if (i == 0) {
        expect_near(nodes[i].sXp, oracle::motion_matrix(world.R.transpose(), world.p));
      } else {
        expect_near(nodes[i].sXp * at.to_body(tree[i].parent), at.to_body(i));
      }
      expect_near(nodes[i].Xj_Xt, nodes[i].sXp);
      EXPECT_EQ(nodes[i].vj, joints[i].vj);
    }
    expect_fields(robot, state, joints);
    expect_mass_matrix(robot.mass_matrix(), at.mass_matrix());
  });
}

// The recursions hold for any subspaces, velocities and biases: what a robot's joints have as zeros
// and ones must be read all the same.
TEST_P(Algorithms, ReadTheJointsFromTheNodes) {
  std::mt19937 random(test::kSeed);
  for_states(20, [&](const test::State& state, Robot& robot) {
    std::vector<oracle::Joint> joints = oracle::joints(tree, state.dq);
    const auto fill = [&](auto&& m) {
      m = m.unaryExpr([&](double) -> double {
             return std::uniform_real_distribution<float>(-1, 1)(random);
           }).eval();
    };
    for (oracle::Joint& joint : joints) {
      fill(joint.S);
      fill(joint.vj);
      fill(joint.cj);
    }
    robot.set_joints(joints);
    expect_fields(robot, state, joints);
  });
}

TEST_P(Algorithms, PartialMassMatricesMatchTheOracleAndLeaveTheRest) {
  for_states(5, [this](const test::State& state, Robot& robot) {
    for (int i = 0; i < nb_bodies; ++i) {
      const oracle::Configuration rest(oracle::without(tree, i), state.q);
      expect_mass_matrix(robot.partial_mass_matrix(i), rest.mass_matrix());
    }
    const oracle::Matrix whole = robot.mass_matrix();  // starts afresh
    EXPECT_EQ(robot.partial_mass_matrix(-1), whole);
    EXPECT_EQ(robot.partial_mass_matrix(nb_bodies), whole);
    robot.expect_mass_matrix_in_corners();
  });
}

TEST_P(Algorithms, KinematicsMatchTheOracleAndLeaveTheRoot) {
  for_states(20, [this](const test::State& state, Robot& robot) {
    robot.kinematics();
    const oracle::Configuration want(tree, state.q);
    EXPECT_TRUE((robot.J.leftCols(6).array() == kUnwritten).all());
    expect_near(robot.J.rightCols(n - 6), want.J.rightCols(n - 6));
    for (int i = 0; i < nb_bodies; ++i) {
      SCOPED_TRACE(testing::Message() << "body " << i);
      expect_near(robot.iX1[i], want.to_body(i));
    }
    EXPECT_EQ(robot.iX1[0], Matrix6::Identity());

    // A body without mass has no centre of it.
    if (std::any_of(tree.begin(), tree.end(), [](const auto& body) { return body.m == 0; })) {
      EXPECT_TRUE(robot.mc_sum.array().isNaN().all());
      return;
    }
    expect_near(robot.mc_sum, want.mass * want.com_root);
    for (int i = 1; i < nb_bodies; ++i) {
      const oracle::Configuration rest(oracle::without(tree, i), state.q);
      expect_near(robot.partial_com(i), rest.mass * rest.com_root);
    }
    for (const int nobody : {0, -1, nb_bodies}) {
      EXPECT_EQ(robot.partial_com(nobody), robot.mc_sum) << "excluding " << nobody;
    }
  });
}

// What the joints put in comes out as kinetic and potential energy, whatever the recursion does.
TEST_P(Algorithms, PowerIsTheRateOfEnergy) {
  for_states(20, [this](test::State state, Robot& robot) {
    for (Vector6& F : state.fext) F.setZero();
    const oracle::Vector tau = robot.torques(state);
    const double h = 1e-5;
    const oracle::Vector rates = oracle::coordinate_rates(state.q, state.dq);
    const auto energy = [&](double t) {
      return oracle::Configuration(tree, state.q + t * rates).energy(state.dq + t * state.ddq);
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

        RobotOf<metapod::Model<metapod::trees::Robot<metapod::trees::planar_arm>>> run;
        run.set_positions(state);
        EXPECT_LE(test::error(run.torques(state).tail(2), want),
                  16 * test::kEps * (1 + want.norm()));
        EXPECT_LE(test::error(run.mass_matrix().bottomRightCorner(2, 2), H),
                  16 * test::kEps * H.norm());
      },
      metapod::trees::planar_arm.size());
}

// Excluding a body changes what is projected from its composite inertia and those above it, and
// not a bit of anything else.
TEST(PartialInertia, DiffersOnlyAboveTheExcludedBody) {
  test::for_random_states(1, [](const test::State& state) {
    RobotOf<orvek23> run;
    run.set_positions(state);
    const oracle::Matrix whole = run.mass_matrix();
    const oracle::Matrix thigh = run.partial_mass_matrix(9), hand = run.partial_mass_matrix(22);
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
  RobotOf<orvek23> run;
  run.set_positions(state);
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
    RobotOf<M> passes;
    passes.set_positions(state);
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
    EXPECT_EQ(H.cast<double>(), passes.mass_matrix());
    // Node 2 again: its walk begins with the force in its own frame.
    Crba::DftVisitor<M, 2>::discover(model, H);
    model.node<2>().joint_F[0] = model.node<2>().Iic * model.node<2>().joint.S;
    H(6, 7) = H(7, 6) = 0;
    Crba::DftVisitor<M, 2>::BwdtVisitor<M, 1, 2>::discover(model, H);
    Crba::DftVisitor<M, 2>::BwdtVisitor<M, 0, 1>::discover(model, H);
    EXPECT_EQ(H.cast<double>(), passes.mass_matrix());
    Eigen::Matrix<float, 28, 28> part = Eigen::Matrix<float, 28, 28>::Constant(kUnwritten);
    int id = 9;
    depth_first_traversal_internal<PartialCrba::DftVisitor, M, 0>::run(model, part, id);
    EXPECT_EQ(part.cast<double>(), passes.partial_mass_matrix(9));
    PartialCrba::DftVisitor<M, 0>::discover(model, part, id);
    PartialCrba::DftVisitor<M, 2>::finish(model, part, 3);

    std::array<metapod::Spatial::TransformT<metapod::Spatial::RotationMatrix>, 23> transforms;
    transforms[0] = {metapod::Spatial::RotationMatrix::identity(), {}};
    metapod::Spatial::TransformT<metapod::Spatial::RotationMatrix>* iX1 = transforms.data();
    Eigen::Matrix<float, 6, Eigen::Dynamic> J =
        Eigen::Matrix<float, 6, Eigen::Dynamic>::Constant(6, 30, kUnwritten);
    Eigen::Vector3f mc_sum;
    metapod::fwd_kin_iX1<M>::run(model, iX1, J, mc_sum);
    EXPECT_EQ(J.leftCols(28).cast<double>(), passes.J);
    EXPECT_EQ(mc_sum.cast<double>(), passes.mc_sum);
    FwdKiniX1Visitor<M, 1>::discover(model, iX1, J, mc_sum);
    EXPECT_NE(mc_sum.cast<double>(), passes.mc_sum) << "a step adds";

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
