# Read by ctest, not by CMake: adds one ctest entry for each suite of a GoogleTest program.
#   name     first part of the entries' names
#   emulator the command that starts the program (may be empty)
#   program  the program's file
#   only     expression that a suite's name must match ("" for all)
#   timeout  seconds for each entry
#   test_environment   variables for each entry, NAME=value
if(NOT EXISTS ${program})
  # A failing entry, so that a program that was never built does not count as passed.
  add_test(${name}/not_built ${program})
  return()
endif()

set(command ${emulator} ${program})
execute_process(COMMAND ${command} --gtest_list_tests TIMEOUT 60
                OUTPUT_VARIABLE listing ERROR_VARIABLE errors RESULT_VARIABLE result)
string(REGEX MATCHALL "(^|\n)[^ .\n]+\\." suites "${listing}")
if(NOT result EQUAL 0 OR NOT suites)
  add_test(${name}/not_listed ${command} --gtest_list_tests)
  set_tests_properties(${name}/not_listed PROPERTIES
    TIMEOUT 60 PASS_REGULAR_EXPRESSION "^a listing of suites$")
  return()
endif()

foreach(suite IN LISTS suites)
  string(REGEX REPLACE "[\n\r]" "" suite "${suite}")
  string(REGEX REPLACE "\\.$" "" suite "${suite}")
  if(only AND NOT suite MATCHES "${only}")
    continue()
  endif()
  # A parameterised suite is listed as Instance/Suite; "/" in its name is kept.
  add_test(${name}/${suite} ${command} --gtest_filter=${suite}.* --gtest_brief=1)
  set_tests_properties(${name}/${suite} PROPERTIES TIMEOUT ${timeout} ENVIRONMENT "${test_environment}")
  if(suite MATCHES "Threads")
    set_tests_properties(${name}/${suite} PROPERTIES LABELS threads)
  endif()
endforeach()
