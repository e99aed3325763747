// How safely does a walk stand? Zero-moment point, capture point and margin of every sample, in
// balance.csv; balance_monitor.gp draws them.
//
//   balance_monitor PLUGIN MOTION

#include <algorithm>
#include <cstdio>
#include <fstream>

#include "walk.hpp"

using namespace tavo::quantities;

int main(int, char** argv) {
  const tavo::Plugin plugin(argv[1]);
  const tavo::Plugin::System robot = plugin.create();
  State state(*robot);
  Walk walk(argv[2], *robot);
  const std::vector<Sole> soles = {sole_of(*robot, "LAnkleRoll"), sole_of(*robot, "RAnkleRoll")};
  SupportPolygon polygon;

  std::ofstream csv("balance.csv");
  csv << "time,com.x,com.y,zmp.x,zmp.y,cop.x,cop.y,capture.x,capture.y,margin\n";
  double least = 1, least_time = 0, apart = 0, captured = 0;
  int samples = 0;
  while (walk.next(state)) {
    polygon.clear();
    for (const Sole& sole : soles) {
      if (centre_of_pressure(state, sole, walk.wrenches)) polygon.add(state, sole);  // it stands
    }
    const auto zmp = zero_moment_point(state);                                   // from motion
    const auto cop = centre_of_pressure(state, Plane::ground(), walk.wrenches);  // from wrenches
    if (!zmp || !cop) continue;                                                  // in flight
    const Vector3 com = com_position(state), capture = capture_point(state);
    const double margin = polygon.margin(*zmp);
    csv << walk.time << ',' << com.x() << ',' << com.y() << ',' << zmp->x() << ',' << zmp->y()
        << ',' << cop->x() << ',' << cop->y() << ',' << capture.x() << ',' << capture.y() << ','
        << margin << '\n';
    if (margin < least) {
      least = margin;
      least_time = walk.time;
    }
    apart = std::max(apart, (*zmp - *cop).norm());
    captured += polygon.margin(capture) > 0;
    ++samples;
  }
  std::printf("samples                              %d\n", samples);
  std::printf("least margin of zero-moment point    %.4f m at %.2f s\n", least, least_time);
  std::printf("farthest from centre of pressure     %s 1e-6 m\n", apart < 1e-6 ? "below" : "above");
  std::printf("capture point within the support     %.0f %% of the time\n",
              100 * captured / samples);
}
