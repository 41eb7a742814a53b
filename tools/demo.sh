#!/usr/bin/env bash
# Demonstrates everything with real processes in a scratch folder: compiles a registry, starts the settings
# service, and lists, reads, changes and resets the BIOS attributes of a simulated server, while a listener
# receives the alerts. Also shows the status of a batch, the change history, the vetter of command lines, and
# the event categories, and ends with a Redfish service and curl as its client.
#
# usage: demo.sh BUILD_DIR [--registry FILE]
set -euo pipefail

fail() {
  printf 'demo: %s\n' "$*" >&2
  exit 1
}

source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=$(cd "$1" && pwd)
shift
registry=$source_dir/examples/registry/server.registry.json
own_registry=
while [ $# -gt 0 ]; do
  case $1 in
    --registry)
      [ $# -ge 2 ] || { echo "demo: --registry needs a file" >&2; exit 2; }
      registry=$2 own_registry=yes
      shift 2
      ;;
    --registry=*)
      registry=${1#*=} own_registry=yes
      shift
      ;;
    *)
      echo "usage: ./dev demo [--registry FILE]" >&2
      exit 2
      ;;
  esac
done
if [ ! -f "$registry" ] || [ ! -r "$registry" ]; then
  fail "cannot read the registry $registry"
fi
registry=$(realpath "$registry")

scratch=$(mktemp -d -t dp-demo.XXXXXX)
service=
background=
listener=
redfish=
clean_up() {
  local status=$?
  trap - EXIT
  if [ -n "$redfish" ] && kill "$redfish" 2>/dev/null; then
    wait "$redfish" 2>/dev/null || true
  fi
  if [ -n "$background" ] && kill "$background" 2>/dev/null; then
    wait "$background" 2>/dev/null || true
  fi
  # The listener removes its queues when it ends.
  if [ -n "$listener" ] && kill "$listener" 2>/dev/null; then
    wait "$listener" 2>/dev/null || true
  fi
  if [ -n "$service" ] && kill "$service" 2>/dev/null; then
    wait "$service" 2>/dev/null || true
  fi
  if [ $status -ne 0 ] && [ -s "$scratch/service.log" ]; then
    echo "demo: the settings service's log:" >&2
    tail -n 20 "$scratch/service.log" >&2
  fi
  # A tool that the signal interrupted may still create files for a moment.
  local tries=100
  until rm -rf "$scratch" 2>/dev/null; do
    if [ $((tries -= 1)) -eq 0 ]; then
      echo "demo: $scratch cannot be removed" >&2
      break
    fi
    sleep 0.1
  done
  exit $status
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# The fixed paths of a board are below the scratch folder.
export DP_ROOT=$scratch
# Message queues have no folder; a unique prefix separates the queues of several demos.
DP_QUEUE_PREFIX=$(basename "$scratch")
export DP_QUEUE_PREFIX
export LD_LIBRARY_PATH=$build_dir/lib/relocatable:$build_dir/lib
export PATH=$build_dir/bin:$PATH
unset DP_LOG DP_LOG_MASK DP_LOG_TAG
mkdir -p "$scratch/bin" "$scratch/tmp"
ln -s "$build_dir/bin/dpspy" "$build_dir/bin/sysvpd" "$scratch/bin/"

if [ -t 1 ]; then
  title() { printf '\n\033[1m# %s\033[0m\n' "$*"; }
  prompt() { printf '\033[32m$ %s\033[0m\n' "$*"; }
else
  title() { printf '\n# %s\n' "$*"; }
  prompt() { printf '$ %s\n' "$*"; }
fi
# The arguments as a person would type them.
quoted() {
  local word text=
  for word in "$@"; do
    case $word in
      *[!A-Za-z0-9_.,:=/+@%-]* | '') word="'$word'" ;;
    esac
    text+="${text:+ }$word"
  done
  printf '%s' "$text"
}
run() {
  prompt "$(quoted "$@")"
  "$@" 2>&1
}
# Prints only the first lines of a long table.
run_head() {
  local lines=$1 output
  shift
  prompt "$(quoted "$@")"
  output=$("$@" 2>&1)
  # No pipe: head ends after its lines, which would kill a program that is still writing.
  head -n "$lines" <<<"$output"
  local total
  total=$(printf '%s\n' "$output" | wc -l)
  local more=$((total - lines))
  if [ $more -eq 1 ]; then
    echo '... 1 more line'
  elif [ $more -gt 1 ]; then
    printf '... %d more lines\n' $more
  fi
}
# Waits until the process with the id $1 has written $2 to the file $3.
await() {
  for _ in $(seq 1200); do
    if grep -qs -e "$2" "$3"; then
      return 0
    fi
    kill -0 "$1" 2>/dev/null || return 1
    sleep 0.1
  done
  return 1
}

