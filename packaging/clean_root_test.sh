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
cp "$packages"/*.deb "$here/first_run.sh" "$scratch"
rm -f "$scratch"/*-dbgsym_*.deb

# systemd's rating of the unit, from 0 (not exposed) to 100; the same for every architecture.
unit_hooks=()
if [ "$architecture" = "$(dpkg --print-architecture)" ]; then
  # shellcheck disable=SC2016 # the hooks expand $1
  unit_hooks=(
    --customize-hook='chroot "$1" apt-get -qq -y -o Dpkg::Use-Pty=0 install --no-install-recommends systemd'
    --customize-hook='chroot "$1" systemd-analyze verify --man=no dp_settingsd.service'
    --customize-hook='chroot "$1" systemd-analyze security --offline=true --threshold=20 --no-pager dp_settingsd.service >"$1/unit" || { cat "$1/unit"; exit 1; }'
  )
fi

# shellcheck disable=SC2016 # the hooks expand $1
mmdebstrap --quiet --variant=minbase --architectures="$architecture" --format=null \
  --skip=chroot/mount/proc,chroot/mount/sys \
  --customize-hook='mkdir "$1/packages"' \
  --customize-hook="sync-in $scratch /packages" \
  --customize-hook='chroot "$1" sh -c "apt-get -qq -y -o Dpkg::Use-Pty=0 install --no-install-recommends /packages/*.deb"' \
  --customize-hook='chroot "$1" sh /packages/first_run.sh' \
  "${unit_hooks[@]}" \
  --customize-hook='chroot "$1" apt-get -qq -y -o Dpkg::Use-Pty=0 purge dp-common-tools libdp-common1' \
  bookworm - "deb $mirror bookworm main"
