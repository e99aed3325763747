#pragma once

#include <string>
#include <vector>

namespace motions {

/// Motions of many kinds to draw: walks along x, along y and between, to and fro, on a circle of
/// ten minutes; what stays in place: a turn, squats, a stand on one leg, a jump, a shake of the
/// head; a fall. The walks are made from the one that the project ships, wrenches included where
/// they still hold; the others are kinematics only.
std::vector<std::string> names();

/// One of them as a motion file. Throws std::out_of_range if there is none of that name.
std::string csv(const std::string& name);

/// So many squats of three seconds, sampled at `rate` (Hz), times beginning at `start` (s).
std::string squats(int count, double rate, double start);

}  // namespace motions
