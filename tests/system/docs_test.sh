#!/usr/bin/env bash
# The documentation of the public headers fails for a declaration without a comment, and names its place.
#
# usage: docs_test.sh SOURCE_DIR
set -euo pipefail
command -v doxygen >/dev/null || { echo "SKIPPED: no doxygen"; exit 77; }
source_dir=$1
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
headers=$scratch/include/dp_common
mkdir -p "$headers/settings"

fail() {
  printf 'FAILED: %s\n' "$*"
  cat "$scratch/out"
  exit 1
}

# build_docs LINE...: for a header with these lines, from line 6 on.
build_docs() {
  printf '%s\n' '#ifndef A_HPP' '#define A_HPP' '' 'namespace dp {' '' "$@" '' '}  // namespace dp' '' \
    '#endif' >"$headers/settings/a.hpp"
  "$source_dir/docs/api/build_docs.sh" "$headers" "$scratch/docs" >"$scratch/out" 2>&1
}

build_docs '/// A row.' 'struct row {' '  int length;  ///< in cells' '};' '/// Makes one.' 'row make();' ||
  fail "documented declarations are refused"
grep -q 'dp::make' "$scratch/docs/html/group__settings.html" || fail "the folder's page lacks a function"
grep -q 'dp::row' "$scratch/docs/html/group__settings.html" || fail "the folder's page lacks a class"
refuse() {
  local place=$1
  shift
  ! build_docs "$@" || fail "accepted without a comment: $*"
  grep -q "/a.hpp:$place: error: .* is not documented" "$scratch/out" || fail "no place of: $*"
}
refuse 6 'struct row {' '  int length;  ///< in cells' '};'
refuse 8 '/// A row.' 'struct row {' '  int length;' '};'
refuse 6 'int make();'
refuse 6 'enum sizes { small };'
echo "missing comments are errors"
