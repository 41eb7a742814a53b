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

# What the demo with the log $1 put in front of the names of its message queues.
queue_prefix() {
  sed -n 's/.* DP_QUEUE_PREFIX=//p' "$scratch/$1.log"
}
# Fails when a folder is left behind, or a message queue with one of the prefixes. Queues need not be mounted
# as files: opening them tells.
check_left() {
  local left
  left=$(find "$scratch" -maxdepth 1 -name 'dp-demo.*')
  [ -z "$left" ] || fail "left behind: $left"
  left=$(python3 "$source_dir/tests/system/left_queues.py" "$@") || fail "left behind: ${left:-unknown queues}"
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
    'TIME *TRANSACTION *SETTING *VALUE' 'plugin .*  settings_changed ' 'plugin .*  server_restarted ' \
    'plugin .*  bios_updated ' 'service  server_restarted ' 'service  bios_updated ' \
    'dpctl: refused: pipe is not supported' '12 *Fan *Fan failure' \
    '6  another BIOS build is installed' 'stopped; the scratch folder is removed'; do
    grep -q "$wanted" "$scratch/$log.log" || fail "the $log demo does not show: $wanted"
  done
done
first_prefix=$(queue_prefix first)
second_prefix=$(queue_prefix second)
[ "$first_prefix" != "$second_prefix" ] || fail "both demos used the queues of $first_prefix"
check_left "$first_prefix" "$second_prefix"

# A demo that is ended early leaves nothing either.
"$source_dir/tools/demo.sh" "$build_dir" >"$scratch/ended.log" 2>&1 &
ended=$!
for _ in $(seq 300); do
  ! grep -qs 'listening on queues' "$scratch/ended.log" || break
  sleep 0.1
done
grep -q 'listening on queues' "$scratch/ended.log" || fail "no listener in the demo to end"
kill -TERM "$ended"
status=0
wait "$ended" || status=$?
[ $status -eq 143 ] || fail "a demo that was ended exits with $status"
check_left "$(queue_prefix ended)"

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
