# Runs the test programs of another build with this build's DLL and tool: they load ke_utils.dll by its name,
# and work with any compiler's DLL. This saves compiling the tests again. Programs that link the library
# statically (the internal test programs) would test nothing new here.
#   KE_BORROWED_TESTS  the other build's folder, which must be built, with the same C runtime
set(borrowed)
foreach(family IN ITEMS containers core cpp fs json object os text tools)
  set(file test_${family}.exe)
  # A missing program must not go unnoticed.
  if(NOT EXISTS ${KE_BORROWED_TESTS}/bin/${file})
    message(FATAL_ERROR "${KE_BORROWED_TESTS}/bin has no ${file}: build that preset first")
  endif()
  list(APPEND borrowed ${file})
endforeach()

# Also copy what the tests load or start. libuv is that of the other build, for programs that start threads
# with it.
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
