# Runs gdb in batch mode on the programs of this folder and looks for what the pretty printers must show.
#   cmake -DGDB=... -DC=program -DCPP=program { -DPRINTERS=file | -DPREFIX=folder } -P check_printers.cmake
# PRINTERS is given to gdb by hand; with PREFIX gdb has to find the printers itself, beside the library there.
if(PREFIX)
  set(loading -iex "add-auto-load-safe-path ${PREFIX}")
else()
  set(loading -iex "set auto-load off" -ex "source ${PRINTERS}")
endif()

# shows(<program> PRINTED <expression>... EXPECTED <text>...): gdb prints the expressions, numbered from $1, and each
# expected text stands in what it writes.
function(shows program)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "PRINTED;EXPECTED")
  list(TRANSFORM arg_PRINTED PREPEND "print ")
  set(commands)
  foreach(command IN LISTS arg_PRINTED)
    list(APPEND commands -ex ${command})
  endforeach()
  execute_process(
    COMMAND ${GDB} -nx -batch -iex "set confirm off" ${loading} -ex "set print elements 0" -ex "break stop_here" -ex run
            -ex up ${commands} ${program}
    OUTPUT_VARIABLE shown ERROR_VARIABLE errors RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "gdb ended with ${result}:\n${shown}\n${errors}")
  endif()
  foreach(expected IN LISTS arg_EXPECTED)
    string(FIND "${shown}" "${expected}" place)
    if(place EQUAL -1)
      message(FATAL_ERROR "not shown: ${expected}\nin:\n${shown}\n${errors}")
    endif()
  endforeach()
endfunction()

shows(${C}
  PRINTED "*root" "big" "text" "numbers" "map"
  EXPECTED
    "$1 = object of 2 = {" "list = array of 7" "[0] = 1" "[1] = -2" "[2] = 2.5" "[3] = \"text\"" "[4] = true"
    "[5] = null" "[6] = 18446744073709551616" "ref = $ref \"#/list\""
    "$2 = 18446744073709551621"
    "$3 = \"drive 7\" (length 7, capacity 64)"
    "$4 = wiq_vector of 3 elements of 4 bytes, capacity 4 = {0, 1, 4}"
    "$5 = wiq_map of 1 entries in 2 buckets = {\"model\": ")
shows(${CPP}
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
message(STATUS "every value is shown as expected")
