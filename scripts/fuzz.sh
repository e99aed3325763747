#!/usr/bin/env bash
# Sets up this machine and runs the fuzzers, guided by coverage, each for so many seconds (an hour if
# nothing is said), first with allocations that fail, then under AddressSanitizer:
#
#   scripts/fuzz.sh [SECONDS] [PRESET...]
#
# New inputs go to build/<preset>/corpus, what fails to build/<preset>/crash-...; run it again with
# build/<preset>/bin/fuzz_... FILE.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh
need_packages "${test_packages[@]}" libclang-rt-14-dev

seconds=${1:-3600}
shift || true
if (($# == 0)); then
  set -- fuzz fuzz-asan
fi
for preset; do
  cmake --preset "$preset"
  cmake --build --preset "$preset" --target fuzz_interface fuzz_csv
  for name in interface csv; do
    kept=$PWD/tests/fuzz/corpus/$name
    found=$PWD/build/$preset/corpus/$name
    mkdir -p "$found"
    (cd "build/$preset" && "bin/fuzz_$name" -max_total_time="$seconds" -max_len=2000 \
      -print_final_stats=1 -timeout=20 -rss_limit_mb=1000 "$found" "$kept")
  done
done
