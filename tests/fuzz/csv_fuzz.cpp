// Any bytes as a motion file. Whatever stands in it: samples whose numbers are finite and whose
// times increase, or one InputError of one line that names the file. What was read is written and
// read again, and must be the same.

#include <cmath>
#include <fstream>
#include <host/loader.hpp>
#include <motion/motion_file.hpp>
#include <motion/motion_writer.hpp>
#include <sstream>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include <Eigen/LU>

#include "tests/fuzz/input.hpp"

namespace {

using namespace tavo::motion;

/// A file that exists while this does.
class MemoryFile {
 public:
  MemoryFile(const void* data, std::size_t size) : descriptor_(memfd_create("motion", 0)) {
    FUZZ_REQUIRE(descriptor_ >= 0);
    FUZZ_REQUIRE(write(descriptor_, data, size) == static_cast<ssize_t>(size));
  }
  MemoryFile(const MemoryFile&) = delete;
  ~MemoryFile() { close(descriptor_); }
  std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

const RobotNames& names() {
  static const tavo::Plugin plugin(PLUGIN_PATH);  // open to the end: libFuzzer keeps its counters
  static const RobotNames names = names_of(*plugin.create());
  return names;
}

struct Motion {
  std::vector<unsigned long> wrench_bodies;
  std::vector<Sample> samples;
  bool whole = false;
};

Motion read_all(const std::string& path, const MotionOptions& options) {
  Motion motion;
  try {
    MotionFile file(path, names(), options);
    motion.wrench_bodies = file.wrench_bodies();
    while (const auto sample = file.next()) {
      FUZZ_REQUIRE(sample->p_world.allFinite() && sample->R_world.allFinite());
      FUZZ_REQUIRE(sample->q.allFinite() && sample->wrenches.allFinite());
      FUZZ_REQUIRE(std::abs(sample->R_world.determinant() - 1) < 1e-6);
      FUZZ_REQUIRE(motion.samples.empty() || (sample->time > motion.samples.back().time &&
                                              sample->line > motion.samples.back().line));
      motion.samples.push_back(*sample);
    }
    motion.whole = true;
    FUZZ_REQUIRE(!motion.samples.empty());
  } catch (const InputError& error) {
    const std::string message = error.what();
    FUZZ_REQUIRE(message.find(path) != std::string::npos);
    FUZZ_REQUIRE(message.find('\n') == std::string::npos);
  }
  return motion;
}

bool same(const Coordinates& a, const Coordinates& b) {
  return a.size() == b.size() &&
         ((a.array() == b.array()) || (a.array().isNaN() && b.array().isNaN())).all();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  MotionOptions options;
  constexpr char separators[] = {',', ';', '\t'};
  if (data[0] % 8 < 3) options.separator = separators[data[0] % 8];
  options.ignore_unknown = data[0] & 8;
  const Motion motion = read_all(MemoryFile(data + 1, size - 1).path(), options);
  if (motion.samples.empty()) return 0;

  std::ostringstream copy;
  MotionWriter writer(copy, names(), motion.wrench_bodies);
  for (const Sample& sample : motion.samples) writer.add(sample);
  const std::string text = copy.str();
  const Motion again = read_all(MemoryFile(text.data(), text.size()).path(), {});
  FUZZ_REQUIRE(again.whole && again.samples.size() == motion.samples.size());
  for (std::size_t k = 0; k < motion.samples.size(); ++k) {
    const Sample &a = motion.samples[k], &b = again.samples[k];
    FUZZ_REQUIRE(a.time == b.time && a.p_world == b.p_world && a.q == b.q);
    FUZZ_REQUIRE(a.wrenches == b.wrenches && (a.R_world - b.R_world).norm() < 1e-6);
    FUZZ_REQUIRE(same(a.velocity, b.velocity) && same(a.acceleration, b.acceleration));
  }
  return 0;
}
