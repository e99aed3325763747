// A host, compiled as C++17 and, a second time, for a CPU with wide vectors, where Eigen would like
// wider alignment and another allocator. It passes matrices to and fro and checks a law that any
// error at the boundary breaks: every body is left out of one partial Jacobian and counted in the
// other 22, so these add up to 22 times the whole momentum.

#include <cstdio>
#include <host/loader.hpp>

namespace {

#if defined(__GNUC__)
[[gnu::noinline]]
#endif
int exchange(const char* plugin_path) {
  using Matrix3X = Eigen::Matrix<float, 3, Eigen::Dynamic>;
  const tavo::Plugin plugin(plugin_path);
  const tavo::Plugin::System robot = plugin.create();
  const Eigen::Matrix3f inertia = Eigen::Matrix3f::Identity() * 1e-3f;
  robot->setBodyInertia(7, 0.25f, {0.01f, 0, 0}, inertia);
  robot->setRootPose(KT::Math::transformFromPosition6D({1, 2, 3, 0.5f, -0.25f, 2}));
  robot->setJointAnglesPos(std::vector<float>(22, 0.375f));
  robot->computeFwdKinematics();
  robot->computeGeneralizedMass();

  const Eigen::MatrixXf H = robot->getGeneralizedMass();
  const Eigen::Matrix<float, 6, Eigen::Dynamic> J = robot->getJacobianInRoot();
  const KT::Math::Transform& root = robot->getRootPose();
  const Eigen::Matrix3f R =
      Eigen::Map<const Eigen::Matrix<float, 3, 4, Eigen::RowMajor>>(root.m).leftCols<3>();
  Matrix3X sum = Matrix3X::Zero(3, 28);
  for (unsigned long i = 0; i < 23; ++i) {
    Matrix3X partial;
    tavo::partialComJacobian(*robot, i, partial);
    sum += partial;
  }
  const float error = (sum - 22 * R * H.topRows<3>()).cwiseAbs().maxCoeff();
  const bool good = error <= 1e-4f && H.rows() == 28 && H(0, 0) == H(2, 2) &&
                    std::abs(H(0, 0) - robot->getMass()) < 1e-5f && J.cols() == 28 && J(3, 0) == 1;
  std::printf("largest deviation %g of entries up to %g: %s\n", static_cast<double>(error),
              static_cast<double>(sum.cwiseAbs().maxCoeff()), good ? "good" : "BAD");
  return good ? 0 : 1;
}

}  // namespace

int main(int, char** argv) {
#ifdef __AVX512F__
  if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512dq") ||
      !__builtin_cpu_supports("avx512vl") || !__builtin_cpu_supports("avx512bw")) {
    std::puts("skipped: this CPU has no AVX-512");
    return 77;  // for CTest
  }
#endif
  return exchange(argv[1]);
}
