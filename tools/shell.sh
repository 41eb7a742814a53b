#!/usr/bin/env bash
# A shell in which dpctl works: installs a simulated server in a scratch folder, starts the settings service
# and the Redfish service for it, and runs bash with the environment that the programs need. Without a terminal, bash runs the
# commands from standard input, and its exit code is that of the last one.
#
# When the shell ends, is killed, or its terminal closes, a second process stops everything that was started
# here and removes the folder.
#
# usage: shell.sh BUILD_DIR [--registry FILE]
set -euo pipefail

# clean_up SCRATCH: waits until the shell's end closes standard input. Runs in a session of its own, which a
# closed terminal does not end.
clean_up() {
  local scratch=$1 signal pids
  trap '' HUP INT TERM
  while read -r; do :; done
  # Everything that was started in the shell has the folder in its environment. The service and listeners end
  # cleanly at TERM; an interactive shell ignores that, and stopped jobs get no signal before CONT.
  for signal in TERM HUP KILL; do
    for _ in $(seq 20); do
      pids=$(processes "$scratch")
      [ -n "$pids" ] || break 2
      # shellcheck disable=SC2086 # the process ids are words
      kill -s "$signal" $pids 2>/dev/null || :
      # shellcheck disable=SC2086
      kill -s CONT $pids 2>/dev/null || :
      sleep 0.05
    done
  done
  # A process that ended may have created a file a moment ago.
  for _ in $(seq 100); do
    ! rm -rf "$scratch" 2>/dev/null || break
    sleep 0.1
  done
}

# processes SCRATCH: the ids of the processes whose environment has it.
processes() {
  grep -lsz -x -F "DP_ROOT=$1" /proc/[0-9]*/environ | sed 's|^/proc/||; s|/environ$||' || :
}

if [ "${1:-}" = --clean-up ]; then
  clean_up "$2"
  exit
fi

fail() {
  printf 'shell: %s\n' "$*" >&2
  exit 1
}

source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build_dir=$(cd "$1" && pwd)
shift
registry=$source_dir/examples/registry/server.registry.json
while [ $# -gt 0 ]; do
  case $1 in
    --registry)
      [ $# -ge 2 ] || { echo "shell: --registry needs a file" >&2; exit 2; }
      registry=$2
      shift 2
      ;;
    --registry=*)
      registry=${1#*=}
      shift
      ;;
    *)
      echo "usage: ./dev shell [--registry FILE]" >&2
      exit 2
      ;;
  esac
done

scratch=$(realpath "$(mktemp -d -t dp-shell.XXXXXX)")
# This pipe is open for writing in this process only, so the other process notices whatever ends this one.
exec {alive}> >(exec env -u DP_ROOT setsid "${BASH_SOURCE[0]}" --clean-up "$scratch" >/dev/null 2>&1)
cleaner=$!
finish() {
  local status=$?
  trap - EXIT
  exec {alive}>&-
  wait "$cleaner" || :
  exit "$status"
}
trap finish EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM

# The fixed paths of a board are below the scratch folder; message queues have a prefix instead.
export DP_ROOT=$scratch DP_QUEUE_PREFIX=${scratch##*/}
export LD_LIBRARY_PATH=$build_dir/lib/relocatable:$build_dir/lib
export PATH=$build_dir/bin:$PATH
unset DP_LOG DP_LOG_MASK DP_LOG_TAG
mkdir -p "$scratch/bin" "$scratch/tmp"
ln -s "$build_dir/bin/dpspy" "$build_dir/bin/sysvpd" "$scratch/bin/"

# What does not fit a template is left out.
dp-server install --registry "$registry" --skip-unfit >"$scratch/installed" 2>"$scratch/remarks" {alive}>&- ||
  fail "no server was installed: $(cat "$scratch/remarks")"
dp_settingsd >"$scratch/ready" 2>"$scratch/service.log" {alive}>&- &
service=$!
# An account with a password that nobody chose.
(umask 077 && head -c 15 /dev/urandom | base64 >"$scratch/password")
dp_redfishd --add-account admin --role Administrator <"$scratch/password" 2>"$scratch/redfish.log" {alive}>&- ||
  fail "the Redfish service has no account: $(cat "$scratch/redfish.log")"
redfish_options=(--port 0)
[ "$(id -u)" -ne 0 ] || redfish_options+=(--allow-root)
dp_redfishd "${redfish_options[@]}" >"$scratch/redfish.ready" 2>"$scratch/redfish.log" {alive}>&- &
redfish=$!
# await NAME PROCESS READY LOG: until the process has written its ready line.
await() {
  for _ in $(seq 1200); do
    ! grep -qs ready "$3" || return 0
    kill -0 "$2" 2>/dev/null || break
    sleep 0.05
  done
  fail "the $1 service did not start: $(cat "$4")"
}
await settings "$service" "$scratch/ready" "$scratch/service.log"
await Redfish "$redfish" "$scratch/redfish.ready" "$scratch/redfish.log"
url=$(sed -n 's/^dp_redfishd: ready //p' "$scratch/redfish.ready")

# An attribute that can be changed, and another value for it.
example=$(jq -r '.RegistryEntries | [.Dependencies[]?.Dependency.MapToAttribute] as $dependent
  | [.Attributes[] | select(.Type == "Enumeration" and (.ReadOnly or .Immutable or .Hidden or .GrayOut | not)
                            and (.AttributeName | IN($dependent[]) | not))
     | (.CurrentValue // .DefaultValue) as $now
     | {name: .AttributeName, new: ([.Value[].ValueName | select(. != $now and test("^[A-Za-z0-9_]+$"))][0])}
     | select(.new != null)][0] // {} | "\(.name // "") \(.new // "")"' "$scratch/var/dp/uefi_registry.json" \
  2>/dev/null) || example=
read -r name new <<<"$example" || :
# Its full name, or else the first name that there is.
full=$(awk -v end=".$name" '$4 == "set" && (end == "." || substr($5, length($5) - length(end) + 1) == end) {
  print $5; exit }' "$scratch/var/dp/uefi_settings.txt")
{
  sed -n '/ attributes* in /{s/ in .*//; s/^/A simulated server with /; s/$/ runs in '"${scratch//\//\\/}"'./p}' \
    "$scratch/installed"
  [ ! -s "$scratch/remarks" ] || echo "Remarks on the registry are in $scratch/remarks."
  echo "It ends with this shell, and leaves nothing. Try:"
  echo
  echo "  dpctl list ${full%%.*}"
  echo "  dpctl show $full"
  [ -z "${new:-}" ] || echo "  dpctl set $full=$new"
  cat <<'END'
  dp-server restart       the server restarts: pending values become current
  dpctl history           what was changed
  dpctl alerts &          alerts as they arrive
  dpctl --help, dp-server --help
END
  echo
  echo "The setup page is $url/, and the Redfish service $url/redfish/v1. The user is admin,"
  echo "the password is in $scratch/password, and the certificate is"
  echo "$scratch/var/lib/dp_redfish/certificate.pem."
  echo
} >&2

if [ -t 0 ]; then
  cat >"$scratch/bashrc" <<'END'
PS1='server \W $ '
unset HISTFILE
END
  echo "source '$source_dir/tools/dpctl/dpctl.bash-completion'" >>"$scratch/bashrc"
  shell=(bash --rcfile "$scratch/bashrc" -i)
else
  shell=(bash -s)
fi
# In the background, so that a signal is handled at once. Background commands ignore INT and QUIT, and
# would pass that on.
env --default-signal=INT,QUIT "${shell[@]}" <&0 {alive}>&- &
wait $!
