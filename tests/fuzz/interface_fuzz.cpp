// All 55 operations in any order, on three plug-ins: the shipped one, the plain form and the
// checked twin. After every operation all three must have given the same, and what a model of their
// state, as simple as can be, says. A second system of the shipped plug-in is set from that model
// whenever something was computed, and must compute the same: no result may depend on the calls
// before it. Any operation may find the heap exhausted: then it does what it always does or throws
// std::bad_alloc, changes nothing, and loses no memory.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <host/loader.hpp>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "model/orvek23_data.hpp"
#include "tests/fuzz/input.hpp"
#include "tests/heap_watch.hpp"

namespace {

using fuzz::Input;
using KT::Math::Position3D, KT::Math::Transform, KT::Math::Velocity6D;
using Matrix3X = Eigen::Matrix<float, 3, Eigen::Dynamic>;
using Robot = tavo::RigidBodySystem;
constexpr unsigned long nb_bodies = 23, nb_joints = 22;
constexpr std::size_t nb_plugins = 3, checked = 2;  // shipped, plain, checked

/// What a call gave, without using the heap: bits of numbers (any NaN is one), or an exception.
class Outcome {
 public:
  enum Error : unsigned char { none, no_memory, out_of_range, invalid_argument };

  void add(const float* values, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k) {
      std::uint32_t bits = 0x7fc00000;
      if (!std::isnan(values[k])) std::memcpy(&bits, values + k, sizeof bits);
      add(std::uint64_t{bits});
    }
  }
  void add(float value) { add(&value, 1); }
  void add(const Transform& t) { add(t.m, 12); }
  void add(const Position3D& p) { add(&p.x, 3); }
  void add(const Velocity6D& v) { add(&v.vx, 6); }
  void add(const tavo::JointRange& range) { add(range.first, nb_joints); }
  void add(const std::string& text) {
    for (const char c : text) add(static_cast<std::uint64_t>(c));
  }
  void add(const std::vector<std::int64_t>& table) {
    for (const std::int64_t entry : table) add(static_cast<std::uint64_t>(entry));
  }
  void add(std::uint64_t value) { hash_ = (hash_ ^ value) * 1099511628211u; }
  void fail(Error error, const char* message) {
    error_ = error;
    add(static_cast<std::uint64_t>(error));
    for (; error != no_memory && *message != '\0'; ++message)
      add(static_cast<std::uint64_t>(*message));
  }

  Error error() const { return error_; }
  bool operator==(const Outcome& other) const = default;

 private:
  std::uint64_t hash_ = 14695981039346656037u;
  Error error_ = none;
};

/// The outcome of call(robot, outcome), with allocation `failing` and those after it refused.
template <class Call>
Outcome outcome_of(Robot& robot, const Call& call, long failing = -1) {
  Outcome outcome;
  const auto guarded = [&] {
    try {
      call(robot, outcome);
    } catch (const std::bad_alloc& e) {
      outcome.fail(Outcome::no_memory, "");
    } catch (const std::out_of_range& e) {
      outcome.fail(Outcome::out_of_range, e.what());
    } catch (const std::invalid_argument& e) {
      outcome.fail(Outcome::invalid_argument, e.what());
    }
  };
  const test::Heap seen = test::watch_heap(guarded, failing, failing < 0 ? -1 : 1000);
  FUZZ_REQUIRE(seen.live == 0);
  return outcome;
}

struct Wrench {
  std::vector<float> f = std::vector<float>(6);
  std::optional<Transform> frame;
};

/// What a host has set: all that a result may depend on.
struct State {
  Transform root_pose;
  std::vector<float> q = std::vector<float>(nb_joints), dq = q, ddq = q;
  Velocity6D velocity{0, 0, 0, 0, 0, 0}, acceleration{0, 0, 0, 0, 0, 0};
  std::array<Wrench, nb_bodies> wrenches;

  void apply_to(Robot& robot) const {
    robot.setRootPose(root_pose);
    robot.setRootVelocity(velocity);
    robot.setRootAcceleration(acceleration);
    robot.setJointAnglesPos(q);
    robot.setJointAnglesVel(dq);
    robot.setJointAnglesAcc(ddq);
    for (unsigned long i = 0; i < nb_bodies; ++i) {
      const auto& [f, frame] = wrenches[i];
      frame ? robot.setExternalWrench(i, f, *frame) : robot.setExternalWrench(i, f);
    }
  }
};

