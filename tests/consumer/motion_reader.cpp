// Reads a motion with the installed library: PLUGIN MOTION. Status 0 if all samples and rates come.
#include <cmath>
#include <cstdio>
#include <host/loader.hpp>
#include <motion/motion_file.hpp>
#include <motion/motion_writer.hpp>
#include <motion/rates.hpp>
#include <sstream>

int main(int, char** argv) {
  const tavo::Plugin plugin(argv[1]);
  const tavo::Plugin::System robot = plugin.create();
  tavo::motion::MotionFile file(argv[2], tavo::motion::names_of(*robot));
  tavo::motion::StateStream states([&file] { return file.next(); });
  std::ostringstream copy;
  tavo::motion::MotionWriter writer(copy, tavo::motion::names_of(*robot), file.wrench_bodies());
  int samples = 0;
  double fastest = 0;
  while (const auto state = states.next()) {
    ++samples;
    fastest = std::fmax(fastest, state->velocity.cwiseAbs().maxCoeff());
    writer.add(state->sample);
  }
  std::printf("%d samples, up to %.2f rad/s, %zu bytes\n", samples, fastest, copy.str().size());
  return samples == 801 && fastest > 5.6 && fastest < 5.7 && !copy.str().empty() ? 0 : 1;
}
