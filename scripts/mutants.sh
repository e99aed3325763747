#!/usr/bin/env bash
# Sets up this machine and counts the planted faults that the tests find: docs/mutants.md. Goes on
# where it was stopped; what was found stands in build/mutants/results.tsv. With --sample N: so many
# at random, of those that one step of tests finds.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

need_packages "${test_packages[@]}" git python3
exec python3 tests/mutants.py "$@"
