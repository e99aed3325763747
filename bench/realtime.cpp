// One cycle's time, so many times over, each with a random state of its own; and what cycles ask of
// the system after the first: memory, pages, the processor, system calls.
//
//   orvek23_realtime [--cycles N] [--load] [--fifo] [--check] [--histogram FILE] PLUGIN
//
// A row of a table: median, 99.9th and 99.999th percentile and largest time of a cycle; page
// faults, context switches, allocations, system calls. With --check status 1 if there was a page
// fault, an allocation or a system call; 77 if the system calls cannot be counted here.

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <sched.h>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <CLI/CLI.hpp>

#include "bench/operations.hpp"
#include "bench/states.hpp"
#include "tests/heap_watch.hpp"

namespace {

/// Counts the system calls of this thread while it is on: the kernel sends a signal instead of
/// doing one (Linux 5.11, "syscall user dispatch"), which ends the counting, so there is at most
/// one.
class SystemCalls {
 public:
  SystemCalls() {
    std::signal(SIGSYS, [](int) {
      seen_ = seen_ + 1;
      on_ = allow;
    });
    counts_ = prctl(59 /* PR_SET_SYSCALL_USER_DISPATCH */, 1, 0, 0, &on_) == 0;
  }
  bool counts() const { return counts_; }
  void start() { on_ = block; }
  long stop() {
    on_ = allow;
    return seen_;
  }

 private:
  static constexpr char allow = 0, block = 1;
  static inline volatile char on_ = allow;
  static inline volatile long seen_ = 0;
  bool counts_;
};

/// How often each time came: 10 ns a bin to 100 us, 10 us a bin beyond.
class Histogram {
 public:
  /// Writes to every page, so that none comes later.
  void clear() {
    bins_.fill(0);
    largest_ = n_ = 0;
  }
  void add(std::int64_t ns) {
    ++bins_[std::min(bin_of(ns), bins_.size() - 1)];
    largest_ = std::max(largest_, ns);
    ++n_;
  }
  std::int64_t largest() const { return largest_; }
  /// No more than the share `rest` took longer.
  std::int64_t quantile(double rest) const {
    const auto beyond = static_cast<std::int64_t>(rest * static_cast<double>(n_));
    std::int64_t seen = 0;
    std::size_t k = bins_.size();
    while (k > 0 && seen + bins_[k - 1] <= beyond) seen += bins_[--k];
    return k == bins_.size() ? largest_ : std::min(k > 0 ? end_of(k - 1) : 0, largest_);
  }
  void write(const std::string& path) const {
    std::ofstream file(path);
    for (std::size_t k = 0; k < bins_.size(); ++k) {
      if (bins_[k] > 0) file << end_of(k) << ' ' << bins_[k] << '\n';
    }
  }

 private:
  static constexpr std::size_t nb_fine = 10000;
  static std::size_t bin_of(std::int64_t ns) {
    const auto t = static_cast<std::size_t>(ns);
    return t < 10 * nb_fine ? t / 10 : nb_fine - 10 + t / 10000;
  }
  static std::int64_t end_of(std::size_t k) {
    const auto i = static_cast<std::int64_t>(k);
    return k < nb_fine ? 10 * (i + 1) : 10000 * (i - static_cast<std::int64_t>(nb_fine) + 11);
  }

  std::array<std::int64_t, nb_fine + 10000> bins_{};
  std::int64_t largest_ = 0, n_ = 0;
};

/// New random numbers in place of a state's, without asking for memory.
class Draw {
 public:
  void operator()(bench::State& s) {
    for (auto* v : {&s.q, &s.dq, &s.ddq}) fill(*v, v == &s.q ? 3.f : v == &s.dq ? 4.f : 20.f);
    for (auto& wrench : s.wrenches) fill(wrench, 5);
    s.root = {next(1), next(1), next(1), next(3), next(1.5f), next(3)};
    s.root_pose = transformFromPosition6D(s.root);
    s.root_velocity = {next(2), next(2), next(2), next(2), next(2), next(2)};
    s.root_acceleration = {next(9), next(9), next(9), next(9), next(9), next(9)};
    s.body = 1 + state_ % (bench::nb_bodies - 1);
  }

