#!/usr/bin/env bash
# Runs the examples of the API documentation's pages in an empty folder, where no service runs.
#
# usage: api_snippets_test.sh PROGRAM SNIPPET_FOLDER
set -euo pipefail
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$scratch/tmp" "$scratch/files"
DP_ROOT=$scratch DP_LOG=stderr DP_LOG_MASK=$((0x10000000)) DP_LOG_TAG=example \
  "$1" "$scratch/files" >"$scratch/out" 2>"$scratch/err"
sed "s|$scratch||" "$scratch/out" | diff "$2/expected.txt" -
# The platform's example writes to the log.
grep -q 'ERR fan 2 has stopped$' "$scratch/err"
# Each page has its example, and each example its page.
for snippet in "$2"/*.cpp; do
  name=$(basename "$snippet" .cpp)
  [ "$name" = main ] || grep -qx "@snippet $name.cpp example" "$2/../groups.dox"
done