cd "$scratch"
cp "$registry" registry.json
title "A scratch folder replaces the board's root, and a prefix separates its message queues"
prompt "export DP_ROOT=$DP_ROOT DP_QUEUE_PREFIX=$DP_QUEUE_PREFIX"

title "Compile the server's attribute registry into a BIOS template and its initial values"
unfit=()
if [ -n "$own_registry" ] && ! dp-template registry.json -o /dev/null >/dev/null 2>&1; then
  unfit=(--skip-unfit)
fi
run dp-template registry.json -o template.efi --settings settings.txt --current current.txt "${unfit[@]}"
run dp-server install --template template.efi --settings settings.txt --current current.txt --build-id DEMO-1.00

title "Start the settings service (another process)"
prompt "dp_settingsd &"
dp_settingsd >"$scratch/ready" 2>"$scratch/service.log" &
service=$!
await "$service" 'dp_settingsd: ready' "$scratch/ready" ||
  fail "the settings service did not become ready: $(cat "$scratch/service.log")"
cat "$scratch/ready"

title "Listen for alerts (a third process)"
prompt "dpctl alerts &"
dpctl alerts >"$scratch/alerts" 2>"$scratch/listening" &
listener=$!
await "$listener" 'listening on' "$scratch/listening" || fail "no listener: $(cat "$scratch/listening")"
cat "$scratch/listening"

# Chooses three settings of any registry, and values other than their pending ones.
collections=$(dpctl collections --json | jq -r '.collections[].name')
# shellcheck disable=SC2016 # jq's variables, not the shell's
choose='
  [.attributes[] | select(.read_only | not)
   | . as $a | .settings[0] as $s | select($s.pending != null)
   | if .type == "enumeration" then
       ([.possible_values[] | select(. != $s.pending and . != "" and (test("[\"\\\\]") | not))][0]) as $new
       | select($new != null) | {name: $s.name, type, new: $new}
     elif .type == "integer" then
       (if (($s.pending | tonumber?) // null) != .minimum then .minimum
        else .minimum + ([.step, 1] | max) end) as $new
       | select($new <= .maximum) | {name: $s.name, type, new: ($new | tostring)}
     else empty end]'
changes='[]'
for collection in $collections; do
  mapfile -t names < <(dpctl list "$collection" --json | jq -r '[.settings[] | select(.read_only | not) | .name][:200][]')
  [ ${#names[@]} -gt 0 ] || continue
  changes=$(jq -n --argjson old "$changes" --argjson more "$(dpctl show --json "${names[@]}" | jq "$choose")" \
    '$old + $more')
done
[ "$(jq length <<<"$changes")" -gt 0 ] || fail "the registry has no attribute that this demo could change"
# Two enumerations and an integer, so that the change shows both types.
changes=$(jq -c '[(map(select(.type == "enumeration"))[0:2], map(select(.type == "integer"))[0:1]) | .[]]' <<<"$changes")
mapfile -t assignments < <(jq -r '.[] | "\(.name)=\(.new)"' <<<"$changes")
first=${assignments[0]%%=*}
collection=${first%%.*}
refused=$(jq -r '(map(select(.type == "enumeration")) + .)[0] | .name' <<<"$changes")=NotThisOne

title "List"
run dpctl collections
run_head 12 dpctl list "$collection"
title "Show one attribute, and get values"
run dpctl show "$first"
run dpctl get "${assignments[@]%%=*}"

title "Change several values in one batch"
run dpctl set "${assignments[@]}"
title "A value that the attribute does not allow is refused, with the reason"
run dpctl set "$refused" && fail "an invalid value was accepted"
echo "(exit code 1)"

title "The status of the last batch, and the changes so far"
run dpctl status
run dpctl history --last 5

title "The changes are pending; a restart of the server makes them current"
run dpctl get --current "${assignments[@]%%=*}"
run dp-server restart
run dpctl get --current "${assignments[@]%%=*}"

title "A BIOS update installs another template; check reports that programs need to read again"
if [ -n "$own_registry" ]; then
  jq '.RegistryEntries.Attributes += [(.RegistryEntries.Attributes[0] | {AttributeName: "DemoNewFeature",
      DisplayName: "New with this BIOS", Type: "Boolean", DefaultValue: false, ReadOnly: false, MenuPath})
      | with_entries(select(.value != null))]' registry.json >update.json
else
  cp "$source_dir/examples/registry/server-update.registry.json" update.json
