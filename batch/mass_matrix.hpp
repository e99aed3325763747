#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "batch/states.hpp"
#include "model/tree.hpp"

namespace metapod::batch {

/// The mass matrix of a robot in many states, as the composite-rigid-body algorithm writes it: the
/// two entries of a pair share their place, coordinates on different branches one zero. So it stays
/// in the first-level cache, where 28 x 28 entries of sixteen states would not (a tenth of forward
/// kinematics, inverse dynamics and mass matrix together).
template <class Robot>
class MassMatrix {
 public:
  static constexpr std::size_t nb_dofs = static_cast<std::size_t>(Robot::tree.nb_dofs());

  States& operator()(int i, int j) {
    return e_[layout.at[static_cast<std::size_t>(i) + nb_dofs * static_cast<std::size_t>(j)]];
  }
  /// Entry k of the whole matrix, column by column.
  const States& entry(std::size_t k) const { return e_[layout.at[k]]; }

 private:
  struct Layout {
    std::array<std::uint16_t, nb_dofs * nb_dofs> at{};  ///< 0: the zero
    std::size_t size = 1;
  };
  static constexpr Layout layout = [] {
    constexpr auto& tree = Robot::tree;
    Layout l;
    for (std::size_t body = 0; body < tree.parents.size(); ++body) {
      for (auto ancestor = static_cast<int>(body); ancestor != no_parent;) {
        const auto a = static_cast<std::size_t>(ancestor);
        const auto i = static_cast<std::size_t>(tree.dof_indexes[body]);
        const auto j = static_cast<std::size_t>(tree.dof_indexes[a]);
        for (std::size_t row = i; row < i + static_cast<std::size_t>(tree.dof_numbers[body]);
             ++row) {
          for (std::size_t c = j; c < j + static_cast<std::size_t>(tree.dof_numbers[a]); ++c) {
            // Within the root's block every entry is written for itself.
            l.at[row + nb_dofs * c] = static_cast<std::uint16_t>(l.size++);
            if (body != a) l.at[c + nb_dofs * row] = l.at[row + nb_dofs * c];
          }
        }
        ancestor = tree.parents[a];
      }
    }
    return l;
  }();

  std::array<States, layout.size> e_{};
};

}  // namespace metapod::batch
