#!/usr/bin/env bash
# Builds the host of tests/consumer/ against the package installed in TREE in other ways than the
# package was built, and runs it; builds that cannot work must be refused with a reason.
#
#   hosts.sh TREE COMPILER [OTHER]
set -euo pipefail
host=$(dirname "${BASH_SOURCE[0]}")/../consumer/boundary.cpp
tree=$1 compiler=$2 other=${3:-$2}
build=$(mktemp -d)
trap 'rm -rf "$build"' EXIT
export PKG_CONFIG_PATH=$tree/share/pkgconfig
read -ra cflags <<< "$(pkg-config --cflags orvek23)"
read -ra libs <<< "$(pkg-config --libs orvek23)"

compile() {
  "$@" -std=c++17 -O1 "${cflags[@]}" "$host" -o "$build/host" "${libs[@]}"
}

works() {
  echo "$*"
  compile "$@"
  local status=0
  "$build/host" "$tree/lib/liborvek23.so" "$tree/lib/orvek23/libktmath.so" \
    "$tree/lib/liborvek23-checked.so" || status=$?
  ((status == 0 || status == 77))
}
works "$other"
works "$compiler" -fsanitize=address,undefined -fno-sanitize-recover=all
if [[ $(uname -m) == x86_64 ]]; then
  works "$other" -mavx512f -mavx512dq -mavx512bw -mavx512vl -mfma
fi
works "$other" -D_GLIBCXX_ASSERTIONS

refused() {
  local reason=$1
  shift
  if compile "$@" 2> "$build/errors.txt" || ! grep -q "$reason" "$build/errors.txt"; then
    echo "hosts.sh: $*: not refused for \"$reason\"" >&2
    head "$build/errors.txt" >&2
    exit 1
  fi
  echo "$*: refused"
}
refused "another layout than the plug-in's" "$compiler" -D_GLIBCXX_DEBUG
refused "exchanges C++11 strings" "$compiler" -D_GLIBCXX_USE_CXX11_ABI=0
