# Runs gdb and lldb in batch mode on the programs of this folder and checks what the pretty printers show.
#   cmake -DGDB=... -DLLDB=... -DC=program -DCPP=program { -DPRINTERS=file | -DPREFIX=folder } -P check_printers.cmake
# PRINTERS is loaded into gdb explicitly; with PREFIX, gdb must find the printers itself, next to the library
# there.
if(PREFIX)
  set(loading -iex "add-auto-load-safe-path ${PREFIX}")
  set(PRINTERS ${PREFIX}/share/ke_utils/ke_utils_printers.py)
else()
  set(loading -iex "set auto-load off" -ex "source ${PRINTERS}")
endif()
# Debian's lldb looks for its own module in a folder that does not exist.
file(GLOB lldb_module /usr/lib/llvm-14/lib/python3.*/dist-packages)

# ke_shows(<program> BY <gdb|lldb> PRINTED <expression>... EXPECTED <text>...): the debugger prints the
# expressions, numbered from $1 or $0, and its output must contain each expected text.
function(ke_shows program)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "BY" "PRINTED;EXPECTED")
  set(option -ex)
  set(command ${GDB} -nx -batch -iex "set confirm off" ${loading} -ex "set print elements 0" -ex "break stop_here")
  if(arg_BY STREQUAL lldb)
    set(option -o)
    set(command ${CMAKE_COMMAND} -E env PYTHONPATH=${lldb_module} ${LLDB} --no-lldbinit -b
        -o "command script import ${PRINTERS}" -o "breakpoint set -n stop_here")
  endif()
  list(APPEND command ${option} run ${option} up)
  set(print print)
  if(arg_BY STREQUAL lldb AND program STREQUAL "${CPP}")
    set(print "frame variable")  # avoids expressions, with which lldb 14 sometimes crashes
  endif()
  foreach(expression IN LISTS arg_PRINTED)
    list(APPEND command ${option} "${print} ${expression}")
  endforeach()
  execute_process(
    COMMAND ${command} ${program}
    OUTPUT_VARIABLE shown ERROR_VARIABLE errors RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${arg_BY} ended with ${result}:\n${shown}\n${errors}")
  endif()
  foreach(expected IN LISTS arg_EXPECTED)
    string(FIND "${shown}" "${expected}" place)
    if(place EQUAL -1)
      message(FATAL_ERROR "not shown by ${arg_BY}: ${expected}\nin:\n${shown}\n${errors}")
    endif()
  endforeach()
endfunction()

ke_shows(${C} BY gdb
  PRINTED "*root" "big" "text" "numbers" "map"
  EXPECTED
    "$1 = object of 2 = {" "list = array of 7" "[0] = 1" "[1] = -2" "[2] = 2.5" "[3] = \"text\"" "[4] = true"
    "[5] = null" "[6] = 18446744073709551616" "ref = $ref \"#/list\""
    "$2 = 18446744073709551621"
    "$3 = \"drive 7\" (length 7, capacity 64)"
    "$4 = wiq_vector of 3 elements of 4 bytes, capacity 4 = {0, 1, 4}"
    "$5 = wiq_map of 1 entries in 2 buckets = {\"model\": ")
ke_shows(${CPP} BY gdb
  PRINTED "report" "temps" "place" "empty" "parsed" "hours" "missing" "broken" "nothing" "good" "bad" "big" "text"
  EXPECTED
    "$1 = object of 2 = {" "hours = 12" "temps = array of 2 = {"
    "$2 = array of 2 = {[0] = 38, [1] = 41}"
    "$3 = 12"
    "$4 = nothing"
    "$5 = result = {value = array of 1 = {[0] = \"one\"}}"
    "$6 = result = {value = 12}"
    "$7 = no value: WIQ_ERR_KEY_NOT_FOUND (-1037)"
    "$8 = no value: WIQ_ERR_JSON_BAD_TOKEN (-1046), line 2, column 2"
    "$9 = no value: ke::err_empty (-20001)"
    "$10 = success"
    "$11 = WIQ_ERR_RANGE (-7001)"
    "$12 = 18446744073709551621"
    "$13 = \"drive 7\" (length 7, capacity ")
ke_shows(${C} BY lldb
  PRINTED "*root" "root"
  EXPECTED
    "$0 = object of 2 = {"
    "list = array of 7 = {[0] = 1, [1] = -2, [2] = 2.5, [3] = \"text\", [4] = true, [5] = null, \
[6] = 18446744073709551616}"
    "ref = $ref \"#/list\""
    "$1 = 0x")
ke_shows(${CPP} BY lldb
  PRINTED "report" "temps" "place" "empty" "parsed" "hours" "missing" "broken" "nothing" "good" "bad"
  EXPECTED
    "report = object of 2 = {" "hours = 12" "temps = array of 2 = {"
    "temps = array of 2 = {[0] = 38, [1] = 41}"
    "place = 12"
    "empty = nothing"
    "parsed = value = array of 1 = {[0] = \"one\"}"
    "hours = value = 12"
    "missing = no value: WIQ_ERR_KEY_NOT_FOUND (-1037)"
    "broken = no value: WIQ_ERR_JSON_BAD_TOKEN (-1046), line 2, column 2"
    "nothing = no value: ke::err_empty (-20001)"
    "good = success"
    "bad = WIQ_ERR_RANGE (-7001)")
message(STATUS "every value is shown as expected")
