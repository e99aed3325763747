#include "apps/replay/plot/torque_panels.hpp"

#include <algorithm>
#include <array>
#include <ostream>
#include <string>
#include <vector>

#include "apps/replay/plot/axis.hpp"
#include "apps/replay/plot/colours.hpp"
#include "apps/replay/plot/series.hpp"

namespace replay {
namespace {

using Limb = Skeleton::Limb;

constexpr std::array colours = {black, orange, sky_blue, green, vermillion, purple, blue};

std::vector<Skeleton::LimbJoint> joints_of(const Skeleton& skeleton, Limb limb) {
  std::vector<Skeleton::LimbJoint> joints;
  for (const Skeleton::LimbJoint& joint : skeleton.limb_joints()) {
    if (joint.limb == limb) joints.push_back(joint);
  }
  return joints;
}

Interval torques(const MotionTrace& trace, const std::vector<Skeleton::LimbJoint>& joints) {
  Interval all{0, 0};
  for (const Skeleton::LimbJoint& joint : joints) {
    const Interval one = reach(trace.torques(), joint.index);
    all = {std::min(all.low, one.low), std::max(all.high, one.high)};
  }
  return resized(all, std::max(1.08 * all.length(), 0.002));  // less is rounding
}

// How a side's torque is drawn, up to its colour: where both coincide, dashes stand out on a thin
// line. One sample alone makes no line.
std::string style(Side side, const MotionTrace& trace) {
  const bool right = side == Side::right;
  if (trace.torques().size() == 1)
    return right ? " with points pt 6 lc rgb " : " with points pt 7 lc rgb ";
  return right ? " with lines dt (6,4) lw 2 lc rgb " : " with lines lw 1.1 lc rgb ";
}

void add_panel(Sheet& sheet, const MotionTrace& trace, const std::string& title, Limb limb,
               double height, bool last) {
  const std::vector<Skeleton::LimbJoint> joints = joints_of(trace.skeleton(), limb);
  Axis time = time_axis(trace);
  if (!last) time.title.clear();
  sheet.begin_panel(title, height, time,
                    round_axis("torque", "N m", torques(trace, joints), height, Direction::up));
  std::ostream& out = sheet.script();
  for (const auto& joint : joints) {
    out << "$torque" << joint.index << " << EOD\n";
    write_series(out, trace.torques(), joint.index);
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
    out << (i == 0 ? "" : ", \\\n") << "keyentry with lines lw 2 lc rgb " << colours[i]
        << " title '" << kinds[i] << "'";
  }
  if (limb != Limb::head) {
    out << ", \\\nkeyentry" << style(Side::left, trace) << grey << " title 'left', keyentry"
        << style(Side::right, trace) << grey << " title 'right'";
  }
  out << "\n";
}

}  // namespace

void add_torque_panels(Sheet& sheet, const MotionTrace& trace) {
  add_panel(sheet, trace, "Torques of the legs", Limb::leg, 240, false);
  add_panel(sheet, trace, "Torques of the arms", Limb::arm, 180, false);
  add_panel(sheet, trace, "Torques of the head", Limb::head, 90, true);
}

}  // namespace replay
