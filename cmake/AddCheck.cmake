# ke_add_check(<name> <command...>): a ctest entry for a check that is not a GoogleTest program, named
# <preset>/<name>.
function(ke_add_check name)
  cmake_path(GET PROJECT_BINARY_DIR FILENAME build_name)
  add_test(NAME ${build_name}/${name} COMMAND ${ARGN} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR})
  set_tests_properties(${build_name}/${name} PROPERTIES TIMEOUT 300)
endfunction()
