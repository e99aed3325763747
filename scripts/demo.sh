#!/usr/bin/env bash
# Sets up this machine, builds the plug-in and replays the walk that the project ships.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

need_packages "${build_packages[@]}" gnuplot-nox
need_node
cmake --preset release
cmake --build --preset release

build/release/bin/orvek23-replay -o walk-results.csv --plot walk.svg --report walk.html
echo "Results of every sample: $PWD/walk-results.csv"
echo "Picture of the walk: $PWD/walk.svg"
echo "The walk to walk around, in a browser: $PWD/walk.html"
