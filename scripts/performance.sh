#!/usr/bin/env bash
# Sets up this machine, builds the plug-in as it is shipped and for any x86-64, and measures both:
# writes docs/performance.md. Times mean something on an idle machine only.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

need_packages "${build_packages[@]}" \
  binutils libbenchmark-dev libmujoco-dev liborocos-kdl-dev python3 valgrind
build=build/performance
cmake --preset release -B "$build/auto" -DORVEK23_ISA=auto -DORVEK23_BENCHMARKS=ON
cmake --build "$build/auto"
cmake --preset release -B "$build/baseline" -DORVEK23_ISA=baseline
cmake --build "$build/baseline" --target orvek23

python3 bench/report.py --build "$build/auto" --programs "$build/auto/bin" --plugin "$build/auto/lib/liborvek23.so" \
  --beside baseline "$build/baseline/lib/liborvek23.so" > "$build/performance.md"
mv "$build/performance.md" docs/performance.md
cat docs/performance.md
