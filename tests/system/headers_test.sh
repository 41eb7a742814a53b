#!/usr/bin/env bash
# Compiles the public headers without warnings, as C++17 and C++20 and the C headers also as C99 and C11: all
# together in each of these ways with each compiler, and each header alone in the first way with the first
# compiler. What a header lacks does not depend on the compiler or the standard; what it is warned about does.
#
# usage: headers_test.sh [--each|--together] HEADER_FOLDER COMPILER...
#   --each      each header alone in all ways, which takes minutes
#   --together  no header alone
# A compiler may have arguments: "g++ --sysroot=FOLDER".
set -euo pipefail
mode=
case $1 in
  --each | --together)
    mode=$1
    shift
    ;;
esac
folder=$1
shift

# compile FOLDER COMPILER STANDARD HEADER...
compile() {
  local folder=$1 standard=$3 language=c++ compiler
  read -ra compiler <<<"$2"
  shift 3
  [[ $standard == c++* ]] || language=c
  printf '#include <%s>\n' "$@" |
    "${compiler[@]}" -x "$language" "-std=$standard" -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror \
      -I "$folder" -fsyntax-only - || {
    echo "$(printf '%s ' "$@")does not compile with ${compiler[*]} as $standard"
    return 1
  }
}
export -f compile

# headers STANDARD: those that are written for it.
headers() {
  local names='*.h*'
  [[ $1 == c++* ]] || names='*.h'
  find "$folder" -name "$names" -printf '%P\n' | sort
}

# alone COMPILER STANDARD
alone() {
  headers "$2" | while IFS= read -r header; do
    printf '%s\0' "$folder" "$1" "$2" "$header"
  done | xargs -0 -P "$(nproc)" -n 4 bash -c 'compile "$@"' compile
}

count=$(headers c++17 | wc -l)
[ "$count" -gt 0 ] || {
  echo "no headers in $folder"
  exit 1
}
for compiler in "$@"; do
  for standard in c++17 c++20 c99 c11; do
    if [ "$mode" = --each ]; then
      alone "$compiler" "$standard"
    else
      readarray -t all < <(headers "$standard")
      [ ${#all[@]} -eq 0 ] || compile "$folder" "$compiler" "$standard" "${all[@]}"
    fi
  done
done
if [ -z "$mode" ]; then
  alone "$1" c++17
  alone "$1" c99
fi
echo "$count headers compile with $*"
