# Cross-builds 64-bit Windows programs with mingw-w64 (posix threads) and runs them under Wine.
# What scripts/deps has built for Windows is found in KE_DEPS_DIR/windows.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
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
# The compiler tests run in projects of their own and need the folder too.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KE_DEPS_DIR)

set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${KE_DEPS_DIR}/windows)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR
    ${CMAKE_CURRENT_LIST_DIR}/../scripts/run-wine --deps ${KE_DEPS_DIR})