 private:
  void fill(std::vector<float>& v, float limit) {
    for (float& x : v) x = next(limit);
  }
  float next(float limit) {  // xorshift64*, Vigna 2016
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return limit *
           static_cast<float>(static_cast<std::int32_t>(state_ * 2685821657736338717u >> 32)) *
           0x1p-31f;
  }
  std::uint64_t state_ = 23;
};

/// What a whole-body controller asks for: kinematics, mass matrix, a centre-of-mass Jacobian,
/// torques.
void cycle(bench::Host& host, const bench::State& s) {
  static const bench::Operation& kinematics_and_torques = bench::operation("cycle");
  kinematics_and_torques.run(host, s);
  host.system->computeGeneralizedMass();
  host.system->computePartialComJacobian(s.body, host.J);
}

/// A process that goes through 64 MiB, until it is ended.
pid_t start_load() {
  const pid_t parent = getpid(), child = fork();
  if (child != 0) return child;
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  std::vector<char> data(64 << 20);
  while (getppid() == parent) {
    for (std::size_t i = 0; i < data.size(); i += 64) data[i] = static_cast<char>(data[i] + 1);
  }
  _exit(0);
}

rusage usage() {
  rusage now{};
  getrusage(RUSAGE_SELF, &now);
  return now;
}

}  // namespace

int main(int argc, char** argv) try {
  CLI::App app("Times of a control cycle, and what it asks of the system");
  std::string plugin_path, histogram_path;
  long nb_cycles = 10'000'000;
  bool load = false, fifo = false, check = false;
  app.add_option("plugin", plugin_path, "The plug-in")->required();
  app.add_option("--cycles", nb_cycles, "How many");
  app.add_flag("--load", load, "Beside a process that goes through memory");
  app.add_flag("--fifo", fifo, "With priority SCHED_FIFO 80");
  app.add_flag("--check", check, "Fail if the system was asked for anything");
  app.add_option("--histogram", histogram_path, "File for times (ns) and how often they came");
  CLI11_PARSE(app, argc, argv);

  const pid_t other = load ? start_load() : 0;
  static Histogram histogram;
  static bench::Host host(plugin_path);
  bench::State state = bench::random_states().front();
  Draw draw;
  SystemCalls system_calls;
  const bool locked = mlockall(MCL_CURRENT | MCL_FUTURE) == 0;
  sched_param parameters{};
  parameters.sched_priority = 80;
  if (fifo && sched_setscheduler(0, SCHED_FIFO, &parameters) != 0) {
    std::fputs("warning: no right to SCHED_FIFO\n", stderr);
  }
  const auto timed_cycle = [&] {
    draw(state);
    const auto start = std::chrono::steady_clock::now();
    cycle(host, state);
    histogram.add((std::chrono::steady_clock::now() - start).count());
  };
  timed_cycle();  // the first
  histogram.clear();

  const rusage before = usage();
  test::heap_watch.on = true;
  if (system_calls.counts()) system_calls.start();
  for (long k = 1; k < nb_cycles; ++k) timed_cycle();
  const long calls = system_calls.stop();
  test::heap_watch.on = false;
  const rusage after = usage();

  if (other > 0) {
    kill(other, SIGKILL);
    waitpid(other, nullptr, 0);
  }
  const long faults = after.ru_minflt - before.ru_minflt + after.ru_majflt - before.ru_majflt;
  const long allocations = test::heap_watch.asked;
  const auto us = [](std::int64_t ns) { return 1e-3 * static_cast<double>(ns); };
  std::printf("| %s%s | %ld | %.2f | %.2f | %.1f | %.1f | %ld | %ld | %ld + %ld | %s |\n",
              load ? "beside a load" : "alone", fifo ? ", SCHED_FIFO" : "", nb_cycles,
              us(histogram.quantile(0.5)), us(histogram.quantile(1e-3)),
              us(histogram.quantile(1e-5)), us(histogram.largest()), allocations, faults,
              after.ru_nvcsw - before.ru_nvcsw, after.ru_nivcsw - before.ru_nivcsw,
              system_calls.counts() ? std::to_string(calls).c_str() : "not counted");
  if (!locked) std::fputs("warning: no right to lock memory\n", stderr);
  if (!histogram_path.empty()) histogram.write(histogram_path);
  if (!check) return 0;
  if (allocations + faults + calls != 0) return 1;
  return system_calls.counts() ? 0 : 77;
} catch (const std::exception& e) {
  std::fprintf(stderr, "%s\n", e.what());
  return 1;
}
