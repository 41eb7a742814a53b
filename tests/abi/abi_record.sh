#!/bin/sh
# usage: abi_record.sh --check|--update LIBRARY HEADER_FOLDER RECORD
#        abi_record.sh --compare PRESENT_RECORD RECORD
#
# Compares the library with its ABI record: the functions, data records and classes that the public
# headers declare. An addition counts as a difference too, so that the ABI record is always the one of
# the present library.
set -eu

action=$1
if [ "$action" = --compare ]; then
  present=$2
  record=$3
else
  library=$2
  headers=$3
  record=$4
fi

# make_record FILE: writes the ABI record of the present library.
make_record() {
  abidw --drop-private-types --exported-interfaces-only --headers-dir "$headers" --no-corpus-path \
    --no-comp-dir-path --no-show-locs --type-id-style hash --out-file "$1" "$library"
}

# compare: fails if the record $present is not the one in $record.
compare() {
  # Compares two ABI records, not an ABI record with the library: an ABI record does not say which
  # headers declare its types, so abidiff, when it is given the headers, would ignore changes of
  # all of them as private.
  abidiff --harmless --no-show-locs "$record" "$present" || {
    echo "The binary interface is not the recorded one (abidiff's result: $?)."
    echo "If this is intended, ./dev abi --update renews $record."
    exit 1
  }
}

case $action in
  --compare) compare ;;
  --update)
    make_record "$record"
    # The folder in which the sources were compiled does not matter.
    sed -i "s,path='[^']*/\([a-z_]*/[^/']*\)',path='\1'," "$record"
    ;;
  --check)
    if ! command -v abidiff >/dev/null; then
      echo "SKIPPED: abidiff (package abigail-tools) is not installed"
      exit 0
    fi
    present=$(mktemp)
    trap 'rm -f "$present"' EXIT
    make_record "$present"
    compare
    ;;
esac
