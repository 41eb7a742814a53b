#!/usr/bin/env bash
# How ./dev handles its arguments, with stand-ins for the commands that it would run.
#
# usage: dev_test.sh SOURCE_DIR
set -euo pipefail
scratch=$(realpath "$(mktemp -d)")
trap 'rm -rf "$scratch"' EXIT

fail() {
  printf 'FAILED: %s\n' "$*" >&2
  exit 1
}

mkdir -p "$scratch/tree/tools" "$scratch/elsewhere" "$scratch/bin"
cp "$1/dev" "$scratch/tree/"
# Every package is installed, and everything is built.
printf '#!/bin/sh\nprintf installed\n' >"$scratch/bin/dpkg-query"
cat >"$scratch/bin/cmake" <<EOF
#!/bin/sh
: >"$scratch/built"
mkdir "$scratch/building" 2>/dev/null || : >"$scratch/overlapping"
/bin/sleep 0.2
rmdir "$scratch/building" 2>/dev/null || :
EOF
# shellcheck disable=SC2016 # the stand-in expands them
printf '#!/bin/sh\necho "$PWD: $*"\n' >"$scratch/tree/tools/demo.sh"
chmod +x "$scratch/bin/"* "$scratch/tree/tools/demo.sh"
export PATH=$scratch/bin:$PATH
cd "$scratch/elsewhere"

# A relative name is relative to the folder where the command was typed.
reported=$(../tree/dev demo --registry r.json 2>/dev/null)
[ "$reported" = "$scratch/elsewhere: $scratch/tree/build/dev --registry r.json" ] || fail "the demo gets: $reported"

# Wrong arguments are refused before anything is built.
rm -f "$scratch/built"
for arguments in 'demo --nonsense' 'shell --nonsense' 'docs now' 'fuzz ten' 'fuzz 0' 'fuzz --help' 'fuzz 1 2' 'coverage now' 'kills x' 'many now' 'mutate x' 'fleet x' 'fleet 0' 'valgrind no_tests' 'lint --nonsense' \
  'lint --changed --nonsense' 'abi --nonsense' 'abi --update now' 'size now' 'package amd64' 'nonsense' ''; do
  status=0
  # shellcheck disable=SC2086 # they are several words
  ../tree/dev $arguments >/dev/null 2>"$scratch/log" || status=$?
  [ $status -ne 0 ] || fail "dev $arguments: is accepted"
  [ -s "$scratch/log" ] || fail "dev $arguments: no message"
  [ ! -e "$scratch/built" ] || fail "dev $arguments: builds first"
done

# Two at once do not build over each other.
../tree/dev demo >/dev/null 2>"$scratch/first.log" &
first=$!
../tree/dev demo >/dev/null 2>"$scratch/second.log" || fail "the second of two runs: $(cat "$scratch/second.log")"
wait "$first" || fail "the first of two runs: $(cat "$scratch/first.log")"
[ ! -e "$scratch/overlapping" ] || fail "two runs build at the same time"

# Missing packages are installed, even if the first try fails: the network, or another apt.
cat >"$scratch/bin/dpkg-query" <<'EOF'
#!/bin/sh
[ "$3" != jq ] || exit 1
printf installed
EOF
cat >"$scratch/bin/sudo" <<'EOF'
#!/bin/sh
exec "$@"
EOF
cat >"$scratch/bin/apt-get" <<EOF
#!/bin/sh
echo "\$*" >>"$scratch/apt"
[ \$(wc -l <"$scratch/apt") -gt 4 ]
EOF
printf '#!/bin/sh\n' >"$scratch/bin/sleep"
chmod +x "$scratch/bin/"*
../tree/dev demo >/dev/null 2>"$scratch/log" || fail "gives up on apt: $(cat "$scratch/log")"
grep -q 'install --no-install-recommends jq$' "$scratch/apt" || fail "apt-get gets: $(cat "$scratch/apt")"
cat >"$scratch/bin/apt-get" <<'EOF'
#!/bin/sh
exit 1
EOF
! ../tree/dev demo >/dev/null 2>"$scratch/log" || fail "continues without a package"
grep -q 'could not install: jq' "$scratch/log" || fail "does not name the package: $(cat "$scratch/log")"
echo "all arguments were handled as documented"
