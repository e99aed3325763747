#!/usr/bin/env bash
# Checks that run nothing: shell scripts, spelling, C++ by cppcheck, and, some minutes that --short leaves
# out, clang-tidy (.clang-tidy) and includes: every header is compiled alone (those of hosts in every build,
# cmake/orvek23_header_check.cmake). Hardening is checked by the test of that name.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/packages.sh

need_packages "${build_packages[@]}" clang-14 clang-tidy-14 codespell cppcheck git shellcheck

echo "shellcheck"
git ls-files -z '*.sh' .ci/run | xargs -0 shellcheck -x

echo "codespell"
# kInf and fo are names, vermillion a colour's, "to and fro" is English, "reprot" a fault that a test makes.
git ls-files -z '*.md' '*.hpp' '*.cpp' '*.py' '*.sh' '*.cmake' '*.h2m' debian |
  xargs -0 codespell --ignore-words-list=fo,fro,kinf,reprot,vermillion

echo "cppcheck"
# What cppcheck 2.10 can parse: not lambdas in templates' initializers (lanes/, algorithms/), nor a
# literal such as 200ms.
cppcheck --std=c++20 --language=c++ --enable=warning,performance,portability --inline-suppr \
  --suppress=syntaxError --suppress=cppcheckError --error-exitcode=1 --quiet -I . \
  ktmath motion quantities apps host/loader.hpp host/rigid_body_system.hpp

if [[ ${1:-} != --short ]]; then
  echo "headers"
  need_packages "${test_packages[@]}"
  need_node
  cmake --preset ci > /dev/null
  cmake --build --preset ci --target orvek23_header_check

  echo "clang-tidy"
  cmake --preset ci-clang -B build/static > /dev/null
  git ls-files -z 'ktmath/*.cpp' 'motion/*.cpp' 'host/plugin.cpp' 'quantities/*.cpp' 'batch/batch.cpp' \
    'apps/*.cpp' | xargs -0 -n 4 -P "$(nproc)" clang-tidy-14 -p build/static --quiet
fi
echo "static.sh: all good"
