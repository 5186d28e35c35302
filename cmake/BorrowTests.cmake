# Takes the test programs of another build and runs them on this build's DLL and tool: they load ke_utils.dll by its
# name, and do not care which compiler has made it. Saves compiling the tests once more; what links the library
# statically (the internal test programs) has nothing to find out here.
#   KE_BORROWED_TESTS  the other build's folder; it has been built, with the same C runtime
set(borrowed)
foreach(family IN ITEMS containers core cpp fs json object os text tools)
  set(file test_${family}.exe)
  # None may go missing unnoticed.
  if(NOT EXISTS ${KE_BORROWED_TESTS}/bin/${file})
    message(FATAL_ERROR "${KE_BORROWED_TESTS}/bin has no ${file}: build that preset first")
  endif()
  list(APPEND borrowed ${file})
endforeach()

# Besides, what the tests load or start. libuv is the other build's, for the programs that start threads by it.
set(copies)
foreach(file IN LISTS borrowed ITEMS ke_test_module.dll ke_ended.exe libuv.dll)
  set(copy ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${file})
  add_custom_command(OUTPUT ${copy}
    COMMAND ${CMAKE_COMMAND} -E copy ${KE_BORROWED_TESTS}/bin/${file} ${copy}
    DEPENDS ${KE_BORROWED_TESTS}/bin/${file} VERBATIM)
  list(APPEND copies ${copy})
endforeach()
add_custom_target(ke_borrowed_tests ALL DEPENDS ${copies})
add_dependencies(ke_borrowed_tests ke_utils ke)

foreach(program IN LISTS borrowed)
  cmake_path(GET program STEM name)
  ke_register_program(${name} ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${program})
endforeach()