fi
run dp-template update.json -o update.efi "${unfit[@]}"
prompt "dpctl check $collection --wait 30 &"
dpctl check "$collection" --wait 30 >"$scratch/check" 2>&1 &
background=$!
await "$background" 'watching for changes' "$scratch/check" || fail "check failed: $(cat "$scratch/check")"
run dp-server update --template update.efi --build-id DEMO-2.00
status=0
wait "$background" || status=$?
[ $status -eq 4 ] || fail "check failed: $(cat "$scratch/check")"
background=
cat "$scratch/check"
run dpctl collections

title "Reset a collection to its defaults"
run dpctl reset "$collection"
run dpctl get "$first"
run dp-server restart

title "The alerts that the listener received"
prompt "kill -TERM $listener"
for alert in settings_changed server_restarted bios_updated; do
  await "$listener" "plugin .*  $alert " "$scratch/alerts" || fail "no alert $alert: $(cat "$scratch/alerts")"
done
kill -TERM "$listener"
wait "$listener" || fail "the listener did not end cleanly: $(cat "$scratch/listening")"
listener=
cat "$scratch/alerts"

title "How the vetter interprets command lines before a service may run them"
run dpctl vet 'verify-image --quiet "BIOS image.bin" > verify.log 2>&1'
run dpctl vet 'list-images | remove-all' && fail "an invalid command line was accepted"
echo "(exit code 1)"

title "The event categories, which another component of the controller writes"
mkdir -p "$scratch/tmp/DS"
cp "$source_dir/examples/registry/event_categories.cfg" "$scratch/tmp/DS/uim_ras_category_mapping.cfg"
run dpctl categories

title "Serve the settings to Redfish clients (a fourth process)"
# The service makes a certificate of its own. Here it needs an account; a password is never a parameter.
(umask 077 && head -c 15 /dev/urandom | base64 >"$scratch/password")
prompt "dp_redfishd --add-account demo --role Administrator <password"
dp_redfishd --add-account demo --role Administrator <"$scratch/password" || fail "no account was added"
redfish_options=(--port 0)
[ "$(id -u)" -ne 0 ] || redfish_options+=(--allow-root)
prompt "$(quoted dp_redfishd "${redfish_options[@]}") &"
dp_redfishd "${redfish_options[@]}" >"$scratch/redfish.ready" 2>"$scratch/redfish.log" &
redfish=$!
await "$redfish" 'dp_redfishd: ready' "$scratch/redfish.ready" ||
  fail "the Redfish service did not become ready: $(cat "$scratch/redfish.log")"
cat "$scratch/redfish.ready"
url=$(sed -n 's/^dp_redfishd: ready //p' "$scratch/redfish.ready")
bios=$url/redfish/v1/Systems/system/Bios
(umask 077 && printf 'machine 127.0.0.1 login demo password %s\n' "$(cat "$scratch/password")" >"$scratch/netrc")
cat >"$scratch/client" <<END
cacert = $scratch/var/lib/dp_redfish/certificate.pem
netrc-file = $scratch/netrc
fail-with-body
no-progress-meter
noproxy = *
END

title "Read, change and restart with curl, which checks the certificate and logs in"
# A setting under its name in Redfish, and a value other than its pending one, of the same type.
pending=$(curl --config client "$bios/Settings") || fail "no pending values: $pending"
attribute=
while read -r name new; do
  now=$(jq -c --arg name "${name#*.}" '.Attributes[$name]' <<<"$pending")
  case $now in
    null) continue ;;
    true) value=false ;;
    false) value=true ;;
    \"*) value=$(jq -n --arg new "$new" '$new') ;;
    *) value=$new ;;
  esac
  attribute=${name#*.}
  break
done < <(dpctl show --json "${assignments[@]%%=*}" | jq -r "$choose | .[] | \"\(.name) \(.new)\"")
[ -n "$attribute" ] || fail "Redfish has none of the settings that were changed before"
run curl --config client "$bios/Settings?\$select=Attributes/$attribute"
echo
run curl --config client --request PATCH --output answer --write-out '%{http_code}\n' \
  --json "{\"Attributes\": {\"$attribute\": $value}}" "$bios/Settings"
run curl --config client "$bios/Settings?\$select=Attributes/$attribute"
echo
run curl --config client "$bios?\$select=Attributes/$attribute"
echo
run curl --config client --output answer --write-out '%{http_code}\n' --json '{"ResetType": "GracefulRestart"}' \
  "$url/redfish/v1/Systems/system/Actions/ComputerSystem.Reset"
run curl --config client "$bios?\$select=Attributes/$attribute"
echo
run dpctl history --last 1
prompt "kill -TERM $redfish"
kill -TERM "$redfish"
wait "$redfish" || fail "the Redfish service did not stop cleanly"
redfish=

title "Stop the service"
prompt "kill -TERM $service"
kill -TERM "$service"
wait "$service" || fail "the settings service did not stop cleanly"
service=
echo "stopped; the scratch folder is removed"
