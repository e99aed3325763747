#!/bin/sh
# Reads from libraries and programs what protects them; with --protected-stack FILE..., canaries, too.
set -eu
canary=
for file; do
  if [ "$file" = --protected-stack ]; then
    canary=yes
    continue
  fi
  fail() {
    echo "$file: $1" >&2
    exit 1
  }
  elf=$(readelf --wide --dynamic --program-headers "$file")
  case $elf in *BIND_NOW*) ;; *) fail "symbols are bound late" ;; esac
  case $elf in *GNU_RELRO*) ;; *) fail "symbols stay writable" ;; esac
  stack=$(echo "$elf" | grep GNU_STACK) || fail "no word of the stack: it is executable"
  case $stack in *RWE*) fail "the stack is executable" ;; esac
  case $elf in *"LOAD"*"RWE"*) fail "memory that is both writable and executable" ;; esac
  case $elf in *TEXTREL*) fail "code is written to when it is loaded" ;; esac
  if [ -n "$canary" ]; then
    nm --dynamic "$file" | grep -q __stack_chk_fail || fail "no stack protector"
  fi
done
