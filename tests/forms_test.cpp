// The fast form owes the host what the plain one gives it: every output of every operation, bit for
// bit, on all trees, in any order of the operations, for any floats. The plain form is compared
// with the reference oracle in algorithms_test.cpp.

#include <array>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "host/lane_dynamics.hpp"
#include "host/plain_dynamics.hpp"
#include "lanes/inertia_table.hpp"
#include "lanes/passes.hpp"
#include "tests/trees.hpp"

namespace test {

#ifdef ORVEK23_HAS_AVX2_PATH
extern const std::array<instruction_sets::PassTable, metapod::trees::nb_models> avx2_passes;
#endif

}  // namespace test

namespace {

using metapod::Spatial::Force, metapod::Spatial::Inertia, metapod::Spatial::Vector3;
using metapod::trees::Models, metapod::trees::nb_models;

template <class Model>
struct Baseline {
  static constexpr instruction_sets::PassTable passes = metapod::lanes::pass_table<Model>();
};
#ifdef ORVEK23_HAS_AVX2_PATH
template <std::size_t index>
struct Avx2 {
  static constexpr const instruction_sets::PassTable& passes = test::avx2_passes[index];
};
#endif

/// Numbers of a robot in use, and now and then one that no robot in use has.
class Floats {
 public:
  explicit Floats(unsigned seed) : random_(seed) {}

  /// Below n.
  int index(int n) { return std::uniform_int_distribution<int>(0, n - 1)(random_); }
  float number(float limit) {
    using Limits = std::numeric_limits<float>;
    static constexpr std::array special{0.f,
                                        -0.f,
                                        Limits::denorm_min(),
                                        -1e-41f,
                                        1e5f,
                                        100001.f,
                                        -3.7e8f,
                                        1e30f,
                                        Limits::max(),
                                        -2.5e-20f,
                                        Limits::infinity(),
                                        -Limits::infinity(),
                                        Limits::quiet_NaN()};
    // The last three spread over all results: rarer, so that something is left to compare.
    const int k = index(200);
    if (k < 10 || (k < 13 && index(4) == 0)) return special[static_cast<std::size_t>(k)];
    return std::uniform_real_distribution<float>(-limit, limit)(random_);
  }
  Vector3 vector(float limit) { return {number(limit), number(limit), number(limit)}; }

 private:
  std::mt19937 random_;
};

/// What the host sees of a robot computed by Dynamics: arguments in, outputs kept.
template <class Model, class Dynamics>
struct Robot {
  using Types = tavo::DynamicsTypes<Model>;
  static constexpr int n = Model::nb_dofs, nb_bodies = Model::nb_bodies;

  typename Types::Coordinates torques = Types::Coordinates::Zero();
  typename Types::Matrix6X J = Types::Matrix6X::Constant(6, n, 7);
  typename Types::MatrixX H = Types::MatrixX::Constant(n, n, 7);
  typename Types::Matrix3X partial_J = Types::Matrix3X::Zero(3, n);
  std::array<KT::Math::Transform, nb_bodies> poses, poses_in_root;
  Vector3 mc_sum, partial_mc_sum;
  Dynamics dynamics;

  void run(int operation, int body, const typename Types::Coordinates& q,
           const typename Types::Coordinates& dq, const typename Types::Coordinates& ddq) {
    switch (operation) {
      case 0:
        return dynamics.root_kinematics(q, J, poses_in_root.data(), mc_sum);
      case 1:
        return dynamics.world_poses(q, poses.data());
      case 2:
        return dynamics.inverse_dynamics(q, dq, ddq, torques);
      case 3:
        return dynamics.mass_matrix(H);
      case 4:
        return dynamics.partial_jacobian(body, partial_J);
      default:
        return dynamics.partial_first_moment(body, partial_mc_sum);
    }
  }
  static constexpr int nb_operations = 6;

