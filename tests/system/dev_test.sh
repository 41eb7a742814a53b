#!/usr/bin/env bash
# What ./dev makes of its arguments, with stand-ins for all that it would run.
#
# usage: dev_test.sh SOURCE_DIR
set -euo pipefail
scratch=$(realpath "$(mktemp -d)")
trap 'rm -rf "$scratch"' EXIT

fail() {
  printf 'FAILED: %s\n' "$*" >&2
  exit 1
}

mkdir -p "$scratch/tree/tools" "$scratch/elsewhere" "$scratch/bin"
cp "$1/dev" "$scratch/tree/"
# Every package is there, and everything is built.
printf '#!/bin/sh\nprintf installed\n' >"$scratch/bin/dpkg-query"
printf '#!/bin/sh\n: >"%s/built"\n' "$scratch" >"$scratch/bin/cmake"
# shellcheck disable=SC2016 # the stand-in expands them
printf '#!/bin/sh\necho "$PWD: $*"\n' >"$scratch/tree/tools/demo.sh"
chmod +x "$scratch/bin/"* "$scratch/tree/tools/demo.sh"
export PATH=$scratch/bin:$PATH
cd "$scratch/elsewhere"

# A relative name is meant from where the command was typed.
told=$(../tree/dev demo --registry r.json 2>/dev/null)
[ "$told" = "$scratch/elsewhere: $scratch/tree/build/demo --registry r.json" ] || fail "the demo is told: $told"

# Wrong arguments are refused before anything is built.
rm -f "$scratch/built"
for arguments in 'demo --nonsense' 'fuzz ten' 'fuzz 0' 'fuzz --help' 'fuzz 1 2' 'lint --nonsense' \
  'lint --quick --nonsense' 'abi --nonsense' 'abi --update now' 'size now' 'package amd64' 'nonsense' ''; do
  status=0
  # shellcheck disable=SC2086 # they are several words
  ../tree/dev $arguments >/dev/null 2>"$scratch/log" || status=$?
  [ $status -ne 0 ] || fail "dev $arguments: is taken"
  [ -s "$scratch/log" ] || fail "dev $arguments: no word about it"
  [ ! -e "$scratch/built" ] || fail "dev $arguments: builds first"
done
echo "all arguments were taken as they were typed"
