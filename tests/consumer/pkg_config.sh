#!/bin/sh
# Builds HOST with COMPILER and pkg-config's answers alone; compares what it prints with OUTPUT, if
# one is given.
host=$1 compiler=$2 output=$3
set -e
eigen_s_own_warnings_aside=$(pkg-config --cflags eigen3 | sed 's/-I/-isystem/')
plugin=$(pkg-config --variable=plugin orvek23)
# shellcheck disable=SC2046,SC2086  # its answers are words
$compiler -std=c++17 -Wall -Wextra -Werror $eigen_s_own_warnings_aside \
  -DORVEK23_PLUGIN="\"$plugin\"" "$host" -o pkg_config_host $(pkg-config --cflags --libs orvek23)
[ -z "$output" ] || ./pkg_config_host | diff "$output" -
