#!/usr/bin/env bash
# Makes the Debian packages twice, in different folders and with different surroundings, and holds
# them to what they promise: the same bytes, no error of lintian's, hardened, whole. With --short: once,
# so not to the same bytes, and without Python's module.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
source scripts/packages.sh
need_packages "${build_packages[@]}" "${python_packages[@]}" binutils lintian man-db pkgconf

fail() {
  echo "debian.sh: $*" >&2
  exit 1
}

short=
[[ ${1:-} != --short ]] || short=--build-profiles=nopython
scripts/package.sh build/package $short
packages=(build/package/*.deb)
other=$(mktemp -d)
trap 'rm -rf "$other"' EXIT
if [[ -z $short ]]; then
  mkdir "$other/copy"
  tar --create --exclude=./build --exclude=./.git --exclude=./report/node_modules . |
    tar --extract --directory "$other/copy"
  (cd "$other/copy" && umask 027 && chmod -R g-w,o-rwx . &&
    TZ=Asia/Tokyo LC_ALL=C HOME=/nonexistent scripts/package.sh "$other/somewhere/else")
  echo "The same bytes:"
  for package in "${packages[@]}"; do
    cmp "$package" "$other/somewhere/else/$(basename "$package")"
    sha256sum "$package"
  done
fi
[[ ${#packages[@]} == $((${#short} ? 3 : 4)) ]] || fail "${#packages[@]} packages: ${packages[*]}"
lintian --fail-on error,warning --allow-root build/package/*.changes

root=$other/root
for package in "${packages[@]}"; do
  dpkg-deb --extract "$package" "$root"
  [[ $package != */python3-* ]] || continue  # its scripts are those that compile any module
  for script in preinst postinst prerm postrm; do
    [[ ! $(dpkg-deb --ctrl-tarfile "$package" | tar --list) == *$script* ]] || fail "$package: $script"
  done
done
for program in orvek23-replay orvek23-urdf; do
  "$root/usr/bin/$program" > "$other/$program.txt"
  man --warnings "$root/usr/share/man/man1/$program.1.gz" > /dev/null
  [[ $(dpkg-parsechangelog --show-field Version) == $("$root/usr/bin/$program" --version | cut -d' ' -f2) ]] ||
    fail "the version in debian/changelog is another than the programs'"
done
# On the loader's default path the stand-in could be taken for the host platform's library.
[[ ! -e $root/usr/lib/libktmath.so ]] || fail "The stand-in for the platform's library is in /usr/lib"
[[ -e $root/usr/share/doc/orvek23-dev/html/index.html ]] || fail "no HTML"
! grep -rIlF -e "$PWD" -e "$other" "$root" || fail "folders of this machine are named in these"

tests/packaging/hardening.sh "$root"/usr/lib/orvek23/libktmath.so \
  --protected-stack "$root"/usr/lib/liborvek23.so "$root"/usr/bin/*

# A host, built against what was unpacked: by CMake, by pkg-config, and by the pkg-config of another
# machine, which sees all folders below a system root.
cat > "$other/host.cpp" << 'EOF'
#include <host/loader.hpp>
int main() { return tavo::Plugin(ORVEK23_PLUGIN).create()->getNbBodies() == 23 ? 0 : 1; }
EOF
cat > "$other/CMakeLists.txt" << 'EOF'
cmake_minimum_required(VERSION 3.16)
project(host LANGUAGES CXX)
find_package(orvek23 CONFIG REQUIRED)
add_executable(host host.cpp)
target_link_libraries(host PRIVATE orvek23::host)
target_compile_definitions(host PRIVATE ORVEK23_PLUGIN="${ORVEK23_PLUGIN}")
EOF
cmake -S "$other" -B "$other/build" -G Ninja -DCMAKE_PREFIX_PATH="$root/usr"
cmake --build "$other/build"
"$other/build/host"

pc() {
  PKG_CONFIG_PATH=$root/usr/share/pkgconfig pkg-config "$@"
}
# shellcheck disable=SC2046  # its answers are words
g++ -std=c++17 -DORVEK23_PLUGIN="\"$(pc --variable=plugin orvek23)\"" "$other/host.cpp" \
  -o "$other/pc_host" $(pc --cflags --libs orvek23)
"$other/pc_host"
flags=$(PKG_CONFIG_SYSROOT_DIR=$root pc --define-variable=runpath=/usr/lib/orvek23 --cflags --libs orvek23)
[[ $flags != *"$root$root"* ]] || fail "a system root twice: $flags"
[[ " $flags " == *" -Wl,-rpath,/usr/lib/orvek23 "* ]] || fail "a run path on this machine: $flags"
if [[ -z $short ]]; then
  # The module, with the plug-in that was unpacked beside it.
  tests/packaging/hardening.sh --protected-stack "$root"/usr/lib/python3/dist-packages/orvek23/_core.*.so
  PYTHONPATH=$root/usr/lib/python3/dist-packages PYTHONDONTWRITEBYTECODE=1 /usr/bin/python3 -c '
import orvek23
r = orvek23.evaluate(orvek23.load(orvek23.WALK), "torque")
assert r.computed_by == "batch" and r.plugin == orvek23.default_plugin() and len(r) == 801
'
fi
echo "debian.sh: all good"
