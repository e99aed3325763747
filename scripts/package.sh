#!/usr/bin/env bash
# Sets up this machine, builds what is shipped and makes a Debian package of it in build/release.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

need_packages "${build_packages[@]}" dpkg-dev file
cmake --preset release
cmake --build --preset release --target package
