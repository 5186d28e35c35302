# ke_add_test(<family> SHARED|INTERNAL <files...>): a family's test program.
#
#   SHARED    test_<family>: uses the library as its users do, through the shared library.
#   INTERNAL  test_<family>_internal: links the static library, may include headers of src/, and
#             routes every allocation through tests/support/alloc_faults.cpp.
#
# It may be called several times for a family; later calls add files. ctest lists one entry for each test
# suite, named <preset>/<program>/<suite>. With one entry per program, one crash would hide a whole family;
# with one per test, thousands of processes would start (30 ms or more each under Wine). A suite whose name
# contains "Threads" has the label "threads".

set(KE_TEST_ONLY "" CACHE STRING "Register only the test suites whose name matches this expression")
# Optimising instrumented tests takes longer than running them; the library is always optimised.
set(KE_TEST_FLAGS "" CACHE STRING "Further flags for compiling the tests")
set(KE_TEST_TIMEOUT 120 CACHE STRING "Seconds that a test suite may take")

find_package(GTest REQUIRED)
set(KE_WRAPPED_FUNCTIONS malloc calloc realloc free strdup)
if(WIN32)
  list(APPEND KE_WRAPPED_FUNCTIONS _strdup)
endif()
# The library calls functions of a DLL through pointers, which the linker can replace as well.
if(WIN32 AND NOT KE_LINK_LIBUV)
  list(APPEND KE_WRAPPED_FUNCTIONS __imp_uv_mutex_init __imp_uv_mutex_init_recursive)
else()
  list(APPEND KE_WRAPPED_FUNCTIONS uv_mutex_init uv_mutex_init_recursive)
endif()
list(TRANSFORM KE_WRAPPED_FUNCTIONS PREPEND -Wl,--wrap= OUTPUT_VARIABLE KE_WRAP_FLAGS)

# Settings that all test programs of a kind share. The first program of a kind compiles the precompiled
# header; the others reuse it.
function(ke_test_kind target kind)
  if(kind STREQUAL "SHARED")
    target_link_libraries(${target} PRIVATE ke_utils)
  else()
    target_link_libraries(${target} PRIVATE ke_utils_static)
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src)
  endif()
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${target} PRIVATE ke_options GTest::gtest)
  # GCC 12 gives false warnings about std::string at -O2; the library itself is compiled with all warnings.
  target_compile_options(${target} PRIVATE
    $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CXX_COMPILER_ID:GNU>>:-Wno-array-bounds -Wno-restrict -Wno-stringop-overflow>)
  target_compile_options(${target} PRIVATE ${KE_TEST_FLAGS})
endfunction()

foreach(kind IN ITEMS shared internal)
  add_library(ke_test_pch_${kind} OBJECT ${PROJECT_SOURCE_DIR}/tests/support/pch.cpp)
  string(TOUPPER ${kind} upper)
  ke_test_kind(ke_test_pch_${kind} ${upper})
  target_precompile_headers(ke_test_pch_${kind} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/pch.h)
endforeach()

# Removes from a list those test files that have no suite to register (KE_TEST_ONLY).
function(ke_keep_wanted_tests files)
  set(kept)
  foreach(file IN LISTS ${files})
    set(suites)
    if(file MATCHES "_test\\.cpp$")
      file(STRINGS ${file} suites REGEX "^TEST(_[FP])?\\([A-Za-z0-9]*${KE_TEST_ONLY}")
    endif()
    if(suites OR NOT file MATCHES "_test\\.cpp$")
      list(APPEND kept ${file})
    endif()
  endforeach()
  set(${files} ${kept} PARENT_SCOPE)
endfunction()

# See the head of this file.
function(ke_add_test family kind)
  if(kind STREQUAL "SHARED")
    set(target test_${family})
  elseif(kind STREQUAL "INTERNAL")
    set(target test_${family}_internal)
  else()
    message(FATAL_ERROR "ke_add_test: ${kind} is neither SHARED nor INTERNAL")
  endif()
  set(sources ${ARGN})
  if(KE_TEST_ONLY)
    list(TRANSFORM sources PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/ REGEX "^[^/]")
    ke_keep_wanted_tests(sources)
  endif()
  if(NOT TARGET ${target})
    ke_make_test(${target} ${kind})
  endif()
  target_sources(${target} PRIVATE ${sources})
  get_target_property(unwanted ${target} EXCLUDE_FROM_ALL)
  if(unwanted AND (sources MATCHES "_test\\.cpp" OR NOT KE_TEST_ONLY))
    set_target_properties(${target} PROPERTIES EXCLUDE_FROM_ALL OFF)
    ke_register_suites(${target})
  endif()
endfunction()

# Makes a test program without tests; it is not built until tests are added.
function(ke_make_test target kind)
  add_executable(${target} EXCLUDE_FROM_ALL ${PROJECT_SOURCE_DIR}/tests/support/pch.cpp)
  ke_test_kind(${target} ${kind})
  target_link_libraries(${target} PRIVATE GTest::gtest_main)
  string(TOLOWER ${kind} lower)
  target_precompile_headers(${target} REUSE_FROM ke_test_pch_${lower})
  if(KE_SANITIZE)
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/sanitizer_options.cpp)
  endif()
  if(kind STREQUAL "INTERNAL")
    target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests/support/alloc_faults.cpp)
    target_link_libraries(${target} PRIVATE ke_libuv)
    set_target_properties(${target} PROPERTIES KE_SHARED_RUNTIME ON)
    # -fno-lto: the linker replaces calls by name, so they must not be inlined.
    target_link_options(${target} PRIVATE ${KE_WRAP_FLAGS} -fno-lto)
  endif()
endfunction()

# Lists the suites when ctest starts, by asking the program itself.
function(ke_register_suites target)
  ke_register_program(${target} $<TARGET_FILE:${target}>)
endfunction()

# ke_register_program(<name> <program>): lists the suites of a program as <preset>/<name>/<suite>.
function(ke_register_program name program)
  set(test_environment)
  if(WIN32)
    # Tells a program whose DLL it should have loaded; see tests/os/loaded_dll_test.cpp.
    set(test_environment KE_TEST_PDB=$<IF:$<BOOL:${KE_PDB}>,ke_utils.pdb,none>)
  endif()
  set(emulator ${CMAKE_CROSSCOMPILING_EMULATOR})
  cmake_path(GET PROJECT_BINARY_DIR FILENAME build_name)
  set(script ${CMAKE_CURRENT_BINARY_DIR}/${name}_suites.cmake)
  file(GENERATE OUTPUT ${script} CONTENT "\
set(name [==[${build_name}/${name}]==])
set(emulator [==[${emulator}]==])
set(program [==[${program}]==])
set(only [==[${KE_TEST_ONLY}]==])
set(timeout ${KE_TEST_TIMEOUT})
set(test_environment [==[${test_environment}]==])
include([==[${PROJECT_SOURCE_DIR}/cmake/RegisterSuites.cmake]==])
")
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${script})
endfunction()
