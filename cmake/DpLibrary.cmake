# How libdp_common is put together.
#
#   dp_common_objects      every source of the library, compiled once, except fixed_paths.cpp
#   dp_common              libdp_common.so: the objects with the board's own paths
#   dp_common_relocatable  the same library (same SONAME, in lib/relocatable) whose fixed paths are
#                          below $DP_ROOT; demos and system tests choose it with LD_LIBRARY_PATH
#   dp_common_static       the objects with relocatable paths and all symbols, for unit tests
#
# Public headers are copied to ${PROJECT_BINARY_DIR}/include/dp_common as they will be installed.
# Everything outside the library sees that folder and nothing else of the library.

set(DP_PUBLIC_INCLUDE_DIR "${PROJECT_BINARY_DIR}/include/dp_common")

# dp_public_headers(HEADER...): headers of the current folder that customers may include.
# Those of the library's own folders must be in the umbrella header.
function(dp_public_headers)
  file(RELATIVE_PATH folder "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}")
  if(folder IN_LIST DP_LIBRARY_FOLDERS)
    file(READ "${PROJECT_SOURCE_DIR}/dp_common.hpp" umbrella)
    foreach(header IN LISTS ARGN)
      string(FIND "${umbrella}" "#include \"${folder}/${header}\"\n" position)
      if(position EQUAL -1)
        message(FATAL_ERROR "dp_common.hpp lacks the public header ${folder}/${header}")
      endif()
    endforeach()
  endif()
  foreach(header IN LISTS ARGN)
    configure_file("${header}" "${DP_PUBLIC_INCLUDE_DIR}/${folder}/${header}" COPYONLY)
    get_filename_component(subfolder "${folder}/${header}" DIRECTORY)
    install(FILES "${header}" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/dp_common/${subfolder}"
            COMPONENT development)
  endforeach()
endfunction()

# dp_library_sources(SOURCE...): sources of the current folder that belong to the library.
function(dp_library_sources)
  foreach(source IN LISTS ARGN)
    target_sources(dp_common_objects PRIVATE "${CMAKE_CURRENT_SOURCE_DIR}/${source}")
  endforeach()
endfunction()

# dp_fast_sources(SOURCE...): those of them that are compiled for speed even when the library is
# compiled for size.
function(dp_fast_sources)
  if(DP_OPTIMIZE_SIZE)
    set_property(SOURCE ${ARGN} TARGET_DIRECTORY dp_common_objects APPEND
                 PROPERTY COMPILE_OPTIONS $<$<NOT:$<CONFIG:Debug>>:-O2>)
    # The precompiled header was compiled for size.
    set_property(SOURCE ${ARGN} TARGET_DIRECTORY dp_common_objects
                 PROPERTY SKIP_PRECOMPILE_HEADERS ON)
  endif()
endfunction()

# How every source of the library is compiled.
function(_dp_compile_library_source target)
  # The ABI records are made from the debug information.
  if(DP_BUILD_TESTS)
    target_compile_options(${target} PRIVATE $<$<CONFIG:RelWithDebInfo>:-g>)
  endif()
  # After the flags that a packager gives, so that what is measured is what is shipped.
  if(DP_OPTIMIZE_SIZE)
    target_compile_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-Os>)
  endif()
  target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}")
endfunction()

