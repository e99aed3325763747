#!/usr/bin/env bash
# Sets up this machine, builds the plug-in with g++ 12 and clang 14, at -O0 to -O3, with and without
# optimization of the whole when it is linked, for any processor of its kind and for this one, and holds each
# to the one pinned hash of its results. Words after the command choose: `g++-12`, `-O2`, `lto`, `native`.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

need_packages "${test_packages[@]}" lld-14
cmake --preset ci > /dev/null
cmake --build --preset ci --target same_bits_tests

plugins=()
for compiler in g++-12 clang++-14; do
  for level in -O0 -O1 -O2 -O3; do
    for whole in "" lto; do
      for machine in "" native; do
        name=$compiler$level${whole:+-$whole}${machine:+-$machine}
        for word in "$@"; do
          [[ -$name- == *"-${word#-}-"* || $name == "$word"* ]] || continue 2
        done
        flags=$level
        [[ -z $whole ]] || flags+=" -flto"
        [[ -z $machine ]] || flags+=" -march=native"
        [[ $name != clang*lto* ]] || flags+=" -fuse-ld=lld-14 -Wno-unused-command-line-argument"
        build=build/matrix/$name
        cmake --preset release -B "$build" -DCMAKE_CXX_COMPILER="$compiler" -DORVEK23_BATCH=OFF \
          -DORVEK23_PROGRAMS=OFF -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="$flags" > /dev/null
        cmake --build "$build" --target orvek23 > "$build/log.txt" || { cat "$build/log.txt"; exit 1; }
        plugin=$PWD/$build/lib/liborvek23.so
        ORVEK23_PLUGINS=$plugin build/ci/bin/same_bits_tests --gtest_brief=1 > "$build/log.txt" ||
          { cat "$build/log.txt"; exit 1; }
        echo "$name: the pinned bits"
        plugins+=("$plugin")
      done
    done
  done
done
echo "matrix.sh: ${#plugins[@]} builds, one hash"
