#!/usr/bin/env bash
# usage: clean_root_test.sh MIRROR ARCHITECTURE PACKAGE_FOLDER
#
# Creates a minimal Debian 12 system, installs the packages of the folder and takes a user's first
# steps there. The system is removed afterwards.
set -euo pipefail
mirror=$1
architecture=$2
packages=$(cd "$3" && pwd)
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cp "$packages"/*.deb "$here/first_run.sh" "$here/first_redfish_run.sh" "$scratch"
rm -f "$scratch"/*-dbgsym_*.deb

# What the first runs need beyond the packages. Of systemd, the emulated system gets only the part that makes
# users.
others=openssl
unit_hooks=()
emulated=
if [ "$architecture" = "$(dpkg --print-architecture)" ]; then
  others+=' systemd'
  # systemd's rating of the units, from 0 (not exposed) to 100, is at most what docs/target.md states; it is
  # the same for every architecture.
  # shellcheck disable=SC2016 # the hooks expand $1
  unit_hooks=(
    --customize-hook='chroot "$1" systemd-analyze verify --man=no dp_settingsd.service dp_redfishd.service dp_redfish_auth.socket dp_redfish_auth@.service'
    --customize-hook='chroot "$1" systemd-analyze security --offline=true --threshold=14 --no-pager dp_settingsd.service dp_redfishd.service dp_redfish_auth@.service >"$1/units" || { cat "$1/units"; exit 1; }'
  )
else
  others+=' systemd-standalone-sysusers'
  emulated=emulated
fi

# shellcheck disable=SC2016 # the hooks expand $1
mmdebstrap --quiet --variant=minbase --architectures="$architecture" --format=null \
  --skip=chroot/mount/proc,chroot/mount/sys \
  --customize-hook='mkdir "$1/packages"' \
  --customize-hook="sync-in $scratch /packages" \
  --customize-hook="chroot \"\$1\" sh -c 'apt-get -qq -y -o Dpkg::Use-Pty=0 install --no-install-recommends /packages/*.deb $others'" \
  --customize-hook='chroot "$1" sh /packages/first_run.sh' \
  --customize-hook="chroot \"\$1\" sh /packages/first_redfish_run.sh $emulated" \
  "${unit_hooks[@]}" \
  --customize-hook='chroot "$1" apt-get -qq -y -o Dpkg::Use-Pty=0 purge dp-redfish dp-common-tools libdp-common1' \
  --customize-hook='[ ! -e "$1/var/lib/dp_redfish" ]' \
  bookworm - "deb $mirror bookworm main"
