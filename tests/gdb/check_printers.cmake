# Runs gdb in batch mode on a program and looks for what the pretty printers must show.
#   cmake -DGDB=... -DPROGRAM=... -DPRINTERS=... -P check_printers.cmake
execute_process(
  COMMAND ${GDB} -nx -batch -ex "set confirm off" -ex "set auto-load off" -ex "source ${PRINTERS}"
          -ex "set print elements 0" -ex "break stop_here" -ex run -ex up -ex "print *root"
          -ex "print big" -ex "print text" -ex "print numbers" -ex "print map" ${PROGRAM}
  OUTPUT_VARIABLE shown ERROR_VARIABLE errors RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "gdb ended with ${result}:\n${shown}\n${errors}")
endif()

foreach(expected IN ITEMS
    "object of 2"
    "list = array of 7"
    "[0] = 1"
    "[1] = -2"
    "[2] = 2.5"
    "[3] = \"text\""
    "[4] = true"
    "[5] = null"
    "[6] = 18446744073709551616"
    "ref = $ref \"#/list\""
    "= 18446744073709551621"
    "\"drive 7\" (length 7, capacity 64)"
    "wiq_vector of 3 elements of 4 bytes, capacity 4"
    "{0, 1, 4}"
    "wiq_map of 1 entries in 2 buckets"
    "\"model\": ")
  string(FIND "${shown}" "${expected}" place)
  if(place EQUAL -1)
    message(FATAL_ERROR "not shown: ${expected}\nin:\n${shown}\n${errors}")
  endif()
endforeach()
message(STATUS "every value is shown as expected")
