# Warnings and hardening for every target of this project.

add_library(dp_compile_options INTERFACE)
target_compile_options(
  dp_compile_options
  INTERFACE
    -Wall
    -Wextra
    -Wpedantic
    # Sources that are compiled as one would be warned about each other's names.
    $<$<NOT:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wshadow>
    -Wconversion
    -Wsign-conversion
    -Wcast-align
    -Wcast-qual
    -Wformat=2
    -Wundef
    -Wnull-dereference
    -Wdouble-promotion
    -Wimplicit-fallthrough
    -Werror
    $<$<COMPILE_LANGUAGE:CXX>:-Woverloaded-virtual>
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
    $<$<COMPILE_LANGUAGE:CXX>:-Wextra-semi>
    # GCC 12 sees overlaps in std::string's own assignments at -O3 that are not there (bug 105329).
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>
    # No -Wnon-virtual-dtor: several interfaces fix their slots and cannot have a virtual
    # destructor; -Wdelete-non-virtual-dtor (part of -Wall) still guards every delete.
    -fstack-protector-strong)
target_link_options(dp_compile_options INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack
                    -Wl,--as-needed)
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  target_compile_definitions(dp_compile_options INTERFACE _FORTIFY_SOURCE=2)
endif()
# 64-bit time and file offsets on 32-bit targets too.
target_compile_definitions(dp_compile_options INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)

if(DP_SANITIZE)
  target_compile_options(dp_compile_options INTERFACE -fsanitize=address,undefined
                         -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(dp_compile_options INTERFACE -fsanitize=address,undefined)
endif()
if(DP_BUILD_FUZZ)
  # Coverage for the library's objects; each target adds the fuzzer's main itself.
  target_compile_options(dp_compile_options INTERFACE -fsanitize=fuzzer-no-link)
endif()