class Run {
 public:
  explicit Run(Input input_bytes) : in(input_bytes) {
    for (std::size_t k = 0; k < nb_plugins; ++k) {
      restore_inertias(*plugins()[k].create());  // they outlive a run
      systems[k] = plugins()[k].create();
      now.apply_to(*systems[k]);  // the identity's six coordinates are zeros of either sign
    }
    twin = plugins()[0].create();
  }

  void all() {
    while (!in.empty()) one();
  }

 private:
  static const std::array<tavo::Plugin, nb_plugins>& plugins() {
    static const std::array<tavo::Plugin, nb_plugins> opened{tavo::Plugin(PLUGIN_PATH),
                                                             tavo::Plugin(PLAIN_PLUGIN_PATH),
                                                             tavo::Plugin(CHECKED_PLUGIN_PATH)};
    return opened;
  }

  static void restore_inertias(Robot& robot) {
    unsigned long i = 0;
    for (const metapod::BodyRow& row : metapod::orvek23_bodies) {
      const auto& h = row.first_moment;
      robot.setBodyInertia(i++, row.mass, {h[0] / row.mass, h[1] / row.mass, h[2] / row.mass},
                           Eigen::Matrix3f::Identity() * 1e-4f);
    }
  }

  /// Calls it on all three; what they gave, if they did. With an index that only the checked twin
  /// may see (valid is false), on that one alone, which must refuse it.
  template <class Call>
  std::optional<Outcome> on_all(const Call& call, bool valid = true) {
    const long failing = in.byte() < 16 ? in.up_to(3) : -1;
    if (!valid) {
      const Outcome refused = outcome_of(*systems[checked], call, failing);
      FUZZ_REQUIRE(refused.error() == Outcome::out_of_range ||
                   (failing >= 0 && refused.error() == Outcome::no_memory));
      return std::nullopt;
    }
    std::array<Outcome, nb_plugins> got;
    for (std::size_t k = 0; k < nb_plugins; ++k) {
      got[k] = outcome_of(*systems[k], call, failing);
      // Whoever found no memory must be able to do it now, as if nothing had been.
      if (got[k].error() == Outcome::no_memory) {
        FUZZ_REQUIRE(failing >= 0);
        got[k] = outcome_of(*systems[k], call);
      }
    }
    FUZZ_REQUIRE(got[1] == got[0]);
    FUZZ_REQUIRE(got[2] == got[0]);
    return got[0];
  }

  /// A getter, and what the model says of it.
  template <class Call, class... Values>
  void expect(const Call& call, const Values&... values) {
    Outcome wanted;
    (wanted.add(values), ...);
    FUZZ_REQUIRE(on_all(call) == wanted);
  }

  /// A getter of body or joint i, of n; `wanted` is asked only for a good index.
  template <class Call>
  void read(unsigned long n, const Call& call) {
    const unsigned long i = in.index(n);
    on_all([&](Robot& r, Outcome& o) { o.add(call(r, i)); }, i < n);
  }

  Transform transform() {
    Transform t;
    if (in.byte() < 200) {
      t = KT::Math::transformFromPosition6D(
          {in.number(), in.number(), in.number(), in.number(), in.number(), in.number()});
    } else {
      for (float& x : t.m) x = in.number();
    }
    return t;
  }
  Velocity6D six() {
    return {in.number(), in.number(), in.number(), in.number(), in.number(), in.number()};
  }
  /// Of about n entries: too few now and then.
  std::vector<float> vector(std::size_t n) {
    const unsigned kind = in.byte();
    std::vector<float> v(kind < 220 ? n : kind < 240 ? n + kind % 4 : kind % n);
    const bool each = in.byte() < 64;
    const float value = in.number();
    for (float& x : v) x = each ? in.number() : value;
    return v;
  }

