// The binary contract with the host: virtual table, symbols, loading.

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/plugin_fixture.hpp"

namespace {

using KT::Math::Position3D;
using KT::Math::Transform;
using KT::Math::Velocity6D;
using tavo::RigidBodySystem;

// Operations of one signature in consecutive slots. A pointer to a virtual member function holds
// its byte offset in the table, and on most machines 1 in the lowest bit (Itanium C++ ABI,
// section 2.3).
template <class Signature, class... Operations>
void pin(long first, Signature RigidBodySystem::*operation, Operations... next) {
  long bits = 0;
  std::memcpy(&bits, &operation, sizeof bits);
  EXPECT_EQ(bits / static_cast<long>(sizeof(void*)), first);
  if constexpr (sizeof...(next) > 0) pin<Signature>(first + 1, next...);
}

// A host compiled earlier calls by slot: an operation moved, added in between or given another type
// would send its calls astray. The destructor takes slots 0 and 1.
TEST(VirtualTable, KeepsEveryOperationInItsSlot) {
  using R = RigidBodySystem;
  using Index = unsigned long;
  using Name = const std::string&;
  using Floats = const std::vector<float>&;
  using Table = std::vector<std::int64_t>;
  using Range = std::pair<const float*, const float*>;
  using Matrix3X = Eigen::Matrix<float, 3, Eigen::Dynamic>;
  using Matrix6X = Eigen::Matrix<float, 6, Eigen::Dynamic>;
  pin<std::string() const>(2, &R::getName);
  pin<Index() const>(3, &R::getNbDofs, &R::getNbBodies, &R::getNbVolatileFrames);
  pin<Name() const>(6, &R::getRootName);
  pin<Name(Index) const>(7, &R::getJointAngleName);
  pin<Index(Name) const>(8, &R::getJointAngleId);
  pin<Name(Index) const>(9, &R::getBodyName);
  pin<Index(Name) const>(10, &R::getBodyId);
  pin<void(Index, float, const Position3D&, const Eigen::Matrix3f&)>(11, &R::setBodyInertia);
  pin<float() const>(12, &R::getMass);
  pin<float(Index) const>(13, &R::getPartialMass);
  pin<float(Index) const>(14, &R::getMass);
  pin<void(const Transform&)>(15, &R::setRootPose);
  pin<const Transform&() const>(16, &R::getRootPose);
  pin<void(const Velocity6D&)>(17, &R::setRootVelocity, &R::setRootAcceleration);
  pin<Velocity6D() const>(19, &R::getRootVelocity, &R::getRootAcceleration);
  pin<void(Floats)>(21, &R::setJointAnglesPos, &R::setJointAnglesVel, &R::setJointAnglesAcc);
  pin<void(Index, float)>(24, &R::setJointAnglePos, &R::setJointAngleVel, &R::setJointAngleAcc);
  pin<float(Index) const>(27, &R::getJointAnglePos, &R::getJointAngleVel, &R::getJointAngleAcc);
  pin<Range() const>(30, &R::getJointAnglesPos, &R::getJointAnglesVel, &R::getJointAnglesAcc);
  pin<void(Index, Floats)>(33, &R::setExternalWrench);
  pin<void(Index, Floats, Transform)>(34, &R::setExternalWrench);
  pin<void()>(35, &R::computeFwdKinematicsExceptRoot, &R::computeFwdKinematicsOnlyRoot,
              &R::computeFwdKinematics, &R::computeGeneralizedMass);
  pin<void(Index, Matrix3X&)>(39, &R::computePartialComJacobian);
  pin<Position3D(Index)>(40, &R::computePartialComPositionInRoot);
  pin<const Transform&(Index) const>(41, &R::getPoseInRoot, &R::getPose);
  pin<void(Index, const Transform&)>(43, &R::setPose);
  pin<const Transform&(Index) const>(44, &R::getVolatilePose);
  pin<void(Index, const Transform&)>(45, &R::setVolatilePose);
  pin<Position3D(Index) const>(46, &R::getComPosition);
  pin<const Position3D&() const>(47, &R::getComPositionInRoot);
  pin<const Position3D&() const>(48, &R::getComPosition);
  pin<const Eigen::MatrixXf&() const>(49, &R::getGeneralizedMass);
  pin<const Matrix6X&() const>(50, &R::getJacobianInRoot);
  pin<Table() const>(51, &R::getParentsVector, &R::getDofNumbersVector, &R::getDofIndexesVector);
  pin<void()>(54, &R::computeInverseDynamics);
  pin<float(Index) const>(55, &R::getJointAngleTorque);
  pin<Range() const>(56, &R::getJointAnglesTorque);
}

std::set<std::string> symbols(const std::string& nm_option) {
  const std::string command = "nm -D --without-symbol-versions " + nm_option + " " PLUGIN_PATH;
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
  std::set<std::string> names;
  for (char line[512]; std::fgets(line, sizeof line, pipe.get()) != nullptr;) {
    const std::string text(line, std::strcspn(line, "\n"));
    names.insert(text.substr(text.rfind(' ') + 1));
  }
  return names;
}

// An inner symbol let out could bind to another library's; one of the platform's functions compiled
// in would not follow the platform's own library.
TEST(Symbols, ExportTheTwoEntryPointsAndImportThePlatform) {
  EXPECT_EQ(symbols("--defined-only"), (std::set<std::string>{"create", "destroy"}));
  const std::set<std::string> imported = symbols("--undefined-only");
  for (const char* name : {"_ZN2KT4Math23position6DFromTransformERKNS0_9TransformE",
                           "_ZN2KT4Math23transformFromPosition6DERKNS0_10Position6DE",
                           "_ZN2KT4MathmlERKNS0_9TransformERKNS0_10Position3DE",
                           "_ZN2KT4Math9TransformC1Ev", "_ZN2KT4Math10Velocity6DC1Effffff"}) {
    EXPECT_TRUE(imported.count(name)) << name;
  }
}

// A static inside a function, a library's too, would make one thread of a control loop wait for
// another's first call.
TEST(Symbols, TakeNoGuard) {
#if !defined(__OPTIMIZE__) || defined(ORVEK23_SANITIZED)
  GTEST_SKIP() << "unused parts of Eigen are compiled in";
#endif
  EXPECT_EQ(symbols("--undefined-only").count("__cxa_guard_acquire"), 0u);
}

/// The whole program's memory, pages.
long pages() {
  long size = 0;
  std::ifstream("/proc/self/statm") >> size;
  return size;
}

bool plugin_is_mapped() {
  std::ifstream maps("/proc/self/maps");
  const std::string text{std::istreambuf_iterator<char>(maps), {}};
  return text.find("liborvek23.so") != std::string::npos;
}

// A unique symbol or a registered destructor could pin the library: a host that replaces its
// plug-in would go on running the old one.
TEST(Loading, LeavesNothingBehindTenThousandTimes) {
#if defined(ORVEK23_SANITIZED) || defined(ORVEK23_EMULATED)
  constexpr int rounds = 50;
#else
  constexpr int rounds = 10'000;
#endif
  [[maybe_unused]] long pages_before = 0;
  for (int k = 0; k < rounds; ++k) {
    {
      const tavo::Plugin::System robot = tavo::Plugin(PLUGIN_PATH).create();
      robot->computeFwdKinematics();
      ASSERT_EQ(robot->getBodyName(22), "RElbowRoll");
      if (k % 100 == 0) {
        ASSERT_TRUE(plugin_is_mapped()) << "a system keeps its library loaded";
      }
    }
    if (k % 100 == 0) {
      ASSERT_FALSE(plugin_is_mapped()) << "round " << k;
    }
    ASSERT_EQ(dlopen(PLUGIN_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr);
    if (k == 10) pages_before = pages();  // the allocator has its arenas by then
  }
#if !defined(ORVEK23_SANITIZED) && !defined(ORVEK23_EMULATED)  // those have pages of their own
  EXPECT_EQ(pages(), pages_before);
#endif
}

// Two copies have nothing in common, or a host could not try a new version beside the old: what the
// process shares, it shares by library.
TEST(Loading, KeepsTwoCopiesApart) {
  const std::string other_path = testing::TempDir() + "liborvek23-copy.so";
  std::filesystem::copy_file(PLUGIN_PATH, other_path,
                             std::filesystem::copy_options::overwrite_existing);
  const tavo::Plugin first(PLUGIN_PATH), second(other_path);
  std::filesystem::remove(other_path);
  const tavo::Plugin::System a = first.create(), b = second.create();
  const float mass = b->getMass();
  a->setBodyInertia(3, 7, {}, Eigen::Matrix3f::Identity());
  EXPECT_GT(a->getMass(), mass + 6);
  EXPECT_EQ(b->getMass(), mass);
  EXPECT_EQ(second.create()->getMass(), mass);
  a->setJointAnglesPos(std::vector<float>(22, 0.5f));
  for (tavo::RigidBodySystem* robot : {a.get(), b.get()}) {
    robot->computeFwdKinematics();
    robot->computeGeneralizedMass();
  }
  EXPECT_NE(a->getPose(6).m[3], b->getPose(6).m[3]);
  EXPECT_NE(a->getGeneralizedMass()(0, 0), b->getGeneralizedMass()(0, 0));
  EXPECT_THROW(b->getBodyId("?"), std::out_of_range);  // their exceptions are of one type
  EXPECT_THROW(a->getBodyId("?"), std::out_of_range);
}

TEST(Loading, SaysWhatIsWrongWithAFile) {
  const auto message = [](const std::string& path) {
    return message_of<std::runtime_error>([&] { tavo::Plugin{path}; });
  };
  const std::string missing = message("/nowhere/liborvek23.so");
  EXPECT_NE(missing.find("/nowhere/liborvek23.so"), std::string::npos) << missing;
  EXPECT_NE(missing.find("No such file"), std::string::npos) << missing;
  const std::string no_plugin = message(KTMATH_PATH);
  EXPECT_NE(no_plugin.find(KTMATH_PATH), std::string::npos) << no_plugin;
  EXPECT_NE(no_plugin.find("create"), std::string::npos) << no_plugin;
}

TEST_F(PluginTest, DestroyAcceptsNull) {
  void* library = dlopen(PLUGIN_PATH, RTLD_NOW);
  reinterpret_cast<void (*)(RigidBodySystem*)>(dlsym(library, "destroy"))(nullptr);
  EXPECT_EQ(dlclose(library), 0);
}

}  // namespace
