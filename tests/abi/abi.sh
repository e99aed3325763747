#!/usr/bin/env bash
# Compares the binary interfaces of the plug-in and of libktmath.so, as COMPILER makes them, with the
# stored ones (libabigail), and shows that the comparison sees two virtual functions change places.
#
#   abi.sh COMPILER [--renew]      --renew stores them anew: a change of the major version
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
compiler=$1 renew=${2:-}
here=tests/abi
build=$(mktemp -d)
trap 'rm -rf "$build"' EXIT

# What a library exports, without what depends on the folder or on the machine.
describe() {
  local name=$1 sources=$2
  shift 2
  local debug=-g
  if "$compiler" --version | grep -q clang; then
    debug=-fstandalone-debug  # it leaves out types that it takes another source to describe
  fi
  # Eigen by the option for system headers: its own warnings aside.
  "$compiler" -std=c++17 -g "$debug" -O0 -fPIC -shared -fvisibility-inlines-hidden -I"$sources" \
    -isystem /usr/include/eigen3 -DEIGEN_MAX_ALIGN_BYTES=16 "$@" -o "$build/lib$name.so"
  abidw --no-corpus-path --no-comp-dir-path --no-show-locs --no-architecture --no-elf-needed \
    --drop-private-types --headers-dir "$sources/host" --headers-dir "$sources/ktmath" "$build/lib$name.so" > "$build/$name.abi"
}
compare() {
  abidiff --no-added-syms --no-show-locs --no-architecture "$1" "$2"
}

interface() {
  describe "$1" "$2" -fvisibility=hidden -Wl,--version-script=host/plugin.map $here/interface.cpp
}
interface interface .
describe ktmath . ktmath/ktmath.cpp
for name in interface ktmath; do
  if [[ $renew == --renew ]]; then
    gzip -9nc "$build/$name.abi" > "$here/$name.abi.gz"
  fi
  gunzip -c "$here/$name.abi.gz" > "$build/$name-stored.abi"
  compare "$build/$name-stored.abi" "$build/$name.abi" || {
    echo "abi.sh: hosts that are compiled already would break: $name" >&2
    exit 1
  }
done

# Two operations of one signature, so that nothing but their places differs.
mkdir "$build/swapped"
cp -r host ktmath "$build/swapped/"
sed -i -e 's/computeFwdKinematicsExceptRoot() = 0/SWAP() = 0/
           s/computeFwdKinematicsOnlyRoot() = 0/computeFwdKinematicsExceptRoot() = 0/
           s/SWAP() = 0/computeFwdKinematicsOnlyRoot() = 0/' "$build/swapped/host/rigid_body_system.hpp"
interface swapped "$build/swapped"
if compare "$build/interface-stored.abi" "$build/swapped.abi" > "$build/report.txt"; then
  echo "abi.sh: two virtual functions changed places, and nobody noticed" >&2
  exit 1
fi
grep -q "the vtable offset of .*computeFwdKinematicsOnlyRoot.* changed" "$build/report.txt" || {
  cat "$build/report.txt" >&2
  exit 1
}
echo "abi.sh: as stored; a swap of two virtual functions is seen"
