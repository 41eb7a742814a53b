# Writes a C++ source with the bytes of the files of the setup page.
#
#   cmake -DOUTPUT=FILE.cpp "-DFILES=FILE;..." -P write_page_files.cmake

list(SORT FILES)
set(entries "")
set(number 0)
foreach(file IN LISTS FILES)
  get_filename_component(name "${file}" NAME)
  file(READ "${file}" bytes HEX)
  file(SIZE "${file}" size)
  # Compilers need not support longer literals.
  if(size GREATER 65535)
    message(FATAL_ERROR "${file} is larger than 65535 bytes")
  endif()
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "\\\\x\\1" bytes "${bytes}")
  # Lines of 20 bytes.
  string(REPEAT "." 80 line)
  string(REGEX REPLACE "(${line})" "\\1\"\n     \"" bytes "${bytes}")
  string(APPEND entries "    {\"${name}\",\n     std::string_view(\n     \"${bytes}\",\n     ${size})},\n")
  math(EXPR number "${number} + 1")
endforeach()

file(
  WRITE "${OUTPUT}.new"
  "// Written by write_page_files.cmake.
#include \"redfish/page/page_files.hpp\"

#include <array>

namespace dp_redfish {
namespace {

constexpr std::array<page_file, ${number}> files{{
${entries}}};

}  // namespace

std::span<const page_file> page_files() {
    return files;
}

}  // namespace dp_redfish
")
file(RENAME "${OUTPUT}.new" "${OUTPUT}")
