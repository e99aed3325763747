#!/usr/bin/env bash
# Sets up this machine, then builds and tests with both compilers; a warning is an error.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

need_packages "${test_packages[@]}"
need_node
for preset in ci ci-clang; do
  cmake --preset "$preset"
  cmake --build --preset "$preset"
  ctest --preset "$preset"
done
