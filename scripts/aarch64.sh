#!/usr/bin/env bash
# Sets up this machine, cross-compiles for 64-bit Arm with g++ 12, and passes the tests under qemu;
# given names of tests' programs, those only; with --package, makes the Debian packages for arm64 in
# build/package-arm64. The arm64 packages that are needed are unpacked into
# build/aarch64-root: nothing of this machine's is replaced by them, and no rights are needed for it.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

need_packages "${build_packages[@]}" g++-12-aarch64-linux-gnu qemu-user
arm64_packages=(libboost-dev libcli11-dev libeigen3-dev libgtest-dev liborocos-kdl-dev libstdc++6
  libtbb-dev libtinyxml2-dev nlohmann-json3-dev)

root=$PWD/build/aarch64-root
if [[ $(cat "$root/complete" 2> /dev/null) != "${arm64_packages[*]}" ]]; then
  # A machine of its own, to apt, on which nothing is installed yet.
  apt=$PWD/build/aarch64-apt
  mkdir -p "$apt"/{lists,cache}/partial "$root"
  : > "$apt/status"
  options=(-o APT::Architecture=arm64 -o APT::Architectures::=arm64 -o Dir::State::Lists="$apt/lists"
    -o Dir::State::status="$apt/status" -o Dir::Cache="$apt" -o Dir::Cache::archives="$apt/cache"
    -o Debug::NoLocking=1 -o APT::Sandbox::User= -q)
  apt-get "${options[@]}" update
  apt-get "${options[@]}" install --download-only --yes --no-install-recommends "${arm64_packages[@]}"
  for package in "$apt"/cache/*.deb; do
    dpkg-deb --extract "$package" "$root"
  done
  echo "${arm64_packages[*]}" > "$root/complete"
fi

if [[ ${1:-} == --package ]]; then
  need_packages "${package_packages[@]}"
  export ORVEK23_AARCH64_ROOT=$root
  # Python's module would need the other machine's Python.
  exec scripts/package.sh build/package-arm64 --host-arch arm64 --build-profiles=cross,nopython \
    --no-check-builddeps
fi
cmake --preset aarch64
cmake --build --preset aarch64 ${1:+--target "$@"}
if (($#)); then
  for program in "$@"; do
    qemu-aarch64 -L "$root" "build/aarch64/bin/$program" --gtest_brief=1
  done
else
  ctest --preset aarch64
fi
