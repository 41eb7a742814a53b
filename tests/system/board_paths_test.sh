#!/usr/bin/env bash
# The library as a board gets it, with its fixed paths: a change in a private mount namespace with
# /tmp, /var, /run and /bin of its own.
#
# usage: board_paths_test.sh SOURCE_DIR BUILD_DIR
set -euo pipefail

skip() {
  echo "SKIPPED: $*"
  exit 77
}

if [ "${3:-}" != inside ]; then
  unshare --user --map-root-user --mount true 2>/dev/null ||
    skip "this machine allows no private mount namespace"
  exec unshare --user --map-root-user --mount "$0" "$1" "$2" inside
fi

# The build may be below /tmp, which the mounts below hide.
mount --bind "$2" /mnt
mount --bind "$1" /media
# So may be the loader and the libraries of ARM programs.
if [ -n "${QEMU_LD_PREFIX:-}" ]; then
  mount --bind "$QEMU_LD_PREFIX" /srv
  export QEMU_LD_PREFIX=/srv
fi
mount -t tmpfs tmpfs /var
mount -t tmpfs tmpfs /run
mount -t overlay overlay -o "lowerdir=/mnt/bin:/usr/bin" /usr/bin 2>/dev/null ||
  skip "this machine allows no overlay in a private mount namespace"
mount -t tmpfs tmpfs /tmp
mkdir -m 700 /var/dp
cd /tmp
unset DP_ROOT DP_LOG
export LD_LIBRARY_PATH=/mnt/lib

fail() {
  printf 'FAILED: %s\n' "$*" >&2
  cat /tmp/service.log >&2
  exit 1
}
expect() {
  local wanted=$1 got
  shift
  got=$("$@" 2>&1) || fail "$*: $got"
  [ "$got" = "$wanted" ] || fail "$*: got \"$got\", not \"$wanted\""
}

dp-template /media/examples/registry/server.registry.json -o t.efi --settings s.txt --current c.txt >/dev/null 2>&1 ||
  fail "dp-template"
dp-server install --template t.efi --settings s.txt --current c.txt --build-id B1 >/dev/null || fail "install"
dp_settingsd >ready 2>service.log &
service=$!
trap 'kill "$service" 2>/dev/null || true' EXIT
for _ in $(seq 2400); do
  if grep -qs ready ready || ! kill -0 "$service" 2>/dev/null; then
    break
  fi
  sleep 0.05
done
grep -qs ready ready || fail "the service did not start"

expect "System.HardwareClock=Utc" dpctl get System.HardwareClock
dpctl set System.HardwareClock=LocalTime >/dev/null 2>&1 || fail "set"
expect "System.HardwareClock=LocalTime" dpctl get System.HardwareClock
expect "System.HardwareClock=Utc" dpctl get --current System.HardwareClock
dp-server restart >/dev/null || fail "restart"
expect "System.HardwareClock=LocalTime" dpctl get --current System.HardwareClock
for file in /tmp/dp/uefi_info.txt /tmp/dp/uefi_configs.txt /tmp/dp/uefi.bld /var/dp/uefi_settings.txt; do
  [ -f "$file" ] || fail "$file is not there"
done
[ -S /run/dp/settings.sock ] || fail "the request socket is not there"

# A batch file, as the C API writes it.
echo '0 1 t get System.HardwareClock "" ""' >/tmp/dp/batch
for _ in $(seq 2400); do
  [ ! -e /tmp/dp/batch.out ] || break
  sleep 0.05
done
expect '0 1 t get System.HardwareClock "" "LocalTime" ' cat /tmp/dp/batch.out
kill -TERM "$service"
wait "$service" || fail "the service did not stop cleanly"
echo "a change went through the board's own paths"
