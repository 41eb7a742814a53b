#!/bin/sh
# usage: first_redfish_run.sh [emulated]
#
# dp_redfishd with the command line, the user, the groups and the rights that its unit gives it, and a client
# that trusts its certificate; runs after first_run.sh inside the system with the packages, where systemd does
# not run. Needs openssl.
set -eu

unit=/lib/systemd/system/dp_redfishd.service
examples=/usr/share/doc/dp-redfish/examples
scratch=$(mktemp -d)
cd "$scratch"
settings_service=
redfish_service=
auth_socket=

fail() {
  echo "first run of dp_redfishd: $*" >&2
  cat "$scratch"/*.log >&2 || true
  exit 1
}
# shellcheck disable=SC2317 # called by the trap
clean_up() {
  for process in $settings_service $redfish_service $auth_socket; do
    kill "$process" 2>/dev/null || true
  done
}
trap clean_up EXIT

# setting NAME [FILE]: the last value that the unit or a drop-in gives it.
setting() {
  sed -n "s/^$1=//p" "${2:-$unit}" | tail -n 1
}
user=$(setting User)
group=$(setting Group)
groups=$(setting SupplementaryGroups | tr ' ' ,)
# An emulator does not tell dp_settingsd the supplementary groups of a client.
if [ "${1:-}" = emulated ]; then
  groups=$groups,$group
  group=dp_clients
fi
state=/var/lib/$(setting StateDirectory)
without_capabilities='--bounding-set=-all --inh-caps=-all --no-new-privs'
# shellcheck disable=SC2086 # the options are words
as_service() {
  setpriv --reuid "$user" --regid "$group" --groups "$groups" $without_capabilities "$@"
}
# await PROCESS FILE: until the process wrote its ready line to the file.
await() {
  tries=0
  until grep -q ready "$2"; do
    tries=$((tries + 1))
    { [ $tries -lt 1200 ] && kill -0 "$1" 2>/dev/null; } || fail "a service does not become ready"
    sleep 0.1
  done
}

install -d -o "$user" -g "$(setting Group)" -m "$(setting StateDirectoryMode)" "$state"
echo 'first run, first password' | as_service "$(setting ExecStart)" --add-account tester --role Administrator ||
  fail "no account was added"
[ "$(stat -c '%U %a' "$state/accounts.json")" = "$user 600" ] || fail "the accounts are not private"

# start_settings_service DROP-IN: with its command line and groups, and without capabilities.
# shellcheck disable=SC2046,SC2086 # the options are words
start_settings_service() {
  : >settings.ready
  setpriv --groups "$(setting SupplementaryGroups "$1" | tr ' ' ,)" $without_capabilities \
    $(setting ExecStart "$1") >settings.ready 2>settings.log &
  settings_service=$!
  await "$settings_service" settings.ready
}
stop_settings_service() {
  kill "$settings_service"
  wait "$settings_service" || fail "dp_settingsd failed"
  settings_service=
}
# start_redfish_service [OPTION...]: any free port, because this system shares those of the machine.
start_redfish_service() {
  : >redfish.ready
  # Not the function: the shell that would run it would get the signal.
  # shellcheck disable=SC2086
  setpriv --reuid "$user" --regid "$group" --groups "$groups" $without_capabilities \
    "$(setting ExecStart)" --port 0 "$@" >redfish.ready 2>redfish.log &
  redfish_service=$!
  await "$redfish_service" redfish.ready
  port=$(sed -n 's/.*:\([0-9]*\)$/\1/p' redfish.ready)
}
stop_redfish_service() {
  kill "$redfish_service"
  wait "$redfish_service" || fail "dp_redfishd failed"
  redfish_service=
}
# ask STATUS NAME:PASSWORD METHOD PATH [BODY]: fails when the answer, which is in the file answer, has another
# status.
ask() {
  wanted=$1 who=$(printf '%s' "$2" | base64 -w 0) method=$3 path=$4 body=${5:-}
  {
    printf '%s %s HTTP/1.1\r\nHost: 127.0.0.1:%s\r\nAuthorization: Basic %s\r\n' "$method" "$path" "$port" "$who"
    [ -z "$body" ] || printf 'Content-Type: application/json\r\nContent-Length: %s\r\n' "${#body}"
    printf 'Connection: close\r\n\r\n%s' "$body"
  } | openssl s_client -quiet -connect "127.0.0.1:$port" -CAfile "$state/certificate.pem" -verify_return_error \
    -verify_ip 127.0.0.1 >answer 2>client.log || fail "$method $path: no answer"
  head -n 1 answer | grep -q "^HTTP/1.1 $wanted " || fail "$method $path: $(cat answer)"
}
tester='tester:first run, first password'
bios=/redfish/v1/Systems/system/Bios
pending() {
  dpctl get System.HardwareClock
}

# Nobody can read the settings before dp_settingsd lets a group do so, and the service says so.
[ -z "$(as_service cat /var/dp/uefi_settings.txt 2>/dev/null)" ] || fail "everybody can read the settings"
start_redfish_service
ask 503 "$tester" GET "$bios"
grep -q 'cannot read .*--read-group' redfish.log || fail "the log does not say what is missing"

start_settings_service "$examples/dp_settingsd-readers.conf"
before=$(pending)
case $before in
  *=Utc) new=LocalTime ;;
  *) new=Utc ;;
esac
change="{\"Attributes\": {\"HardwareClock\": \"$new\"}}"
ask 200 "$tester" GET "$bios/Settings"
grep -q "\"HardwareClock\":\"${before#*=}\"" answer || fail "another value than $before: $(cat answer)"
ask 503 "$tester" PATCH "$bios/Settings" "$change"
[ "$(pending)" = "$before" ] || fail "a reader changed a setting"
for folder in /tmp/dp /var/dp; do
  [ "$(stat -c '%U %G %a' $folder)" = 'root dp_readers 2750' ] || fail "the rights of $folder: $(stat $folder)"
  if as_service touch "$folder/written" 2>/dev/null; then
    fail "a reader writes to $folder"
  fi
done
stop_settings_service

# The same dp_redfishd goes on with a service that lets it change settings.
start_settings_service "$examples/dp_settingsd-clients.conf"
ask 200 "$tester" PATCH "$bios/Settings" "$change"
[ "$(pending)" = "System.HardwareClock=$new" ] || fail "the change is not pending"
if as_service touch /tmp/dp/written 2>/dev/null; then
  fail "a client writes to /tmp/dp"
fi
ask 401 tester:wrong GET "$bios"
stop_redfish_service

# The helper needs root, whose capabilities it does not have either, to read the password hashes.
useradd --no-create-home --groups users operator1
echo 'operator1:of the system' | chpasswd
# shellcheck disable=SC2086
verdict() {
  printf 'operator1\000%s\000' "$1" | setpriv $without_capabilities /usr/libexec/dp_redfish_auth
}
[ "$(verdict 'of the system')" = 1 ] || fail "dp_redfish_auth refuses the right password"
[ "$(verdict wrong)" = 0 ] || fail "dp_redfish_auth does not refuse a wrong password"
[ "$(printf 'operator1\000of the system\000' | as_service /usr/libexec/dp_redfish_auth)" != 1 ] ||
  fail "dp_redfish_auth needs no root"

# Where systemd is installed, with a socket as its unit describes it.
if command -v systemd-socket-activate >/dev/null; then
  socket_unit=/lib/systemd/system/dp_redfish_auth.socket
  socket=$(setting ListenStream "$socket_unit")
  systemd-socket-activate --accept --inetd --listen="$socket" /usr/libexec/dp_redfish_auth >activate.log 2>&1 &
  auth_socket=$!
  tries=0
  until [ -S "$socket" ]; do
    tries=$((tries + 1))
    [ $tries -lt 600 ] || fail "nothing listens on $socket"
    sleep 0.1
  done
  chown "$(setting SocketUser "$socket_unit"):$(setting SocketGroup "$socket_unit")" "$socket"
  chmod "$(setting SocketMode "$socket_unit")" "$socket"
  start_redfish_service --pam-helper "$socket" --pam-readers users
  ask 200 'operator1:of the system' GET "$bios"
  ask 403 'operator1:of the system' PATCH "$bios/Settings" "$change"
  ask 401 operator1:wrong GET "$bios"
  stop_redfish_service
  kill "$auth_socket"
  auth_socket=
fi
stop_settings_service
echo "first run of dp_redfishd: done"
