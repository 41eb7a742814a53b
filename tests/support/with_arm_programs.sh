#!/bin/sh
# usage: with_arm_programs.sh SYSROOT COMMAND [ARGUMENT...]
#
# Runs COMMAND where 32-bit ARM programs start like any other, also from shells and by exec, which
# qemu-arm alone can't do. A kernel that already knows what to do with them is used as it is.
# Otherwise COMMAND gets namespaces of its own, in which qemu-arm is registered for as long as it
# runs; that needs no privilege but Linux 6.7 or later. Nothing changes on the machine.
set -eu

sysroot=$1
shift
# Where qemu-arm finds the programs' loader and libraries.
export QEMU_LD_PREFIX="$sysroot"

probe=$sysroot/lib/ld-linux-armhf.so.3
if "$probe" --version >/dev/null 2>&1; then
  exec "$@"
fi

give_up() {
  echo "ARM programs cannot be started by themselves here: $1." >&2
  echo "Install qemu-user-binfmt, which registers qemu-arm with the kernel, and run this again." >&2
  exit 1
}

case ${DP_ARM_NAMESPACE:-} in
  '')
    unshare --user --mount true || give_up "no namespaces"
    export DP_ARM_NAMESPACE=entered
    [ "$(id -u)" -eq 0 ] || exec unshare --user --map-root-user --mount "$0" "$sysroot" "$@"
    # Tests become other users where root runs them, so root takes all users along, of which a
    # container has but some. The map has to be written from outside.
    pid=$$
    outside=$(readlink "/proc/$pid/ns/user")
    (
      while [ "$(readlink "/proc/$pid/ns/user")" = "$outside" ]; do sleep 0.05; done
      for map in gid_map uid_map; do
        awk '{ print $1, $1, $3 }' "/proc/self/$map" >"/proc/$pid/$map" || {
          echo "ARM programs cannot be started by themselves here: no users for the namespace." >&2
          kill "$pid"
          exit 1
        }
      done
    ) &
    exec unshare --user --keep-caps --mount "$0" "$sysroot" "$@"
    ;;
  entered)
    until grep -q . /proc/self/uid_map; do sleep 0.05; done
    # As the root of this namespace from here on.
    DP_ARM_NAMESPACE=mapped exec "$0" "$sysroot" "$@"
    ;;
esac
unset DP_ARM_NAMESPACE

table=/proc/sys/fs/binfmt_misc
mount -t binfmt_misc binfmt_misc "$table" || give_up "no private table of program formats"
# The header of a little-endian 32-bit ELF program or shared object for machine 40, ARM.
magic='\x7fELF\x01\x01\x01\x00\x00\x00\x00\x00\x00\x00\x00\x00\x02\x00\x28\x00'
mask='\xff\xff\xff\xff\xff\xff\xff\x00\xff\xff\xff\xff\xff\xff\xff\xff\xfe\xff\xff\xff'
printf '%s' ":qemu-arm:M::$magic:$mask:$(command -v qemu-arm-static):F" >"$table/register" ||
  give_up "qemu-arm could not be registered"
"$probe" --version >/dev/null || give_up "the trial program does not run"
exec "$@"