  void set_joints(std::vector<float>& mine, void (Robot::*set)(const std::vector<float>&)) {
    const std::vector<float> v = vector(nb_joints);
    const auto outcome = on_all([&](Robot& r, Outcome&) { (r.*set)(v); });
    FUZZ_REQUIRE((outcome->error() == Outcome::invalid_argument) == (v.size() < nb_joints));
    if (v.size() >= nb_joints) std::copy_n(v.begin(), nb_joints, mine.begin());
  }
  void set_joint(std::vector<float>& mine, void (Robot::*set)(unsigned long, float)) {
    const unsigned long i = in.index(nb_joints);
    const float x = in.number();
    on_all([&](Robot& r, Outcome&) { (r.*set)(i, x); }, i < nb_joints);
    if (i < nb_joints) mine[i] = x;
  }
  void get_joints(const std::vector<float>& mine, tavo::JointRange (Robot::*all)() const,
                  float (Robot::*one)(unsigned long) const) {
    const unsigned long i = in.index(nb_joints);
    on_all([&](Robot& r, Outcome& o) { o.add((r.*one)(i)); }, i < nb_joints);
    expect([&](Robot& r, Outcome& o) { o.add((r.*all)()); },
           tavo::JointRange(mine.data(), mine.data() + nb_joints));
  }
  void look_up(unsigned long (Robot::*id)(const std::string&) const) {
    const auto& row = metapod::orvek23_bodies[in.up_to(22)];
    std::string name(row.name);
    if (in.byte() < 64) name += static_cast<char>(in.byte());
    if (in.byte() < 32) name.resize(in.byte());
    on_all([&](Robot& r, Outcome& o) { o.add((r.*id)(name)); });
  }

  void set_wrench() {
    const unsigned long i = in.index(nb_bodies);
    Wrench w{vector(6), std::nullopt};
    if (in.byte() < 128) w.frame = transform();
    const auto outcome = on_all(
        [&](Robot& r, Outcome&) {
          w.frame ? r.setExternalWrench(i, w.f, *w.frame) : r.setExternalWrench(i, w.f);
        },
        i < nb_bodies);
    if (i >= nb_bodies) return;
    FUZZ_REQUIRE((outcome->error() == Outcome::invalid_argument) == (w.f.size() < 6));
    if (w.f.size() >= 6) now.wrenches[i] = std::move(w);
  }

  void set_inertia() {
    const unsigned long i = in.index(nb_bodies);
    const float mass = in.number();
    const Position3D com(in.number(), in.number(), in.number());
    Eigen::Matrix3f inertia;
    for (float& x : inertia.reshaped()) x = in.number();
    on_all([&](Robot& r, Outcome&) { r.setBodyInertia(i, mass, com, inertia); }, i < nb_bodies);
    if (i >= nb_bodies) return;
    kinematics_inertias = false;
    expect([&](Robot& r, Outcome& o) { o.add(r.getMass(i)); }, mass);
  }

  static void add_root_kinematics(Robot& r, Outcome& o) {
    for (unsigned long i = 0; i < nb_bodies; ++i) o.add(r.getPoseInRoot(i));
    o.add(r.getJacobianInRoot().data(), 6 * 28);
    o.add(r.getComPositionInRoot());
  }
  static void add_world_kinematics(Robot& r, Outcome& o) {
    for (unsigned long i = 0; i < nb_bodies; ++i) o.add(r.getPose(i));
    o.add(r.getComPosition());
  }

  /// A computation on all; the twin does the same from `state`, after what `before` says.
  template <class Compute, class Add>
  void compute(
      const Compute& operation, const Add& add, const State& state, bool comparable,
      void (*before)(Robot&) = [](Robot&) {}) {
    const auto outcome = on_all([&](Robot& r, Outcome& o) {
      operation(r);
      add(r, o);
    });
    if (!comparable) return;
    state.apply_to(*twin);
    before(*twin);
    operation(*twin);
    Outcome wanted;
    add(*twin, wanted);
    FUZZ_REQUIRE(outcome == wanted);
  }
  void kinematics(bool root_too) {
    at_kinematics = at_joints = now;
    kinematics_inertias = true;
    if (root_too) given_poses.fill(std::nullopt);
    compute(
        [=](Robot& r) { root_too ? r.computeFwdKinematics() : r.computeFwdKinematicsExceptRoot(); },
        [=](Robot& r, Outcome& o) {
          add_root_kinematics(r, o);
          if (root_too) add_world_kinematics(r, o);
        },
        now, true);
    computed = true;
  }

