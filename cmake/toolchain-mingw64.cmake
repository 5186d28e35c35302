# Cross-builds 64-bit Windows programs with mingw-w64 (posix threads) and runs them under Wine.
# KE_WINDOWS_RUNTIME selects the C runtime: "ucrt", the Universal C Runtime that current compilers for Windows
# use, or "msvcrt", the older one that Debian's mingw-w64 links by default. What scripts/deps has built for a
# runtime is in KE_DEPS_DIR/windows-<runtime>. KE_WINDOWS_COMPILER is "gcc", or "clang", which with lld also
# makes a PDB; it uses gcc's runtime and C++ library.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(KE_WINDOWS_COMPILER gcc CACHE STRING "Compiler of the Windows build: gcc or clang")
set(gcc x86_64-w64-mingw32-gcc-posix)
if(KE_WINDOWS_COMPILER STREQUAL "gcc")
  set(CMAKE_C_COMPILER ${gcc})
  set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
elseif(KE_WINDOWS_COMPILER STREQUAL "clang")
  set(CMAKE_C_COMPILER clang-14)
  set(CMAKE_CXX_COMPILER clang++-14)
else()
  message(FATAL_ERROR "KE_WINDOWS_COMPILER is ${KE_WINDOWS_COMPILER}, neither gcc nor clang")
endif()
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

if(NOT KE_DEPS_DIR)
  if(DEFINED ENV{KE_DEPS_DIR})
    set(KE_DEPS_DIR $ENV{KE_DEPS_DIR})
  else()
    set(KE_DEPS_DIR ${CMAKE_CURRENT_LIST_DIR}/../.deps)
  endif()
  file(REAL_PATH ${KE_DEPS_DIR} KE_DEPS_DIR)
  set(KE_DEPS_DIR ${KE_DEPS_DIR} CACHE PATH "Folder that scripts/deps fills")
endif()
set(KE_WINDOWS_RUNTIME ucrt CACHE STRING "C runtime of the DLL and of its users: ucrt or msvcrt")
if(NOT KE_WINDOWS_RUNTIME MATCHES "^(ucrt|msvcrt)$")
  message(FATAL_ERROR "KE_WINDOWS_RUNTIME is ${KE_WINDOWS_RUNTIME}, neither ucrt nor msvcrt")
endif()
set(KE_WINDOWS_DEPS ${KE_DEPS_DIR}/windows-${KE_WINDOWS_RUNTIME})
# The compiler tests run in separate projects and need these, too.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KE_DEPS_DIR KE_WINDOWS_RUNTIME KE_WINDOWS_COMPILER)

# The flags below are set for the directory and not in CMAKE_<LANG>_FLAGS_INIT, because a user's own flags
# would replace those.
if(KE_WINDOWS_RUNTIME STREQUAL "ucrt")
  add_compile_definitions(_UCRT)
endif()
if(KE_WINDOWS_COMPILER STREQUAL "clang")
  include(${CMAKE_CURRENT_LIST_DIR}/mingw64-clang.cmake)
elseif(KE_WINDOWS_RUNTIME STREQUAL "ucrt")
  # The compiler's specs name its runtime in one place; a copy of them names the other runtime.
  set(specs ${CMAKE_BINARY_DIR}/CMakeFiles/ucrt.specs)
  execute_process(COMMAND ${gcc} -dumpspecs OUTPUT_VARIABLE text COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "-lmsvcrt" "-lucrt" ucrt_text "${text}")
  if(ucrt_text STREQUAL text)
    message(FATAL_ERROR "The specs of ${gcc} do not name -lmsvcrt")
  endif()
  file(WRITE ${specs} "${ucrt_text}")
  # libpthread.a calls _setjmp(), which has another name in this runtime's import library.
  add_link_options(-specs=${specs} -Wl,--defsym=_setjmp=__intrinsic_setjmpex)
endif()

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${KE_WINDOWS_DEPS})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR
    ${CMAKE_CURRENT_LIST_DIR}/../scripts/run-wine --deps ${KE_DEPS_DIR} --runtime ${KE_WINDOWS_RUNTIME})
