#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <host/rigid_body_system.hpp>
#include <span>

#include "checked/operations.hpp"

namespace tavo::checked {

/// Follows one system's calls and tells stderr, one line a finding, what a host may not mean: a
/// result older than the last setter, a computation on what was never set or computed, a value
/// that turned non-finite. Each finding is told once. No allocation, no exception.
class Watch {
 public:
  Watch();

  /// Before an operation: is what it reads up to date? i: the index, for what each body has.
  void reads(const Operation& op, unsigned long i);

  /// After a setter or a computation; i: the joint that a setter of one joint has set.
  void wrote(const Operation& op, const RigidBodySystem& system);
  void wrote(const Operation& op, const RigidBodySystem& system, unsigned long i);

  /// After the pose of body i was overwritten by the host: its own until the next computation.
  void given_pose(unsigned long i);

  /// Values that no getter shows: item i of a quantity, as it was set or computed.
  void values(const Operation& op, Quantity quantity, unsigned long i, std::span<const float> v);

 private:
  enum Kind : unsigned char { stale, never_set, non_finite };
  struct Finding {
    const Operation* op;
    Quantity quantity;
    Kind kind;
  };

  void wrote_parts(const Operation& op, const RigidBodySystem& system, std::uint32_t parts);
  void outdate(const Operation& op, Quantities inputs);
  void look_at(const Operation& op, Quantity quantity, const RigidBodySystem& system);
  bool is_new(const Finding& finding);

  unsigned long number_;  ///< of this system among those of the process
  Quantities computed_;
  Quantities stale_;  ///< older than one of their inputs
  std::array<const Operation*, nb_quantities> outdated_by_{};
  std::array<std::uint32_t, nb_quantities> parts_set_{};
  std::uint32_t given_poses_ = 0;  ///< a bit a body
  unsigned long seen_inertias_;    ///< changes of the inertias, which all systems share
  std::array<Finding, 256> told_;
  std::size_t nb_told_ = 0;
};

}  // namespace tavo::checked
