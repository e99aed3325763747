// Times of the plug-in's operations through its interface, over random states in turn, and of other
// plug-in builds and libraries beside them.
//
// Most rows are timed by passes over all states: one with what brings a state into the system and
// then the operation, one without the operation. The row is the difference of their CPU times; the
// counter setup_ns is what was subtracted.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>

#include <CLI/CLI.hpp>
#include <benchmark/benchmark.h>

#include "bench/operations.hpp"
#include "bench/peers.hpp"
#include "bench/states.hpp"

namespace {

using bench::Action, bench::Host, bench::Operation, bench::Peer, bench::State;

const std::vector<State> states = bench::random_states();

/// CPU time of this thread: what other programs take of the machine does not count. Reading it is a
/// system call, so it is for long pieces of work.
double cpu_seconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}
double wall_seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

/// CPU time of one pass over all states, seconds.
struct Pass {
  double setup, operation;
};
using TimePass = std::function<Pass()>;

TimePass passes_of(const Operation& op, Host& host) {
  return [&op, &host] {
    const auto pass = [&](Action action) {
      const double start = cpu_seconds();
      for (const State& s : states) {
        op.prepare(host, s);
        action(host, s);
      }
      return cpu_seconds() - start;
    };
    const double setup = pass(bench::nothing);
    return Pass{setup, pass(op.run) - setup};
  };
}

TimePass passes_of(void (Peer::*run)(), Peer& peer) {
  return [run, &peer] {
    const auto pass = [&](bool with_operation) {
      const double start = cpu_seconds();
      for (std::size_t k = 0; k < states.size(); ++k) {
        peer.set(k);
        if (with_operation) (peer.*run)();
      }
      return cpu_seconds() - start;
    };
    const double setup = pass(false);
    return Pass{setup, pass(true) - setup};
  };
}

constexpr double ns = 1e9 / bench::nb_states;  // of one call, from the seconds of one pass

void add_row(const std::string& name, const std::string& calls, const TimePass& pass) {
  const auto row = [=](benchmark::State& state) {
    double setup = 0;
    while (state.KeepRunningBatch(bench::nb_states)) {
      const Pass p = pass();
      setup += p.setup;
      state.SetIterationTime(p.operation);
    }
    const auto nb_passes = static_cast<double>(state.iterations()) / bench::nb_states;
    state.counters["setup_ns"] = setup * ns / nb_passes;
    state.SetLabel(calls);
  };
  benchmark::RegisterBenchmark(name.c_str(), row)->UseManualTime();
}

/// Passes of something else and of the plug-in in turn, so that both meet the same machine: ratio
/// says how many times the plug-in's operation goes into the other's.
void add_pair(const std::string& name, const std::string& calls, const TimePass& other,
              const TimePass& plugin) {
  const auto row = [=](benchmark::State& state) {
    double theirs = 0, ours = 0;
    while (state.KeepRunningBatch(bench::nb_states)) {
      const double time = other().operation;
      theirs += time;
      ours += plugin().operation;
      state.SetIterationTime(time);
    }
    state.counters["ratio"] = theirs / ours;
    state.SetLabel(calls);
  };
  benchmark::RegisterBenchmark(name.c_str(), row)->UseManualTime();
}

/// A call after the caches were filled with something else: the median of some.
void add_cold(const Operation& op, Host& host) {
  const auto row = [&op, &host](benchmark::State& state) {
    std::vector<char> other_data(64 << 20);
    std::vector<double> times(25);
    for (auto _ : state) {
      for (std::size_t k = 0; k < times.size(); ++k) {
        op.prepare(host, states[k]);
        for (std::size_t i = 0; i < other_data.size(); i += 64) ++other_data[i];
        benchmark::ClobberMemory();
        const double start = wall_seconds();
        op.run(host, states[k]);
        times[k] = wall_seconds() - start;
      }
      std::ranges::nth_element(times, times.begin() + times.size() / 2);
      state.SetIterationTime(times[times.size() / 2]);
    }
    state.SetLabel(op.calls);
  };
  const std::string name = std::string("cold/") + op.name;
  benchmark::RegisterBenchmark(name.c_str(), row)->UseManualTime()->Iterations(1);
}

