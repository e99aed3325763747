# shellcheck shell=bash disable=SC2034
# Sourced by the other scripts: what each of them needs of Debian, and how it gets there.

build_packages=(g++ cmake ninja-build help2man libeigen3-dev libboost-dev libcli11-dev
  libtbb-dev libtinyxml2-dev nlohmann-json3-dev)
# What the module for Python is built with, and what its tests use of the packages that it can use.
python_packages=(pybind11-dev python3-dev python3-numpy)
python_test_packages=("${python_packages[@]}" mypy python3-distributed python3-hypothesis
  python3-matplotlib python3-pandas python3-pip python3-pytest python3-scipy python3-setuptools
  python3-tqdm python3-wheel)
package_packages=("${build_packages[@]}" "${python_packages[@]}" debhelper dh-python doxygen dpkg-dev)
test_packages=("${build_packages[@]}" "${python_test_packages[@]}" abigail-tools g++-12 chromium clang-14
  doxygen dpkg-dev file gnuplot-nox libgtest-dev libdart-utils-urdf-dev libkdl-parser-dev libmujoco-dev
  liborocos-kdl-dev libsdformat-dev
  liburdfdom-dev pkgconf)

# Makes sure that the packages named are installed: quietly if they are, with apt if root's rights
# are to be had without a question, else with an error that names the missing ones.
need_packages() {
  if ! command -v dpkg-query > /dev/null; then
    echo "Not a Debian system: taking for granted what these packages hold: $*" >&2
    return
  fi
  local missing=() package
  for package in "$@"; do
    [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2> /dev/null) == installed ]] ||
      missing+=("$package")
  done
  ((${#missing[@]})) || return 0

  local as_root=()
  if ((EUID != 0)); then
    if ! sudo -n true 2> /dev/null; then
      echo "Missing packages: ${missing[*]}" >&2
      echo "Install them as root: apt-get update && apt-get install ${missing[*]}" >&2
      exit 1
    fi
    as_root=(sudo -n)
  fi
  echo "Installing: ${missing[*]}"
  if ! { "${as_root[@]}" apt-get -q update &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get -q install --yes --no-install-recommends "${missing[@]}"; }; then
    echo "Could not install all of: ${missing[*]}" >&2
    exit 1
  fi
}

# Makes sure that there are Node.js and npm, which bundle the page of orvek23-replay --report: those
# that are there, whoever brought them, else Debian's.
need_node() {
  if ! command -v node > /dev/null || ! command -v npm > /dev/null; then need_packages nodejs npm; fi
}
