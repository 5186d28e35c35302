# Compiler settings that all targets of this tree share: language level, warnings, sanitizers. Targets link
# ke_options (privately); nothing here affects an installed target.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

add_library(ke_options INTERFACE)
target_compile_options(ke_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(KE_WERROR)
  target_compile_options(ke_options INTERFACE -Werror)
endif()

option(KE_PDB "Make a PDB for the DLL; with clang and lld" OFF)
if(KE_PDB AND NOT (WIN32 AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang"))
  message(FATAL_ERROR "KE_PDB needs clang and lld: -DKE_WINDOWS_COMPILER=clang")
endif()

if(WIN32)
  # The version of Windows that libuv requires: Windows 8 or later.
  target_compile_definitions(ke_options INTERFACE _WIN32_WINNT=0x0602)
  # The compiler's runtime is linked into each program and DLL, so that there is only one file to ship. The
  # exceptions are tests that replace malloc at link time (KE_SHARED_RUNTIME): they must not count the
  # runtime's own allocations, and its thread-local variables are allocated by the functions that they
  # replace.
  target_link_options(ke_options INTERFACE
    $<$<NOT:$<BOOL:$<TARGET_PROPERTY:KE_SHARED_RUNTIME>>>:-static>
    # The same sources must produce the same file, whenever it is linked.
    -Wl,--no-insert-timestamp)
endif()

if(KE_SANITIZE)
  set(flags -fsanitize=${KE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # C programs lack the part of the runtime that this check calls.
    list(APPEND flags -fno-sanitize=function)
  endif()
  target_compile_options(ke_options INTERFACE ${flags})
  target_link_options(ke_options INTERFACE ${flags})
  if(KE_SANITIZE MATCHES address)
    target_compile_definitions(ke_options INTERFACE KE_ADDRESS_SANITIZER)
  endif()
endif()

if(KE_BUILD_FUZZ)
  target_compile_options(ke_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

if(KE_COVERAGE)
  # Some tests run a function in several threads; without atomic counters, lines that ran could appear not to.
  target_compile_options(ke_options INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(ke_options INTERFACE --coverage)
endif()
