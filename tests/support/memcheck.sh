#!/usr/bin/env bash
# Runs a program of unit tests in valgrind's memcheck. Leaked memory is an error too, except what a
# thread that still runs at the end owns.
#
# usage: memcheck.sh PROGRAM [OPTION...]
set -euo pipefail
program=$1
shift
scratch=$(realpath "$(mktemp -d)")
trap 'rm -rf "$scratch"' EXIT
chmod 755 "$scratch" # Tests act as other users too.
# The tests of dp_api_start count what the process reads, and valgrind reads too. The programs keep
# their own operator new, which fails in some tests. With the variables the program does not start
# itself again in a scratch folder, where valgrind would not follow it.
DP_SCRATCH_PROCESS=1 DP_ROOT=$scratch \
  valgrind --quiet --leak-check=full --show-leak-kinds=definite,indirect \
  --errors-for-leak-kinds=definite,indirect --soname-synonyms=somalloc=nouserintercepts \
  --error-exitcode=99 --num-callers=20 \
  "$program" --gtest_brief=1 --gtest_filter='-dp_api_start.*' "$@" 2>&1
printf '%s: nothing found in %d s\n' "$(basename "$program")" "$SECONDS"
