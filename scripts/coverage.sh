#!/usr/bin/env bash
# Sets up this machine, builds with g++ 12 and counters, runs the tests and prints which lines and branches
# of the product they ran; pages to look at: build/coverage/html/index.html. Words after the command
# name the programs of tests; else all are run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

need_packages "${test_packages[@]}" gcovr
build=build/coverage
programs=("$@")
((${#programs[@]})) || programs=(plugin_tests internal_tests same_bits_tests batch_tests threads_tests replay_tests)
cmake --preset dev -B "$build" -DCMAKE_CXX_COMPILER=g++-12 \
  -DCMAKE_CXX_FLAGS_DEBUG="-O1 --coverage -fprofile-update=atomic -fno-inline" > /dev/null
cmake --build "$build" --target "${programs[@]}"
find "$build" -name '*.gcda' -delete
for program in "${programs[@]}"; do
  # Not what takes five minutes with counters, nor where they may not be written.
  "$build/bin/$program" --gtest_brief=1 --gtest_filter=-*AMillionComputations*:*MayNotGrow*
done
mkdir -p "$build/html"
# A template's line counts as run if any of its instances ran it. What the compiler makes of exceptions is
# no branch of ours.
gcovr --root . --gcov-executable gcov-12 --object-directory "$build" --exclude-throw-branches \
  --exclude-unreachable-branches --html-details "$build/html/index.html" --print-summary \
  --filter '(spatial|model|algorithms|lanes|host|ktmath|motion)/' "$build" |
  tee "$build/lines.txt"
