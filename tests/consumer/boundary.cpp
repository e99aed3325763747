// A host, compiled as C++17 and, a second time, for a CPU with wide vectors, where Eigen would like
// wider alignment and another allocator. It passes matrices to and fro and checks a law that any
// error at the boundary breaks: every body is left out of one partial Jacobian and counted in the
// other 22, so these add up to 22 times the whole momentum.
//
//   boundary PLUGIN KTMATH [CHECKED]   with the libktmath.so that must be the only one in the
//   process,
//                                      and the checked twin, whose exceptions must arrive, too

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <host/loader.hpp>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// What the plug-in takes for granted, whatever the flags; without AVX-512 this is all that a build
// with its flags can show.
static_assert(EIGEN_MAX_ALIGN_BYTES == 16);
static_assert(alignof(Eigen::Vector4f) == 16 && alignof(Eigen::Matrix<float, 16, 1>) == 16);
static_assert(sizeof(Eigen::Matrix3f) == 9 * sizeof(float) && alignof(Eigen::Matrix3f) == 4);
static_assert(sizeof(Eigen::MatrixXf) == sizeof(float*) + 2 * sizeof(Eigen::Index));
static_assert(sizeof(Eigen::Matrix<float, 3, Eigen::Dynamic>) ==
              sizeof(float*) + sizeof(Eigen::Index));

/// Exceptions of every kind cross the boundary, whichever compilers made its sides.
template <class Exception, class Call>
bool throws(const char* message, const Call& call) {
  try {
    call();
    std::printf("no exception: %s\n", message);
  } catch (const Exception& error) {
    if (error.what() == std::string(message)) return true;
    std::printf("%s\ninstead of: %s\n", error.what(), message);
  }
  return false;
}

bool errors_arrive(const tavo::Plugin& plugin, const char* checked_path) {
  const tavo::Plugin::System robot = plugin.create();
  const std::vector<float> three(3);
  return throws<std::out_of_range>("no body named \"?\"", [&] { robot->getBodyId("?"); }) &&
         throws<std::invalid_argument>("joint vector has 3 entries, 22 needed",
                                       [&] { robot->setJointAnglesPos(three); }) &&
         (checked_path == nullptr ||
          throws<std::out_of_range>("getMass: body index 23 is not in 0 to 22",
                                    [&] { tavo::Plugin(checked_path).create()->getMass(23); }));
}

int exchange(const tavo::Plugin& plugin) {
  using Matrix3X = Eigen::Matrix<float, 3, Eigen::Dynamic>;
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

std::set<std::string> loaded_ktmaths() {
  std::set<std::string> paths;
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    if (line.find("/libktmath.so") != std::string::npos) paths.insert(line.substr(line.find('/')));
  }
  return paths;
}

// Not inlined: main must reach its question about the CPU.
[[gnu::noinline]] int check(const char* plugin_path, const char* ktmath_path,
                            const char* checked_path) {
  const tavo::Plugin plugin(plugin_path);
  for (const std::string& path : loaded_ktmaths()) std::printf("loaded: %s\n", path.c_str());
  if (loaded_ktmaths() != std::set<std::string>{std::filesystem::canonical(ktmath_path)}) {
    std::printf("expected: %s alone\n", ktmath_path);
    return 1;
  }
  if (!errors_arrive(plugin, checked_path)) return 1;
  return exchange(plugin);
}

}  // namespace

int main(int argc, char** argv) {
#ifdef __AVX512F__
  if (!__builtin_cpu_supports("avx512f") || !__builtin_cpu_supports("avx512dq") ||
      !__builtin_cpu_supports("avx512vl") || !__builtin_cpu_supports("avx512bw")) {
    std::puts("skipped: this CPU has no AVX-512");
    return 77;  // for CTest
  }
#endif
  return check(argv[1], argv[2], argc > 3 ? argv[3] : nullptr);
}
