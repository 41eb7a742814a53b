#!/bin/sh
# usage: with_arm_programs.sh SYSROOT COMMAND [ARGUMENT...]
#
# Runs COMMAND where 32-bit ARM programs start like any other program, also from shells and by exec,
# which qemu-arm alone cannot do. If the kernel cannot start them yet, COMMAND runs in its own
# namespaces, in which qemu-arm is registered while it runs. This needs Linux 6.7 or later, but no
# privileges. Nothing changes on the machine.
set -eu

sysroot=$1
shift
# qemu-arm looks here for the loader and libraries of the programs.
export QEMU_LD_PREFIX="$sysroot"

probe=$sysroot/lib/ld-linux-armhf.so.3
if "$probe" --version >/dev/null 2>&1; then
  exec "$@"
fi

give_up() {
  echo "Cannot start ARM programs directly on this machine: $1." >&2
  echo "Install qemu-user-binfmt, which registers qemu-arm with the kernel, and run this again." >&2
  exit 1
}

case ${DP_ARM_NAMESPACE:-} in
  '')
    unshare --user --mount true || give_up "no namespaces"
    export DP_ARM_NAMESPACE=entered
    [ "$(id -u)" -eq 0 ] || exec unshare --user --map-root-user --mount "$0" "$sysroot" "$@"
    # Tests that root runs change to other users, so the namespace of root needs all users; a
    # container has only some. The map has to be written from outside.
    pid=$$
    outside=$(readlink "/proc/$pid/ns/user")
    (
      while [ "$(readlink "/proc/$pid/ns/user")" = "$outside" ]; do sleep 0.05; done
      for map in gid_map uid_map; do
        awk '{ print $1, $1, $3 }' "/proc/self/$map" >"/proc/$pid/$map" || {
          echo "Cannot start ARM programs directly on this machine: no users for the namespace." >&2
          kill "$pid"
          exit 1
        }
      done
    ) &
    exec unshare --user --keep-caps --mount "$0" "$sysroot" "$@"
    ;;
  entered)
    until grep -q . /proc/self/uid_map; do sleep 0.05; done
    # The next step runs as root of this namespace.
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
