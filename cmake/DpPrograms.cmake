# How the programs around the library see the source tree.
#
# Includes are written as paths from the root of the source tree. The programs find their own folders
# through links in ${DP_PROGRAM_INCLUDE_DIR}, and of the library only the public headers: a private
# header of the library cannot be included by accident.

set(DP_PROGRAM_INCLUDE_DIR "${PROJECT_BINARY_DIR}/include/programs")
file(MAKE_DIRECTORY "${DP_PROGRAM_INCLUDE_DIR}")
foreach(folder IN ITEMS host redfish service_api support tools)
  file(CREATE_LINK "${PROJECT_SOURCE_DIR}/${folder}" "${DP_PROGRAM_INCLUDE_DIR}/${folder}" SYMBOLIC)
endforeach()

# dp_program_library(NAME SOURCE...): a static library for programs. It sees the library's public
# headers, but does not link the library.
function(dp_program_library name)
  add_library(${name} STATIC ${ARGN})
  target_include_directories(
    ${name}
    PUBLIC "$<BUILD_INTERFACE:${DP_PROGRAM_INCLUDE_DIR}>"
           "$<BUILD_INTERFACE:$<TARGET_PROPERTY:dp_common,INTERFACE_INCLUDE_DIRECTORIES>>")
  target_link_libraries(${name} PRIVATE "$<BUILD_INTERFACE:dp_compile_options>")
  # One source of its own, with the headers of a large library, gains nothing.
  if(ARGC GREATER 2)
    dp_use_precompiled_headers(${name})
    dp_compile_together(${name})
  endif()
endfunction()