/// A system for each of two threads, made in a row but for a gap between them that moves the second
/// one's storage by so many bytes against cache lines.
struct Placement {
  Placement(const std::string& plugin_path, std::size_t moved) {
    hosts.emplace_back(plugin_path);
    gap.reset(std::malloc(1024 + moved));  // beyond the sizes of which malloc keeps lists
    hosts.emplace_back(plugin_path);
  }

  std::deque<Host> hosts;
  std::unique_ptr<void, decltype(&std::free)> gap{nullptr, &std::free};
};

/// An operation on one and two threads, each with a system of its own.
void add_threads(const char* operation, std::size_t moved, Placement& placement) {
  const Operation& op = bench::operation(operation);
  const auto row = [&op, &placement](benchmark::State& state) {
    Host& host = placement.hosts[state.thread_index()];
    std::size_t k = 0;
    for (auto _ : state) {
      op.run(host, states[k]);
      k = (k + 1) % states.size();
    }
    state.SetItemsProcessed(state.iterations());
  };
  const std::string name = std::string("threads/") + operation + "/" + std::to_string(moved);
  benchmark::RegisterBenchmark(name.c_str(), row)->Threads(1)->Threads(2)->UseRealTime();
}

/// A comparison of times means nothing where the results differ.
void require_agreement(Host& host, Peer& peer) {
  const double difference = bench::largest_difference(host, peer, states);
  std::ostringstream text;
  text.precision(2);
  text << peer.version() << ", results agree to " << difference << " of the largest entry";
  benchmark::AddCustomContext(peer.name(), text.str());
  if (!(difference < 2e-5)) throw std::runtime_error(peer.name() + " " + text.str());
}

}  // namespace

int main(int argc, char** argv) try {
  benchmark::Initialize(&argc, argv);
  CLI::App app("Times of the plug-in's operations (--benchmark_... options: Google Benchmark's)");
  std::string plugin_path = PLUGIN_PATH;
  std::map<std::string, std::string> other_paths;
  app.add_option("--plugin", plugin_path, "The plug-in to measure");
  app.add_option("--beside", other_paths, "Label and path of another build to compare with");
  CLI11_PARSE(app, argc, argv);

  std::deque<Placement> placements;  // all made before any thread runs
  for (const std::size_t moved : {0, 16, 32, 48}) placements.emplace_back(plugin_path, moved);
  Host& host = placements.front().hosts.front();
  benchmark::AddCustomContext("compiler", BENCH_COMPILER);
  benchmark::AddCustomContext("object_bytes", std::to_string(host.object_size));
  benchmark::AddCustomContext("heap_bytes", std::to_string(host.heap_size));

  for (const Operation& op : bench::operations()) add_row(op.name, op.calls, passes_of(op, host));
  for (const char* name : {"FK", "ID", "FKx+MM", "cycle"}) add_cold(bench::operation(name), host);
  for (std::size_t k = 0; k < placements.size(); ++k) {
    for (const char* name : {"FK", "cycle"}) add_threads(name, 16 * k, placements[k]);
  }

  std::deque<Host> others;
  for (const auto& [label, path] : other_paths) {
    Host& other = others.emplace_back(path);
    for (const Operation& op : bench::operations()) {
      add_pair(label + "/" + op.name, op.calls, passes_of(op, other), passes_of(op, host));
    }
  }
  const auto peers = bench::peers(states);
  for (const auto& peer : peers) {
    require_agreement(host, *peer);
    const auto pair_with = [&](const char* name, const std::string& calls, void (Peer::*run)()) {
      add_pair(peer->name() + "/" + name, calls, passes_of(run, *peer),
               passes_of(bench::operation(name), host));
    };
    pair_with("FK", peer->fk_calls(), &Peer::fk);
    pair_with("ID", peer->id_calls(), &Peer::id);
    pair_with("FKx+MM", peer->mass_calls(), &Peer::mass);
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
} catch (const std::exception& e) {
  std::fprintf(stderr, "%s\n", e.what());
  return 1;
}
