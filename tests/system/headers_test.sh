#!/usr/bin/env bash
# Compiles every public header alone and without warnings, as C++17 and C++20; the C headers also as C99 and C11.
#
# usage: headers_test.sh HEADER_FOLDER COMPILER...
set -euo pipefail
folder=$1
shift

# compile FOLDER HEADER COMPILER LANGUAGE STANDARD
compile() {
  printf '#include <%s>\n' "$2" |
    "$3" -x "$4" "-std=$5" -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -I "$1" -fsyntax-only - || {
    echo "$2 does not compile with $3 as $5"
    return 1
  }
}
export -f compile

count=$(find "$folder" -name '*.h*' | wc -l)
[ "$count" -gt 0 ] || {
  echo "no headers in $folder"
  exit 1
}
for compiler in "$@"; do
  for standard in c++17 c++20; do
    find "$folder" -name '*.h*' -printf "$folder\0%P\0$compiler\0c++\0$standard\0"
  done
  for standard in c99 c11; do
    find "$folder" -name '*.h' -printf "$folder\0%P\0$compiler\0c\0$standard\0"
  done
done | xargs -0 -P "$(nproc)" -n 5 bash -c 'compile "$@"' compile
echo "$count headers compile alone with $*"
