#include "checked/watch.hpp"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>

namespace tavo::checked {
namespace {

constexpr unsigned long nb_bodies = 23;

std::atomic<unsigned long> nb_systems{0};
std::atomic<unsigned long> inertia_changes{0};

template <class Action>
void for_each(Quantities set, const Action& action) {
  for (unsigned q = 0; q < nb_quantities; ++q) {
    if (set.has(static_cast<Quantity>(q))) action(static_cast<Quantity>(q));
  }
}

}  // namespace

Watch::Watch() : number_(++nb_systems), seen_inertias_(inertia_changes) {}

void Watch::reads(const Operation& op, unsigned long i) {
  if (const unsigned long changes = inertia_changes; changes != seen_inertias_) {
    seen_inertias_ = changes;
    outdate(operations::setBodyInertia, {inertia});
  }
  const auto tell = [&](Quantity q, Kind kind, const char* text, const char* what) {
    if (is_new({&op, q, kind})) {
      std::fprintf(stderr, "orvek23-checked: system %lu: %s: %s %s%s\n", number_, op.name,
                   facts[q].name, text, what);
    }
  };
  for_each(op.reads, [&](Quantity q) {
    const bool is_input = facts[q].from.empty();
    const std::uint32_t missing = facts[q].parts & ~parts_set_[q];
    if (is_input && missing != 0) {
      if (!is_new({&op, q, never_set})) return;
      const int nb_missing = __builtin_popcount(missing), first = __builtin_ctz(missing);
      std::fprintf(stderr, "orvek23-checked: system %lu: %s: %s was never set", number_, op.name,
                   facts[q].name);
      if (facts[q].parts == 1) {
        std::fputs(", zero is taken\n", stderr);
      } else {
        std::fprintf(stderr, " for %d joints, the first is %d; zero is taken\n", nb_missing, first);
      }
    } else if (!is_input && op.computes && !computed_.has(q)) {
      tell(q, never_set, "was never computed", "");
    } else if (stale_.has(q)) {
      const bool given = q == world_pose && (i >= nb_bodies || (given_poses_ >> i & 1u) != 0);
      if (!given) tell(q, stale, "was not computed since ", outdated_by_[q]->name);
    }
  });
}

void Watch::wrote(const Operation& op, const RigidBodySystem& system) {
  wrote_parts(op, system, ~0u);
}

void Watch::wrote(const Operation& op, const RigidBodySystem& system, unsigned long i) {
  wrote_parts(op, system, 1u << i);
}

void Watch::wrote_parts(const Operation& op, const RigidBodySystem& system, std::uint32_t parts) {
  if (op.computes) {
    computed_.add(op.writes);
    if (op.writes.has(world_pose)) given_poses_ = 0;
    // What comes from a stale result is as stale, by the same setter.
    for_each(op.writes, [&](Quantity q) {
      Quantities from = facts[q].from;
      from.bits &= stale_.bits & ~op.writes.bits;
      stale_.remove({q});
      for_each(from, [&](Quantity source) {
        stale_.add({q});
        outdated_by_[q] = outdated_by_[source];
      });
    });
  } else {
    for_each(op.writes, [&](Quantity q) { parts_set_[q] |= parts; });
    if (op.writes.has(inertia)) seen_inertias_ = ++inertia_changes;
    outdate(op, op.writes);
    if (op.writes.has(root_pose)) given_poses_ |= 1;  // getRootPose shows it at once
  }
  for_each(op.writes, [&](Quantity q) { look_at(op, q, system); });
}

void Watch::given_pose(unsigned long i) {
  given_poses_ |= 1u << i;
}

void Watch::outdate(const Operation& op, Quantities inputs) {
  const Quantities later = dependents(inputs);
  stale_.add(later);
  for_each(later, [&](Quantity q) { outdated_by_[q] = &op; });
}

void Watch::values(const Operation& op, Quantity quantity, unsigned long i,
                   std::span<const float> v) {
  const auto bad = std::ranges::find_if(v, [](float x) { return !std::isfinite(x); });
  if (bad == v.end() || !is_new({&op, quantity, non_finite})) return;
  const char* const now = std::isnan(*bad) ? "nan" : *bad > 0 ? "inf" : "-inf";
  if (const char* const item = facts[quantity].item; item != nullptr) {
    std::fprintf(stderr, "orvek23-checked: system %lu: %s: %s%s%lu turned %s\n", number_, op.name,
                 facts[quantity].name, item, i, now);
  } else {
    std::fprintf(stderr, "orvek23-checked: system %lu: %s: %s turned %s\n", number_, op.name,
                 facts[quantity].name, now);
  }
}

void Watch::look_at(const Operation& op, Quantity quantity, const RigidBodySystem& system) {
  const auto each = [&](const float* v, std::size_t n, std::size_t size = 1) {
    for (std::size_t k = 0; k < n; ++k) values(op, quantity, k, {v + k * size, size});
  };
  const auto joints = [&](const JointRange& range) { each(range.first, 22); };
  const auto rates = [&](const KT::Math::Velocity6D& v) { each(&v.vx, 6); };
  const auto columns = [&](const auto& matrix) {
    each(matrix.data(), static_cast<std::size_t>(matrix.cols()),
         static_cast<std::size_t>(matrix.rows()));
  };
  switch (quantity) {
    case root_pose:
      return each(system.getRootPose().m, 12);
    case joint_position:
      return joints(system.getJointAnglesPos());
    case root_velocity:
      return rates(system.getRootVelocity());
    case joint_velocity:
      return joints(system.getJointAnglesVel());
    case root_acceleration:
      return rates(system.getRootAcceleration());
    case joint_acceleration:
      return joints(system.getJointAnglesAcc());
    case pose_in_root:
      for (unsigned long i = 0; i < nb_bodies; ++i)
        values(op, quantity, i, system.getPoseInRoot(i).m);
      return;
    case jacobian:
      return columns(system.getJacobianInRoot());
    case com_in_root:
      return each(&system.getComPositionInRoot().x, 1, 3);
    case world_pose:
      for (unsigned long i = 0; i < nb_bodies; ++i) values(op, quantity, i, system.getPose(i).m);
      return;
    case com:
      return each(&system.getComPosition().x, 1, 3);
    case mass_matrix:
      return columns(system.getGeneralizedMass());
    case joint_torque:
      return joints(system.getJointAnglesTorque());
    default:
      return;  // no getter shows it
  }
}

bool Watch::is_new(const Finding& finding) {
  const auto same = [&](const Finding& other) {
    return other.op == finding.op && other.quantity == finding.quantity &&
           other.kind == finding.kind;
  };
  if (nb_told_ == told_.size() || std::any_of(told_.begin(), told_.begin() + nb_told_, same)) {
    return false;
  }
  told_[nb_told_++] = finding;
  return true;
}

}  // namespace tavo::checked