  void partial_jacobian() {
    const unsigned long i = in.index(nb_bodies);
    const bool resize = in.byte() < 64, by_loader = in.byte() < 128;
    const Eigen::Index columns = resize ? 1 + in.up_to(40) : 28;
    // The plain form goes through Eigen's general product, whose order of sums is Eigen's own.
    Outcome got[2];
    const long failing = in.byte() < 32 ? in.up_to(2) : -1;
    for (const std::size_t k : {std::size_t{0}, checked}) {
      Matrix3X J = Matrix3X::Constant(3, columns, 7);
      const auto call = [&](Robot& r, Outcome& o) {
        by_loader ? tavo::partialComJacobian(r, i, J) : r.computePartialComJacobian(i, J);
        o.add(J.data(), static_cast<std::size_t>(J.size()));
      };
      Outcome outcome = outcome_of(*systems[k], call, failing);
      if (outcome.error() == Outcome::no_memory) {
        FUZZ_REQUIRE(failing >= 0 && J.cols() == columns && (J.array() == 7).all());
        outcome = outcome_of(*systems[k], call);
      }
      FUZZ_REQUIRE(J.cols() == (i < nb_bodies ? 28 : columns));
      got[k == checked] = outcome;
    }
    FUZZ_REQUIRE(got[0] == got[1]);
  }

  /// `create` with an allocation refused, then the twin anew on every plug-in: sums the masses.
  void create() {
    const long failing = in.up_to(9);
    for (std::size_t k = 0; k < nb_plugins; ++k) {
      tavo::Plugin::System made;
      const auto call = [&](Robot&, Outcome&) { made = plugins()[k].create(), made.reset(); };
      const Outcome outcome = outcome_of(*systems[k], call, failing);
      FUZZ_REQUIRE(outcome.error() == Outcome::none || outcome.error() == Outcome::no_memory);
      plugins()[k].create();
    }
    kinematics_inertias = false;
  }

