#!/usr/bin/env bash
# Installs the build into an empty prefix and builds the first programs of the README against it, once
# through the CMake package and once through pkg-config, as a customer would.
#
# usage: install_test.sh SOURCE_DIR BUILD_DIR
# CC and CXX name the compilers, CMAKE_TOOLCHAIN_FILE what CMake needs beyond that.
set -euo pipefail
read -ra cc <<<"${CC:-cc}"
read -ra cxx <<<"${CXX:-c++}"
source_dir=$1
build_dir=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
prefix=$scratch/usr/local
# Outside the source tree, which the examples must not need.
cp -r "$source_dir/examples" "$scratch/sources"
examples=$scratch/sources

fail() {
  printf 'FAILED: %s\n' "$*" >&2
  exit 1
}

# The README shows the programs unchanged.
for program in c_api/list_defaults.c class_interface/check_batch.cpp; do
  awk -v marker="<!-- examples/$program -->" '
    $0 == marker { found = 1; next }
    found && /^```/ { if (inside) exit; inside = 1; next }
    inside { print }' "$source_dir/README.md" >"$scratch/shown"
  cmp "$scratch/shown" "$source_dir/examples/$program" ||
    fail "the README's text of $program is not the program"
done

cmake --install "$build_dir" --prefix "$prefix" >"$scratch/install.log"
libdir=$(dirname "$(find "$prefix" -name libdp_common.so)")
[ -n "$libdir" ] || fail "no libdp_common.so was installed"
if [ -n "$(find "$prefix" -path '*relocatable*')" ]; then
  fail "the relocatable library was installed"
fi

# The completion of dpctl is where bash and zsh look for it, whole and under the name that they expect.
bash_completion=$prefix/share/bash-completion/completions/dpctl
cmp "$source_dir/tools/dpctl/dpctl.bash-completion" "$bash_completion" || fail "no completion for bash"
bash --norc --noprofile -c '. "$1" && complete -p dpctl' bash "$bash_completion" >"$scratch/out" ||
  fail "the completion for bash is not one of dpctl"
zsh_completion=$prefix/share/zsh/site-functions/_dpctl
cmp "$source_dir/tools/dpctl/_dpctl" "$zsh_completion" || fail "no completion for zsh"
[ "$(head -n 1 "$zsh_completion")" = "#compdef dpctl" ] ||
  fail "the completion for zsh is not one of dpctl"

# The library needs the C++ standard library, what that needs, and the platform library.
readelf -d "$libdir/libdp_common.so" >"$scratch/dynamic"
sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' "$scratch/dynamic" >"$scratch/needed"
if grep -vE '^(libdp_platform|libstdc\+\+|libm|libgcc_s|libc|ld-linux[-a-z0-9_]*)\.so' "$scratch/needed"; then
  fail "libdp_common.so links more than it may"
fi
grep -q 'SONAME.*\[libdp_common\.so\.[0-9]*\]' "$scratch/dynamic" ||
  fail "libdp_common.so has no SONAME"

check_programs() {
  local where=$1
  printf '0 0 t set A.B "1" ""\n0 0 t get A.B "" ""\n' |
    LD_LIBRARY_PATH=$libdir "$where/check_batch" >"$scratch/out" && fail "a bad line went unnoticed"
  grep -qx '1 clean set commands, 1 other lines' "$scratch/out" || fail "check_batch counts wrongly"
  LD_LIBRARY_PATH=$libdir "$where/list_defaults" || fail "list_defaults does not run"
  # A plug-in that answers later: of a repeated name the last command counts, names that do not exist fail,
  # and the program sleeps until the answer.
  LD_LIBRARY_PATH=$libdir "$where/run_fans" Fans.Speed.2=30 Fans.Speed.2=40% Fans.Speed.9=50 Fans.Noise \
    Fans.Speed.1=101 Fans.Speed.3 >"$scratch/out" && fail "run_fans does not report failures"
  cmp - "$scratch/out" <<'END' || fail "run_fans: $(cat "$scratch/out")"
16 4 <tid> get ERR.INVALID_SETTING "" "" 
100 5 <tid> set Fans.Speed.1 "101" "" 
0 2 <tid> set Fans.Speed.2 "40" "40" 
0 6 <tid> get Fans.Speed.3 "" "30" 
101 3 <tid> set Fans.Speed.9 "50" "" 
(5,5,3) (commands, completed, failed), woke up 1 time
END
  # A board's platform library replaces ours; every symbol is looked up at the start.
  rm -rf "$scratch/board"
  mkdir "$scratch/board"
  ln -s "$where/libboard_platform.so" "$scratch/board/libdp_platform.so.1"
  printf '0 0 t set A.B "1" ""\n' |
    LD_BIND_NOW=1 LD_LIBRARY_PATH=$scratch/board:$libdir "$where/check_batch" >"$scratch/out" ||
    fail "check_batch does not run with a board's platform library"
  LD_TRACE_LOADED_OBJECTS=1 LD_LIBRARY_PATH=$scratch/board:$libdir "$where/check_batch" >"$scratch/out"
  grep -qF "$scratch/board/libdp_platform.so.1" "$scratch/out" ||
    fail "the board's platform library is not used: $(cat "$scratch/out")"
}

package=(-DCMAKE_PREFIX_PATH="$prefix")
if [ -n "${CMAKE_TOOLCHAIN_FILE:-}" ]; then
  # A toolchain for another machine looks for packages in that machine's system only, and its linker
  # does not follow a library's own path to what that needs.
  package=(-Ddp_common_DIR="$libdir/cmake/dp_common")
  export LDFLAGS=-Wl,-rpath-link,$libdir
  cc+=("$LDFLAGS") cxx+=("$LDFLAGS")
fi
cmake -S "$examples" -B "$scratch/examples" "${package[@]}" >"$scratch/cmake.log"
cmake --build "$scratch/examples" >"$scratch/build.log" || { cat "$scratch/build.log"; fail "CMake package"; }
check_programs "$scratch/examples"
LD_LIBRARY_PATH=$libdir "$scratch/examples/list_changes" >/dev/null || fail "list_changes does not run"

# Values are changed through the C API and through the request socket. A service with the relocatable
# library serves a scratch folder.
server=$scratch/server
mkdir -p "$server/bin" "$server/tmp" "$server/run"
ln -s "$build_dir/bin/dpspy" "$build_dir/bin/sysvpd" "$server/bin/"
in_server() {
  DP_ROOT=$server LD_LIBRARY_PATH=$build_dir/lib/relocatable:$libdir "$@"
}
in_server "$build_dir/bin/dp-template" "$source_dir/examples/registry/server.registry.json" \
  -o "$scratch/template.efi" --settings "$scratch/settings.txt" >"$scratch/out" 2>&1 || cat "$scratch/out"
in_server "$build_dir/bin/dp-server" install --template "$scratch/template.efi" \
  --settings "$scratch/settings.txt" --build-id B1 >"$scratch/out"
# Not through the function: the shell that would run it would get the signal.
DP_ROOT=$server LD_LIBRARY_PATH=$build_dir/lib/relocatable:$libdir \
  "$build_dir/bin/dp_settingsd" >"$scratch/ready" 2>"$scratch/service.log" &
service=$!
trap 'kill $service 2>/dev/null; rm -rf "$scratch"' EXIT
for _ in $(seq 1200); do
  ! grep -qs ready "$scratch/ready" || break
  kill -0 $service 2>/dev/null || { cat "$scratch/service.log"; fail "the settings service ended"; }
  sleep 0.1
done
in_server "$scratch/examples/set_values" System.HardwareClock=LocalTime "System.AssetTag=Rack \"7\"" \
  >"$scratch/out" || fail "set_values failed"
printf 'System.HardwareClock=LocalTime\nSystem.AssetTag=Rack "7"\n' | cmp - "$scratch/out" ||
  fail "set_values did not read back what it set"
in_server "$scratch/examples/set_values" System.HardwareClock=Nonsense >/dev/null 2>&1 &&
  fail "set_values did not report a refused value"
in_server "$scratch/examples/change_settings" System.HardwareClock=Utc >"$scratch/out" ||
  fail "change_settings failed"
grep -qx 'System.HardwareClock=Utc' "$scratch/out" || fail "change_settings did not print the value"
in_server "$scratch/examples/change_settings" System.HardwareClock=Nonsense >/dev/null 2>&1 &&
  fail "change_settings did not report a refused value"
kill -TERM $service
wait $service || fail "the settings service did not stop cleanly"
in_server "$scratch/examples/change_settings" System.HardwareClock=Utc 2>/dev/null &&
  fail "change_settings found a service that had ended"
trap 'rm -rf "$scratch"' EXIT

# A host of 200 lines serves clients of the C API.
[ "$(wc -l <"$examples/host/small_host.cpp")" -le 200 ] || fail "small_host has more than 200 lines"
check_small_host() {
  local where=$1 status=0
  rm -f "$scratch/ready"
  DP_ROOT=$server LD_LIBRARY_PATH=$build_dir/lib/relocatable:$libdir "$where/small_host" >"$scratch/ready" &
  service=$!
  trap 'kill $service 2>/dev/null; rm -rf "$scratch"' EXIT
  for _ in $(seq 1200); do
    ! grep -qs ready "$scratch/ready" || break
    kill -0 $service 2>/dev/null || fail "small_host ended"
    sleep 0.1
  done
  in_server "$where/get_and_set" set System.HardwareClock=LocalTime "System.AssetTag=Rack \"7\" \\x" ||
    fail "small_host made no changes"
  in_server "$where/get_and_set" get System.HardwareClock System.AssetTag >"$scratch/out"
  cmp - "$scratch/out" <<'END' || fail "after small_host's changes: $(cat "$scratch/out")"
System.HardwareClock = LocalTime (current Utc)
System.AssetTag = Rack "7" \x (current )
END
  # One failure for each reason. The changes of the batch that are valid are made.
  in_server "$where/get_and_set" set System.HardwareClock=Never System.ModelName=Other System.HardwareClock.1=Utc \
    System.Nothing=1 'System.AssetTag "a" "" b c=x' System.AssetTag=R8 2>"$scratch/out" && fail "small_host refused nothing"
  cmp - "$scratch/out" <<'END' || fail "small_host's answers: $(cat "$scratch/out")"
System.HardwareClock: status 48
System.ModelName: status 55
System.HardwareClock.1: status 59
System.Nothing: status 16
System.AssetTag "a" "" b c: status 57
END
  in_server "$where/get_and_set" list System >"$scratch/out" || fail "get_and_set lists nothing"
  grep -qx 'System.AssetTag = R8 (default .*)' "$scratch/out" || fail "the list lacks a change"
  kill $service
  wait $service || status=$?
  [ $status -eq 143 ] || fail "small_host ended with $status"
  trap 'rm -rf "$scratch"' EXIT
}
check_small_host "$scratch/examples"

# A method call goes from one process to another.
export DP_QUEUE_PREFIX=install-test-$$
LD_LIBRARY_PATH=$libdir timeout 180 "$scratch/examples/method_call" receive >"$scratch/received" &
receiver=$!
for _ in $(seq 1200); do
  ! grep -qs listening "$scratch/received" || break
  sleep 0.1
done
LD_LIBRARY_PATH=$libdir "$scratch/examples/method_call" send restart "in a minute" >"$scratch/out" ||
  fail "the method call was not sent"
grep -qx 'sent 48 bytes' "$scratch/out" || fail "the method call was framed wrongly"
wait "$receiver" || fail "the method call was not received"
grep -qx 'restart: in a minute' "$scratch/received" || fail "the method call was unframed wrongly"
! LD_LIBRARY_PATH=$libdir "$scratch/examples/method_call" send restart now 2>/dev/null ||
  fail "a method call went to nobody"

export PKG_CONFIG_PATH=$libdir/pkgconfig
mkdir "$scratch/plain"
# shellcheck disable=SC2046 # the flags are words
{
  "${cc[@]}" -std=c99 -Wall -Wextra -Werror -pedantic "$examples/c_api/list_defaults.c" \
    -o "$scratch/plain/list_defaults" $(pkg-config --cflags --libs dp_common)
  "${cc[@]}" -std=c99 -Wall -Wextra -Werror -pedantic "$examples/c_api/get_and_set.c" \
    -o "$scratch/plain/get_and_set" $(pkg-config --cflags --libs dp_common)
  "${cxx[@]}" -std=c++17 -Wall -Wextra -Werror "$examples/class_interface/check_batch.cpp" \
    -o "$scratch/plain/check_batch" $(pkg-config --cflags --libs dp_common)
  "${cxx[@]}" -std=c++17 -Wall -Wextra -Werror "$examples"/plugin/*.cpp \
    -o "$scratch/plain/run_fans" $(pkg-config --cflags --libs dp_common)
  "${cxx[@]}" -std=c++17 -Wall -Wextra -Werror -shared -fPIC -Wl,-z,defs \
    "$examples"/board_platform/*.cpp -o "$scratch/plain/libboard_platform.so" \
    $(pkg-config --cflags dp_common)
}
check_programs "$scratch/plain"

# The other libraries have pkg-config files too.
# shellcheck disable=SC2046 # the flags are words
"${cxx[@]}" -std=c++17 "$examples/change_history/list_changes.cpp" \
  -o "$scratch/plain/list_changes" $(pkg-config --cflags --libs dp_service_api)
for program in host/small_host c_api/set_values settings_client/change_settings; do
  # shellcheck disable=SC2046
  "${cxx[@]}" -std=c++17 -Wall -Wextra -Werror "$examples/$program.cpp" \
    -o "$scratch/plain/$(basename "$program")" $(pkg-config --cflags --libs dp_service_api)
done
check_small_host "$scratch/plain"
# shellcheck disable=SC2046
"${cxx[@]}" -std=c++17 "$examples/method_data/method_call.cpp" \
  -o "$scratch/plain/method_call" $(pkg-config --cflags --libs dp_common dp_platform)

# Installed anywhere, the programs find their libraries on their own. So do programs that CMake builds.
check_prefix() {
  local program count=0
  for program in "$1"/bin/*; do
    env -u LD_LIBRARY_PATH "$program" --help >/dev/null || fail "$program does not start"
    count=$((count + 1))
  done
  [ "$count" -ge 6 ] || fail "only $count programs were installed in $1"
}
check_prefix "$prefix"
# The Redfish service is a component of its own, which needs only the library.
if [ -e "$build_dir/bin/dp_redfishd" ]; then
  redfish_prefix=$scratch/redfish
  cmake --install "$build_dir" --prefix "$redfish_prefix" --component redfish >"$scratch/install.log"
  (cd "$redfish_prefix" && find . -type f | sort) >"$scratch/out"
  printf './%s\n' bin/dp_redfishd libexec/dp_redfish_auth share/man/man8/dp_redfish_auth.8 \
    share/man/man8/dp_redfishd.8 | cmp - "$scratch/out" || fail "the component redfish: $(cat "$scratch/out")"
  cmp "$redfish_prefix/bin/dp_redfishd" "$prefix/bin/dp_redfishd" || fail "no dp_redfishd was installed"
  # What is not a question is answered with no.
  [ "$(env -u LD_LIBRARY_PATH "$prefix/libexec/dp_redfish_auth" </dev/null)" = 0 ] ||
    fail "dp_redfish_auth does not start"
fi
odd_prefix="$scratch/an odd prefix+/x"
cmake --install "$build_dir" --prefix "$odd_prefix" >"$scratch/install.log"
check_prefix "$odd_prefix"
if [ -z "${CMAKE_TOOLCHAIN_FILE:-}" ]; then
  cmake -S "$examples" -B "$scratch/odd examples" -DCMAKE_PREFIX_PATH="$odd_prefix" \
    >"$scratch/cmake.log"
  cmake --build "$scratch/odd examples" --target list_defaults >"$scratch/build.log" ||
    { cat "$scratch/build.log"; fail "CMake package in an odd prefix"; }
  env -u LD_LIBRARY_PATH "$scratch/odd examples/list_defaults" || fail "list_defaults does not run"
fi

# All that the headers include was installed. The cross compiler compiles them nowhere else.
"$source_dir/tests/system/headers_test.sh" --together "$prefix/include/dp_common" "${cxx[*]}"
echo "installed, and built against"
