#!/bin/sh
# usage: abi_record.sh --check|--update LIBRARY HEADER_FOLDER RECORD
#
# Compares the library with the record of its binary interface: functions, records and classes, as
# far as the public headers show them. Also what is only added counts as a difference, so that the
# record is always that of the present library.
set -eu

action=$1
library=$2
headers=$3
record=$4
scope="--drop-private-types --exported-interfaces-only"

case $action in
  --update)
    # shellcheck disable=SC2086 # two options
    abidw $scope --headers-dir "$headers" --no-corpus-path --no-comp-dir-path --no-show-locs \
      --type-id-style hash --out-file "$record" "$library"
    # Where the sources lay when they were compiled does not matter.
    sed -i "s,path='[^']*/\([a-z_]*/[^/']*\)',path='\1'," "$record"
    ;;
  --check)
    if ! command -v abidiff >/dev/null; then
      echo "SKIPPED: abidiff (package abigail-tools) is not installed"
      exit 0
    fi
    # shellcheck disable=SC2086 # two options
    abidiff $scope --headers-dir2 "$headers" --no-show-locs "$record" "$library" || {
      echo "The binary interface is not the recorded one (abidiff's result: $?)."
      echo "If that is meant, ./dev abi --update renews $record."
      exit 1
    }
    ;;
esac