  void one() {
    using R = Robot;
    switch (in.up_to(44)) {
      case 0:
        return expect([](R& r, Outcome& o) { o.add(r.getName()); }, std::string());
      case 1:
        return expect(
            [](R& r, Outcome& o) {
              o.add(r.getNbDofs()), o.add(r.getNbBodies()), o.add(r.getNbVolatileFrames());
            },
            nb_joints, nb_bodies, 1ul);
      case 2:
        return expect([](R& r, Outcome& o) { o.add(r.getRootName()); }, std::string("Torso"));
      case 3:
        return read(nb_joints, [](R& r, unsigned long i) { return r.getJointAngleName(i); });
      case 4:
        return read(nb_bodies, [](R& r, unsigned long i) { return r.getBodyName(i); });
      case 5:
        return look_up(&R::getJointAngleId);
      case 6:
        return look_up(&R::getBodyId);
      case 7:
        return set_inertia();
      case 8:
        return void(on_all([](R& r, Outcome& o) { o.add(r.getMass()); }));
      case 9: {
        const unsigned long i = in.index(nb_bodies);
        return void(on_all([&](R& r, Outcome& o) { o.add(r.getPartialMass(i)); }));
      }
      case 10:
        return read(nb_bodies, [](R& r, unsigned long i) { return r.getMass(i); });
      case 11:
      case 12: {
        now.root_pose = transform();
        const auto p = KT::Math::position6DFromTransform(now.root_pose);
        given_poses[0] = KT::Math::transformFromPosition6D(p);
        on_all([&](R& r, Outcome&) { r.setRootPose(now.root_pose); });
        return expect([](R& r, Outcome& o) { o.add(r.getRootPose()); }, *given_poses[0]);
      }
      case 13:
        return void(on_all([](R& r, Outcome& o) { o.add(r.getRootPose()); }));
      case 14:
        now.velocity = six();
        return void(on_all([&](R& r, Outcome&) { r.setRootVelocity(now.velocity); }));
      case 15:
        now.acceleration = six();
        return void(on_all([&](R& r, Outcome&) { r.setRootAcceleration(now.acceleration); }));
      case 16:
        return expect(
            [](R& r, Outcome& o) { o.add(r.getRootVelocity()), o.add(r.getRootAcceleration()); },
            now.velocity, now.acceleration);
      case 17:
        return set_joints(now.q, &R::setJointAnglesPos);
      case 18:
        return set_joints(now.dq, &R::setJointAnglesVel);
      case 19:
        return set_joints(now.ddq, &R::setJointAnglesAcc);
      case 20:
        return set_joint(now.q, &R::setJointAnglePos);
      case 21:
        return set_joint(now.dq, &R::setJointAngleVel);
      case 22:
        return set_joint(now.ddq, &R::setJointAngleAcc);
      case 23:
        return get_joints(now.q, &R::getJointAnglesPos, &R::getJointAnglePos);
      case 24:
        return get_joints(now.dq, &R::getJointAnglesVel, &R::getJointAngleVel);
      case 25:
        return get_joints(now.ddq, &R::getJointAnglesAcc, &R::getJointAngleAcc);
      case 26:
      case 27:
        return set_wrench();
      case 28:
        return kinematics(false);
      case 29: {
        given_poses.fill(std::nullopt);
        State state = now;
        state.q = at_kinematics.q;  // of the last ...ExceptRoot
        at_joints.root_pose = now.root_pose;
        return compute([](R& r) { r.computeFwdKinematicsOnlyRoot(); }, add_world_kinematics, state,
                       computed && kinematics_inertias,
                       [](R& r) { r.computeFwdKinematicsExceptRoot(); });
      }
      case 30:
        return kinematics(true);
      case 31:
        return compute([](R& r) { r.computeGeneralizedMass(); },
                       [](R& r, Outcome& o) { o.add(r.getGeneralizedMass().data(), 28 * 28); },
                       at_joints, transforms, [](R& r) { r.computeFwdKinematics(); });
      case 32:
        return partial_jacobian();
      case 33: {
        const unsigned long i = in.index(nb_bodies);
        return void(on_all([&](R& r, Outcome& o) { o.add(r.computePartialComPositionInRoot(i)); }));
      }
      case 34:
        return read(nb_bodies, [](R& r, unsigned long i) { return r.getPoseInRoot(i); });
      case 35: {
        const unsigned long i = in.index(nb_bodies + 1);
        const auto call = [&](R& r, Outcome& o) { o.add(r.getPose(i)); };
        if (i == -1ul) return expect(call, Transform());
        if (i <= nb_bodies && given_poses[i]) return expect(call, *given_poses[i]);
        return void(on_all(call, i <= nb_bodies));
      }
      case 36: {
        const unsigned long i = in.index(nb_bodies + 1);
        const Transform t = transform();
        on_all([&](R& r, Outcome&) { r.setPose(i, t); }, i <= nb_bodies);
        if (i < nb_bodies) given_poses[i] = t;
        if (i == nb_bodies) volatile_pose = t;
        return;
      }
      case 37: {
        const unsigned long i = in.index(1);
        const Transform t = transform();
        on_all([&](R& r, Outcome&) { r.setVolatilePose(i, t); }, i == 0);
        if (i == 0) volatile_pose = t;
        return;
      }
      case 38:
        read(1, [](R& r, unsigned long i) { return r.getVolatilePose(i); });
        return expect([](R& r, Outcome& o) { o.add(r.getVolatilePose(0)), o.add(r.getPose(23)); },
                      volatile_pose, volatile_pose);
      case 39:
        return read(nb_bodies, [](R& r, unsigned long i) { return r.getComPosition(i); });
      case 40:
        return void(on_all([](R& r, Outcome& o) { add_root_kinematics(r, o); }));
      case 41:
        return void(on_all([](R& r, Outcome& o) { add_world_kinematics(r, o); }));
      case 42:
        return void(on_all([](R& r, Outcome& o) {
          o.add(r.getParentsVector());
          o.add(r.getDofNumbersVector());
          o.add(r.getDofIndexesVector());
        }));
      case 43: {
        at_joints = now;
        transforms = true;
        compute([](R& r) { r.computeInverseDynamics(); },
                [](R& r, Outcome& o) { o.add(r.getJointAnglesTorque()); }, now, true);
        return read(nb_joints, [](R& r, unsigned long i) { return r.getJointAngleTorque(i); });
      }
      default:
        return create();
    }
  }

  Input in;
  std::array<tavo::Plugin::System, nb_plugins> systems;
  tavo::Plugin::System twin;

  // The model.
  State now, at_kinematics, at_joints;  ///< what was set, at the last ...ExceptRoot, joint pass
  bool computed = false;                ///< kinematics in the root were
  bool transforms = false;              ///< a joint pass was
  bool kinematics_inertias = false;     ///< no inertia has changed since then
  std::array<std::optional<Transform>, nb_bodies + 1> given_poses;
  Transform volatile_pose;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Run(fuzz::Input(data, size)).all();
  return 0;
}
