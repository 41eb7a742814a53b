#!/usr/bin/env bash
# Runs the demo twice at once: with the sample registry, and with a real server's registry if there is one.
#
# usage: demo_test.sh SOURCE_DIR BUILD_DIR [DATA_DIR]
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

# The prefix of the message queues of the demo with the log $1.
queue_prefix() {
  sed -n 's/.* DP_QUEUE_PREFIX=//p' "$scratch/$1.log"
}
# Fails when a folder is left over, or a message queue with one of the prefixes. The queues are opened,
# because they need not be mounted as files.
check_left() {
  local left
  left=$(find "$scratch" -maxdepth 1 -name 'dp-demo.*')
  [ -z "$left" ] || fail "left over: $left"
  left=$(python3 "$source_dir/tests/system/left_queues.py" "$@") || fail "left over: ${left:-unknown queues}"
}

real=${3:+$3/server-a.registry.json}
if [ ! -r "$real" ]; then
  echo "no real registry (${real:-DP_TEST_DATA_DIR is not set}): using the sample twice"
  real=$source_dir/examples/registry/server.registry.json
fi
export TMPDIR=$scratch
"$source_dir/tools/demo.sh" "$build_dir" >"$scratch/first.log" 2>&1 &
first=$!
"$source_dir/tools/demo.sh" "$build_dir" --registry "$real" >"$scratch/second.log" 2>&1 || fail "the second demo"
wait "$first" || fail "the first demo"
for log in first second; do
  for wanted in 'dp_settingsd: ready' 'is not one of' 'pending until the server restarts' \
    'TIME *TRANSACTION *CLIENT *ID *SETTING *FROM *TO' 'plugin .*  settings_changed ' 'plugin .*  server_restarted ' \
    'plugin .*  bios_updated ' 'service  server_restarted ' 'service  bios_updated ' \
    'dpctl: refused: pipe is not supported' '12 *Fan *Fan failure' \
    '6  another BIOS build is installed' 'dp_redfishd: ready https://127' '^200$' '^204$' \
    'demo with uid=.*program=.*dp_redfishd' 'stopped; the scratch folder is removed'; do
    grep -q "$wanted" "$scratch/$log.log" || fail "the $log demo does not show: $wanted"
  done
done
# Redfish shows the change as pending and, after the restart, as current.
for log in first second; do
  mapfile -t values < <(sed -n 's/.*"Attributes":\({[^{}]*}\)}$/\1/p' "$scratch/$log.log")
  [ ${#values[@]} -eq 4 ] || fail "the $log demo does not show 4 values with Redfish: ${values[*]}"
  if [ "${values[0]}" != "${values[2]}" ] || [ "${values[1]}" != "${values[3]}" ] ||
    [ "${values[0]}" = "${values[1]}" ]; then
    fail "the $log demo shows the values ${values[*]}"
  fi
done
first_prefix=$(queue_prefix first)
second_prefix=$(queue_prefix second)
[ "$first_prefix" != "$second_prefix" ] || fail "both demos used the queues of $first_prefix"
check_left "$first_prefix" "$second_prefix"

# end_demo LOG BUILD_DIR SIGN: starts a demo, ends it when SIGN is true, and checks what it leaves.
end_demo() {
  "$source_dir/tools/demo.sh" "$2" >"$scratch/$1.log" 2>&1 &
  local demo=$! status=0
  until eval "$3"; do
    kill -0 "$demo" 2>/dev/null || fail "the $1 demo ended on its own"
    sleep 0.1
  done
  kill -TERM "$demo"
  wait "$demo" || status=$?
  [ $status -eq 143 ] || fail "the $1 demo exits with $status"
  check_left "$(queue_prefix "$1")"
}

# A demo that is ended early leaves nothing either.
# shellcheck disable=SC2016 # they are expanded later
end_demo early "$build_dir" 'grep -qs "listening on queues" "$scratch/early.log"'

# Nor does one with a background command that keeps making files.
mkdir -p "$scratch/busy/bin"
ln -s "$build_dir/lib" "$scratch/busy/lib"
ln -s "$build_dir/bin/"* "$scratch/busy/bin/"
rm "$scratch/busy/bin/dpctl"
cat >"$scratch/busy/bin/dpctl" <<EOF
#!/bin/sh
if [ "\$1" = list ]; then
  : >"$scratch/is_busy"
  end=\$((\$(date +%s) + 2))
  while [ "\$(date +%s)" -le \$end ]; do
    for i in \$(seq 1000); do
      : >"\$DP_ROOT/tmp/dp/text.\$i"
    done
  done
fi
exec "$build_dir/bin/dpctl" "\$@"
EOF
chmod +x "$scratch/busy/bin/dpctl"
# shellcheck disable=SC2016
end_demo busy "$scratch/busy" '[ -e "$scratch/is_busy" ]'

# Wrong usage and files that are not registries get a clear answer.
status=0
"$source_dir/tools/demo.sh" "$build_dir" --nonsense >"$scratch/wrong.log" 2>&1 || status=$?
[ $status -eq 2 ] || fail "wrong usage exits with $status"
echo '{"RegistryEntries": 7' >"$scratch/garbage.json"
for file in "$scratch/garbage.json" "$scratch/missing.json" "$scratch"; do
  status=0
  "$source_dir/tools/demo.sh" "$build_dir" --registry "$file" >"$scratch/garbage.log" 2>&1 || status=$?
  [ $status -eq 1 ] || fail "$file: exit $status"
done
echo "both demos ran to their end"
