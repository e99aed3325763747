// Runs under callgrind with --collect-atstart=no: every operation on every state, one dump an
// operation that bears its name. The dump "nothing" is what counting itself adds.

#include <cstdio>
#include <exception>
#include <valgrind/callgrind.h>

#include "bench/operations.hpp"

namespace {

void count(bench::Host& host, const bench::Operation& op, const std::vector<bench::State>& states) {
  for (const bench::State& s : states) {
    op.prepare(host, s);
    CALLGRIND_TOGGLE_COLLECT;
    op.run(host, s);
    CALLGRIND_TOGGLE_COLLECT;
  }
  CALLGRIND_DUMP_STATS_AT(op.name);
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s PLUGIN\n", argv[0]);
    return 2;
  }
  bench::Host host(argv[1]);
  const std::vector<bench::State> states = bench::random_states();
  count(host, {"nothing", "", bench::nothing, bench::nothing}, states);
  for (const bench::Operation& op : bench::operations()) count(host, op, states);
  std::printf("%zu\n", states.size());  // calls of each operation
  return 0;
} catch (const std::exception& e) {
  std::fprintf(stderr, "%s\n", e.what());
  return 1;
}
