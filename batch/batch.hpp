#pragma once

/// @file
/// Many states of the robot at once: rows of numbers in, rows of results out.

#include <cstddef>
#include <memory>

namespace tavo::batch {

/// A table of floats in the caller's memory: row k begins at data + k * stride. No data: not given,
/// or not wanted.
template <class Float>
struct Rows {
  Float* data = nullptr;      ///< the first row
  std::ptrdiff_t stride = 0;  ///< floats from one row to the next; 0 repeats the first

  /// Whether there is data.
  explicit operator bool() const { return data != nullptr; }
};
using In = Rows<const float>;  ///< rows that are read
using Out = Rows<float>;       ///< rows that are written

/// An external wrench on one body, in every state.
struct Wrench {
  unsigned long body = 0;  ///< 0..22
  In rows;                 ///< 6: force (N), moment (N m), in the body's frame about its origin
};

/// Inertia of one body, as RigidBodySystem::setBodyInertia takes it.
struct BodyInertia {
  float mass;            ///< kg
  float com[3];          ///< centre of mass, body frame, m
  float inertia_com[6];  ///< about it, body axes, kg m²: xx, yx, yy, zx, zy, zz
};

/// What is given: nb_states rows each. Coordinates are ordered as everywhere: the root's six,
/// linear first, then one a joint.
struct Inputs {
  std::size_t nb_states = 0;  ///< how many
  /// 28: the root's position (m, world) and roll, pitch, yaw, then the joint angles (rad).
  In q;
  /// 12: the root's pose [R | p] in the world, row by row; if given, entries 0..5 of q are not
  /// read.
  In root_pose;
  In dq;   ///< 28: velocities, the root's in its own frame; not given: zero
  In ddq;  ///< 28: accelerations, likewise
  const Wrench* wrenches = nullptr;  ///< nb_wrenches of them; a body not named has none
  std::size_t nb_wrenches = 0;       ///< how many
  /// 23 inertias by body; not given: those that the robot is built with.
  const BodyInertia* inertias = nullptr;
};

/// What is wanted. Numbers and their order are those of the operation named.
struct Outputs {
  Out poses;                 ///< 23 x 12, world: RigidBodySystem::getPose
  Out poses_in_root;         ///< 23 x 12: getPoseInRoot
  Out com;                   ///< 3, world: getComPosition
  Out com_in_root;           ///< 3: getComPositionInRoot
  Out jacobian;              ///< 6 x 28, column by column: getJacobianInRoot
  Out mass_matrix;           ///< 28 x 28: getGeneralizedMass
  Out mass_matrix_packed;    ///< 406: its lower triangle by rows
  Out torques;               ///< 28: the root's wrench (force first, root frame), then the joints'
  Out partial_com_in_root;   ///< 3: computePartialComPositionInRoot(partial_body), 1..22
  Out partial_com_jacobian;  ///< 3 x 28, column by column: computePartialComJacobian(partial_body)
  unsigned long partial_body = 0;  ///< the body left out
};

/// Computes states by the dozen, with the bits that the plug-in's operations have on each; the same
/// bits for every number of threads. Not while another call of the same engine runs.
class Engine {
 public:
  /// `threads` states are worked at in parallel, each with a workspace of its own; 0: as many as
  /// there are processors that the process may use. Throws std::bad_alloc.
  explicit Engine(unsigned threads = 1);
  ~Engine();
  /// An engine can be moved; what it was moved from can only go or be given another.
  Engine(Engine&&) noexcept;
  /// Takes over what the other has.
  Engine& operator=(Engine&&) noexcept;

  /// How many states' groups are worked at in parallel.
  unsigned threads() const;
  /// States side by side: 4, 8 or 16, as the processor allows.
  std::size_t lanes() const;

  /// Everything that `outputs` asks for. Throws std::invalid_argument, before anything is written,
  /// if q is missing or a body's index is out of range; std::runtime_error if the system has no
  /// thread left to give: take an engine of one thread then, which needs none.
  void evaluate(const Inputs& inputs, const Outputs& outputs);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tavo::batch
