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

# make_record FILE: what the library's debug information and the public headers say today.
make_record() {
  abidw --drop-private-types --exported-interfaces-only --headers-dir "$headers" --no-corpus-path \
    --no-comp-dir-path --no-show-locs --type-id-style hash --out-file "$1" "$library"
}

case $action in
  --update)
    make_record "$record"
    # Where the sources lay when they were compiled does not matter.
    sed -i "s,path='[^']*/\([a-z_]*/[^/']*\)',path='\1'," "$record"
    ;;
  --check)
    if ! command -v abidiff >/dev/null; then
      echo "SKIPPED: abidiff (package abigail-tools) is not installed"
      exit 0
    fi
    # Records are compared, not the record and the library: a record doesn't say in which headers its
    # types stand, so that abidiff takes all of them for private ones, whose changes don't count, as
    # soon as it is told to look at the headers.
    present=$(mktemp)
    trap 'rm -f "$present"' EXIT
    make_record "$present"
    abidiff --harmless --no-show-locs "$record" "$present" || {
      echo "The binary interface is not the recorded one (abidiff's result: $?)."
      echo "If that is meant, ./dev abi --update renews $record."
      exit 1
    }
    ;;
esac