  std::vector<float> outputs() const {
    std::vector<float> all(torques.data() + 6, torques.data() + n);  // no root wrench
    const auto add = [&all](const float* x, Eigen::Index size) {
      all.insert(all.end(), x, x + size);
    };
    add(J.data(), J.size());
    add(H.data(), H.size());
    add(partial_J.data(), partial_J.size());
    for (std::size_t i = 0; i < nb_bodies; ++i) {
      add(poses[i].m, 12);
      add(poses_in_root[i].m, 12);
    }
    for (const Vector3& v : {mc_sum, partial_mc_sum}) {
      for (int k = 0; k < 3; ++k) all.push_back(v[k]);
    }
    return all;
  }
};

// A NaN is a NaN, whatever its bits.
bool same(float a, float b) {
  return std::memcmp(&a, &b, sizeof(a)) == 0 || (a != a && b != b);
}

template <class Model, class Passes>
void expect_the_plain_forms_bits() {
  using Plain = tavo::PlainDynamics<Model>;
  using Fast = tavo::LaneDynamics<Model, Passes>;
  using Coordinates = typename Robot<Model, Plain>::Types::Coordinates;
  const auto set_inertia = [](int i, const Inertia& inertia) {
    Model::inertias[static_cast<std::size_t>(i)] = inertia;
    Plain::set_inertia(static_cast<unsigned long>(i), inertia);
    Fast::set_inertia(static_cast<unsigned long>(i), inertia);
  };

  long finite = 0, all = 0;
  for (unsigned seed = 0; seed < 500 && !testing::Test::HasFailure(); ++seed) {
    Floats floats(seed);
    Robot<Model, Plain> plain;
    Robot<Model, Fast> fast;
    Coordinates q = Coordinates::Zero(), dq = q, ddq = q;
    std::string history = "robot " + std::string(Model::body_names[0]) + ", seed " +
                          std::to_string(seed) + ", operations";
    for (int step = 0; step < 12 && !testing::Test::HasFailure(); ++step) {
      // The first operations find everything as it is constructed.
      if (step >= static_cast<int>(seed % 4)) {
        for (float& x : q) x = floats.number(4);
        for (float& x : dq) x = floats.number(4);
        for (float& x : ddq) x = floats.number(20);
        const int i = floats.index(Model::nb_bodies);
        const Force force(floats.vector(5), floats.vector(5));
        plain.dynamics.set_fext(static_cast<unsigned long>(i), force);
        fast.dynamics.set_fext(static_cast<unsigned long>(i), force);
      }
      if (floats.index(4) == 0) {
        const Vector3 a = floats.vector(1), b = floats.vector(1);
        set_inertia(
            floats.index(Model::nb_bodies),
            {floats.number(2), floats.vector(1), {a.x(), a.y(), a.z(), b.x(), b.y(), b.z()}});
      }
      const int operation = floats.index(Robot<Model, Plain>::nb_operations);
      const int body = floats.index(Model::nb_bodies + 2) - 1;
      history += " " + std::to_string(operation) + "(" + std::to_string(body) + ")";
      plain.run(operation, body, q, dq, ddq);
      fast.run(operation, body, q, dq, ddq);
      const std::vector<float> want = plain.outputs(), got = fast.outputs();
      for (std::size_t k = 0; k < want.size(); ++k) {
        EXPECT_TRUE(same(got[k], want[k]))
            << history << ": output " << k << " is " << got[k] << ", not " << want[k];
        finite += std::isfinite(want[k]);
      }
      all += static_cast<long>(want.size());
    }
    for (int i = 0; i < Model::nb_bodies; ++i) {
      set_inertia(i, Model::built_in_inertias()[static_cast<std::size_t>(i)]);
    }
  }
  EXPECT_GT(finite, all / 2) << "non-finite numbers everywhere: nothing was compared";
}

// The language has no division by zero in constants: what stands for it gives what it gives.
TEST(FastForm, DividesInConstantsAsAtRunTime) {
  using Table = metapod::lanes::InertiaTable<std::tuple_element_t<0, Models>>;
  static constexpr auto massless = [] {
    std::array<Inertia, Table::nb_bodies> all;
    for (std::size_t i = 0; i < all.size(); ++i) {
      const Vector3 h = i & 2 ? Vector3(-0.5f, 3, -3) : Vector3(0, -0.f, 0.5f);
      all[i] = Inertia(i & 1 ? -0.f : 0.f, h, {});
    }
    return all;
  }();
  static constexpr Table in_constants(massless);
  Table at_run_time(massless);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    for (std::size_t i = 0; i < Table::nb_bodies; ++i) {
      EXPECT_TRUE(same(in_constants.com(axis)[i], at_run_time.com(axis)[i])) << i << " " << axis;
    }
  }
}

TEST(FastForm, HasThePlainFormsBitsInTheBaseline) {
  [&]<std::size_t... k>(std::index_sequence<k...>) {
    (expect_the_plain_forms_bits<std::tuple_element_t<k, Models>,
                                 Baseline<std::tuple_element_t<k, Models>>>(),
     ...);
  }
  (std::make_index_sequence<nb_models>{});
}

#ifdef ORVEK23_HAS_AVX2_PATH
TEST(FastForm, HasThePlainFormsBitsInAvx2) {
  if (!__builtin_cpu_supports("avx2")) GTEST_SKIP() << "this processor has no AVX2";
  [&]<std::size_t... k>(std::index_sequence<k...>) {
    (expect_the_plain_forms_bits<std::tuple_element_t<k, Models>, Avx2<k>>(), ...);
  }
  (std::make_index_sequence<nb_models>{});
}
#endif

}  // namespace
