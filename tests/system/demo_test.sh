#!/usr/bin/env bash
# The demo, twice at once, on the sample and on a registry that a server really has if there is one here.
#
# usage: demo_test.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
command -v jq >/dev/null || { echo "SKIPPED: no jq"; exit 77; }
source_dir=$1
build_dir=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
  printf 'FAILED: %s\n' "$*" >&2
  tail -n 30 "$scratch"/*.log >&2
  exit 1
}

real=$source_dir/../shared/data/server-a.registry.json
second=(--registry "$real")
if [ ! -r "$real" ]; then
  echo "no real registry here: the sample stands in for it"
  second=(--registry "$source_dir/tools/sample/server.registry.json")
fi
export TMPDIR=$scratch
"$source_dir/tools/demo.sh" "$build_dir" >"$scratch/first.log" 2>&1 &
first=$!
"$source_dir/tools/demo.sh" "$build_dir" "${second[@]}" >"$scratch/second.log" 2>&1 || fail "the second demo"
wait "$first" || fail "the first demo"
for log in first second; do
  for wanted in 'dp_settingsd: ready' 'is not one of' 'pending until the server restarts' \
    '6  another BIOS build is installed' 'stopped; the scratch folder is removed'; do
    grep -q "$wanted" "$scratch/$log.log" || fail "the $log demo does not show: $wanted"
  done
done
left=$(find "$scratch" -maxdepth 1 -name 'dp-demo.*')
[ -z "$left" ] || fail "left behind: $left"

# Wrong usage and files that are no registries get a clear answer.
status=0
"$source_dir/tools/demo.sh" "$build_dir" --nonsense >"$scratch/wrong.log" 2>&1 || status=$?
[ $status -eq 2 ] || fail "wrong usage exits with $status"
echo '{"RegistryEntries": 7' >"$scratch/garbage.json"
for file in "$scratch/garbage.json" "$scratch/missing.json" "$scratch"; do
  status=0
  "$source_dir/tools/demo.sh" "$build_dir" --registry "$file" >"$scratch/garbage.log" 2>&1 || status=$?
  [ $status -eq 1 ] || fail "$file: exit $status"
done
echo "both demos walked the road"
