#!/bin/sh
# The first steps of a user with the installed packages; runs inside the system with the packages.
set -eu

fail() {
  echo "first run: $*" >&2
  exit 1
}

for program in $(dpkg -L dp-common-tools dp-redfish | sed -n 's,^/usr/bin/,,p'); do
  ls /usr/share/man/man?/"$program".?.gz >/dev/null || fail "$program has no man page"
  "$program" --help >/dev/null || fail "$program does not start"
done
# bash and zsh look for completions in these folders, under these names.
bash -c '. /usr/share/bash-completion/completions/dpctl && complete -p dpctl' >/dev/null ||
  fail "no completion for dpctl in bash"
[ "$(head -n 1 /usr/share/zsh/vendor-completions/_dpctl)" = "#compdef dpctl" ] ||
  fail "no completion for dpctl in zsh"
[ -f /lib/systemd/system/dp_settingsd.service ] || fail "no unit for dp_settingsd"

cd "$(mktemp -d)"
dp-template /usr/share/doc/dp-common-tools/examples/server.registry.json \
  -o template --settings settings --current current
dp-server install --template template --settings settings --current current --build-id FIRST-1

dp_settingsd >ready &
service=$!
trap 'kill $service 2>/dev/null || true' EXIT
tries=0
until grep -q ready ready; do
  tries=$((tries + 1))
  [ $tries -lt 1200 ] || fail "dp_settingsd does not become ready"
  sleep 0.1
done

dpctl collections
expect() {
  wanted=$1
  shift
  got=$("$@") || fail "$* failed"
  [ "$got" = "$wanted" ] || fail "$*: $got, not $wanted"
}
expect System.HardwareClock=Utc dpctl get System.HardwareClock
dpctl set System.HardwareClock=LocalTime || fail "set failed"
expect System.HardwareClock=LocalTime dpctl get System.HardwareClock
expect System.HardwareClock=Utc dpctl get --current System.HardwareClock
dp-server restart
expect System.HardwareClock=LocalTime dpctl get --current System.HardwareClock
[ -n "$(dpctl complete values System.HardwareClock)" ] || fail "values are not completed"
kill $service
wait $service || fail "dp_settingsd failed"
echo "first run: done"
