#include "apps/replay/plot/torque_panels.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "apps/replay/plot/colours.hpp"

namespace replay {
namespace {

constexpr double leg_height = 240, arm_height = 180;  // px
constexpr std::array colours = {black, orange, sky_blue, green, vermillion, purple, blue};

std::vector<Skeleton::LimbJoint> joints_of(const Skeleton& skeleton, bool legs) {
  std::vector<Skeleton::LimbJoint> joints;
  for (const Skeleton::LimbJoint& joint : skeleton.limb_joints()) {
    if (joint.leg == legs) joints.push_back(joint);
  }
  return joints;
}

// One joint's torque over time as a block of its own: time, torque.
void write_torque(std::ostream& out, const MotionTrace& trace, std::size_t joint) {
  for (const TorqueRange& range : trace.torques()) {
    auto [first, second] = range.joints[joint];
    if (std::isnan(first.value)) continue;
    if (second.time < first.time) std::swap(first, second);
    out << first.time << " " << first.value << "\n";
    if (second.time > first.time) out << second.time << " " << second.value << "\n";
  }
}

// Marks far enough apart for their texts, which are long where time counts from 1970.
Sheet::Axis time_axis(const MotionTrace& trace, const std::string& title) {
  Interval times{trace.first_time(), trace.last_time()};
  if (!(times.length() > 0)) times = resized(times, 1);
  std::ostringstream text;
  text << std::setprecision(13) << times.high;
  const double mark_distance = 52 + 7 * static_cast<double>(text.str().size());  // px
  return {title, times, round_step(times.length() / Sheet::panel_width * mark_distance)};
}

Interval torques(const MotionTrace& trace, const std::vector<Skeleton::LimbJoint>& joints) {
  Interval all{0, 0};
  for (const TorqueRange& range : trace.torques()) {
    for (const Skeleton::LimbJoint& joint : joints) {
      const auto& [low, high] = range.joints[joint.index];
      if (low.value < all.low) all.low = low.value;
      if (high.value > all.high) all.high = high.value;
    }
  }
  return resized(all, all.length() > 0 ? 1.08 * all.length() : 1);
}

// How a side's torque is drawn, up to its colour. One sample alone makes no line.
std::string style(Side side, const MotionTrace& trace) {
  const bool left = side == Side::left;
  if (trace.torques().size() == 1)
    return left ? " with points pt 7 lc rgb " : " with points pt 6 lc rgb ";
  return left ? " with lines lw 1.3 lc rgb " : " with lines dt (6,3) lw 1.3 lc rgb ";
}

void add_panel(Sheet& sheet, const MotionTrace& trace, const std::string& title, bool legs) {
  const std::vector<Skeleton::LimbJoint> joints = joints_of(trace.skeleton(), legs);
  sheet.begin_panel(title, legs ? leg_height : arm_height, time_axis(trace, legs ? "" : "time, s"),
                    {"torque, N m", torques(trace, joints)});
  std::ostream& out = sheet.script();
  for (const auto& joint : joints) {
    out << "$torque" << joint.index << " << EOD\n";
    write_torque(out, trace, joint.index);
    out << "EOD\n";
  }
  std::vector<std::string> kinds;
  out << "plot ";
  for (const auto& joint : joints) {
    auto kind = std::find(kinds.begin(), kinds.end(), joint.kind);
    if (kind == kinds.end()) kind = kinds.insert(kind, joint.kind);
    const unsigned colour = colours.at(static_cast<std::size_t>(kind - kinds.begin()));
    out << "$torque" << joint.index << style(joint.side, trace) << colour << " notitle, \\\n";
  }
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    out << "keyentry with lines lw 2 lc rgb " << colours[i] << " title '" << kinds[i] << "', \\\n";
  }
  out << "keyentry" << style(Side::left, trace) << grey << " title 'left', keyentry"
      << style(Side::right, trace) << grey << " title 'right'\n";
}

}  // namespace

void add_torque_panels(Sheet& sheet, const MotionTrace& trace) {
  add_panel(sheet, trace, "Torques of the legs", true);
  add_panel(sheet, trace, "Torques of the arms", false);
}

}  // namespace replay
