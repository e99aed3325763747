#!/usr/bin/env bash
# Sets up this machine and makes the Debian packages orvek23, orvek23-dev, orvek23-tools and
# python3-orvek23 in build/package, or in the folder that is named: the same bytes wherever they are made.
# Further words go to dpkg-buildpackage.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

need_packages "${package_packages[@]}"
need_node
folder=${1:-build/package}
# Of a copy, as the build leaves its files in the sources.
rm -rf "$folder"
mkdir -p "$folder/orvek23"
tar --create --exclude=./build --exclude=./.git --exclude=./report/node_modules . |
  tar --extract --directory "$folder/orvek23"
(cd "$folder/orvek23" && dpkg-buildpackage --build=binary --no-sign "${@:2}")
rm -rf "$folder/orvek23"
ls "$folder"/*.deb
