# Lists the tests of a program, as a script: cmake -DPROGRAM=... -DLAUNCHER=... -DOUTPUT=... -P ...
#
# Writes a file for ctest that registers each test or, if the environment contains DP_TEST_SUITES,
# each suite. Suites need far fewer process starts; single tests are easier to select.

execute_process(COMMAND ${LAUNCHER} "${PROGRAM}" --gtest_list_tests
                OUTPUT_VARIABLE list RESULT_VARIABLE result TIMEOUT 60)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} does not list its tests: ${result}\n${list}")
endif()

# The values of parameters, which may contain anything.
string(REGEX REPLACE " +#[^\n]*" "" list "${list}")
string(REPLACE "\n" ";" list "${list}")

# add(VARIABLE NAME FILTER SKIPPED): appends the registration of one test.
function(add variable name filter skipped)
  string(APPEND ${variable} "  add_test([=[${name}]=]")
  foreach(word IN LISTS LAUNCHER ITEMS "${PROGRAM}" "--gtest_filter=${filter}")
    string(APPEND ${variable} " [=[${word}]=]")
  endforeach()
  string(APPEND ${variable} ")\n  set_tests_properties([=[${name}]=] PROPERTIES TIMEOUT 900"
         " SKIP_REGULAR_EXPRESSION [=[${skipped}]=])\n")
  set(${variable} "${${variable}}" PARENT_SCOPE)
endfunction()

set(suites)
set(cases)
foreach(line IN LISTS list)
  if(line MATCHES "^  +(.+)$")
    set(name "${suite}.${CMAKE_MATCH_1}")
    add(cases "${name}" "${name}" "\\[  SKIPPED \\]")
  elseif(line MATCHES "^([^ ]+)\\.$")
    set(suite "${CMAKE_MATCH_1}")
    # At the end only, where failed tests of the suite would be listed after the skipped ones.
    add(suites "${suite}" "${suite}.*" "\\[  SKIPPED \\] [^\n]*\n*$")
  endif()
endforeach()
if(NOT cases)
  message(FATAL_ERROR "${PROGRAM} has no tests")
endif()
file(WRITE "${OUTPUT}" "if(DEFINED ENV{DP_TEST_SUITES})\n${suites}else()\n${cases}endif()\n")
