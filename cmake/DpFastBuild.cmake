# What makes a build fast: precompiled headers, and sources that are compiled several as one. The
# library itself is always compiled one source at a time. The Debian packages are built as what is
# tested, with all of it; what clang-tidy checks is built without.

# The standard headers that most sources include. Not <iostream>, which would initialise the standard
# streams in every source.
set(DP_PRECOMPILED_HEADERS
    <algorithm> <array> <cerrno> <cstddef> <cstdint> <cstdio> <cstdlib> <cstring> <fstream> <map>
    <memory> <optional> <sstream> <string> <string_view> <utility> <vector>)

if(DP_FAST_BUILD)
  set(source "${PROJECT_BINARY_DIR}/precompiled_headers.cpp")
  file(CONFIGURE OUTPUT "${source}" CONTENT "// Compiled for its precompiled headers alone.\n")
  add_library(dp_precompiled_headers OBJECT "${source}")
  target_link_libraries(dp_precompiled_headers PRIVATE dp_compile_options)
  target_precompile_headers(dp_precompiled_headers PRIVATE ${DP_PRECOMPILED_HEADERS})
endif()

# dp_use_precompiled_headers(TARGET): for a target with the usual flags of a library.
function(dp_use_precompiled_headers target)
  if(DP_FAST_BUILD)
    target_precompile_headers(${target} REUSE_FROM dp_precompiled_headers)
    # GCC 12 takes its own strings for faulty when they come from a precompiled header.
    target_compile_options(
      ${target} PRIVATE "$<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds;-Wno-stringop-overflow>")
  endif()
endfunction()

# dp_precompile_headers(TARGET): for a target with flags of its own, which the compiler does not mix.
function(dp_precompile_headers target)
  if(DP_FAST_BUILD)
    target_precompile_headers(${target} PRIVATE ${DP_PRECOMPILED_HEADERS})
  endif()
endfunction()

# dp_compile_together(TARGET): compiles the target's sources as one, which reads their headers
# and instantiates their templates once. Names in the unnamed namespaces of a target's sources must
# therefore differ.
function(dp_compile_together target)
  if(DP_FAST_BUILD)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 0)
    # GCC takes the files for headers there, in which an unnamed namespace would be a mistake.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
  endif()
endfunction()