function(dp_define_library)
  configure_file("${PROJECT_SOURCE_DIR}/dp_common.hpp" "${DP_PUBLIC_INCLUDE_DIR}/dp_common.hpp"
                 COPYONLY)
  install(FILES "${PROJECT_SOURCE_DIR}/dp_common.hpp"
          DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/dp_common" COMPONENT development)
  add_library(dp_common_objects OBJECT)
  _dp_compile_library_source(dp_common_objects)
  target_link_libraries(dp_common_objects PRIVATE dp_compile_options)
  dp_precompile_headers(dp_common_objects)
endfunction()

set(DP_FIXED_PATHS_SOURCE "${PROJECT_SOURCE_DIR}/common/fixed_paths.cpp")

# One shared library: the objects and the fixed paths.
function(_dp_add_shared name)
  add_library(${name} SHARED "${DP_FIXED_PATHS_SOURCE}")
  _dp_compile_library_source(${name})
  target_link_libraries(${name} PRIVATE dp_common_objects dp_compile_options
                                        dp_platform_implementation)
  target_include_directories(
    ${name} INTERFACE "$<BUILD_INTERFACE:${DP_PUBLIC_INCLUDE_DIR}>"
                      "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/dp_common>")
  # A cross linker does not search the programs' run path for the platform library.
  target_link_options(
    ${name} INTERFACE "$<BUILD_INTERFACE:-Wl,-rpath-link,${CMAKE_LIBRARY_OUTPUT_DIRECTORY}>")
  set_target_properties(
    ${name} PROPERTIES OUTPUT_NAME dp_common VERSION ${PROJECT_VERSION}
                       SOVERSION ${PROJECT_VERSION_MAJOR}
                       INSTALL_RPATH "${DP_LIBRARY_RUN_PATH}")
  set(map "${PROJECT_SOURCE_DIR}/cmake/dp_common.map")
  target_link_options(${name} PRIVATE "-Wl,--version-script=${map}")
  set_property(TARGET ${name} APPEND PROPERTY LINK_DEPENDS "${map}")
  if(NOT DP_SANITIZE)
    target_link_options(${name} PRIVATE -Wl,-z,defs)
  endif()
endfunction()

function(dp_finish_library)
  _dp_add_shared(dp_common)
  add_library(dp_common::dp_common ALIAS dp_common)
  if(DP_BUILD_RELOCATABLE)
    _dp_add_shared(dp_common_relocatable)
    target_compile_definitions(dp_common_relocatable PRIVATE DP_RELOCATABLE)
    set_target_properties(dp_common_relocatable PROPERTIES LIBRARY_OUTPUT_DIRECTORY
                                                           "${PROJECT_BINARY_DIR}/lib/relocatable")
  endif()
  if(DP_BUILD_TESTS OR DP_BUILD_FUZZ OR DP_BUILD_BENCH)
    add_library(dp_common_static STATIC EXCLUDE_FROM_ALL "${DP_FIXED_PATHS_SOURCE}")
    target_compile_definitions(dp_common_static PRIVATE DP_RELOCATABLE)
    target_link_libraries(dp_common_static PUBLIC dp_compile_options PRIVATE dp_common_objects)
    target_include_directories(dp_common_static PUBLIC "${PROJECT_SOURCE_DIR}")
  endif()

  install(TARGETS dp_common EXPORT dp_common
          LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime
          NAMELINK_COMPONENT development)
  set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/dp_common")
  install(EXPORT dp_common NAMESPACE dp_common:: DESTINATION "${package_dir}"
          FILE dp_common-targets.cmake COMPONENT development)
  include(CMakePackageConfigHelpers)
  configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/dp_common-config.cmake.in"
    "${PROJECT_BINARY_DIR}/dp_common-config.cmake" INSTALL_DESTINATION "${package_dir}")
  write_basic_package_version_file("${PROJECT_BINARY_DIR}/dp_common-config-version.cmake"
                                   COMPATIBILITY SameMajorVersion)
  install(FILES "${PROJECT_BINARY_DIR}/dp_common-config.cmake"
                "${PROJECT_BINARY_DIR}/dp_common-config-version.cmake"
          DESTINATION "${package_dir}" COMPONENT development)
  # Relative to the file itself, so that it is correct with any installation prefix.
  file(RELATIVE_PATH DP_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
  string(REGEX REPLACE "/$" "" DP_PC_TO_PREFIX "${DP_PC_TO_PREFIX}")
  _dp_pkg_config(dp_common "${PROJECT_DESCRIPTION}")
  if(NOT DP_PLATFORM_LIBRARY)
    _dp_pkg_config(dp_platform "The POSIX platform of dp_common")
  endif()
  if(DP_BUILD_HOST OR DP_BUILD_TOOLS)
    _dp_pkg_config(dp_service_api "What the settings service of dp_common and its clients agree on"
                   dp_common)
  endif()
endfunction()

# _dp_pkg_config(NAME DESCRIPTION [REQUIRED]): the pkg-config file of the library NAME.
function(_dp_pkg_config name description)
  set(DP_PC_NAME "${name}")
  set(DP_PC_DESCRIPTION "${description}")
  set(DP_PC_REQUIRES "${ARGN}")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/library.pc.in" "${PROJECT_BINARY_DIR}/${name}.pc"
                 @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${name}.pc"
          DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)
endfunction()
