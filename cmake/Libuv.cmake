# Finds libuv as the imported target ke_libuv: on Linux the system's; for Windows the one that scripts/deps
# has built with the same toolchain, as a DLL or, with KE_LINK_LIBUV, as a static library.
if(NOT WIN32)
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(KE_LIBUV REQUIRED IMPORTED_TARGET GLOBAL libuv)
  add_library(ke_libuv ALIAS PkgConfig::KE_LIBUV)
  return()
endif()

option(KE_LINK_LIBUV "Link libuv into the DLL instead of needing its DLL" OFF)
if(KE_LIBUV_DLL AND NOT KE_LIBUV_DLL STREQUAL "${KE_WINDOWS_DEPS}/bin/libuv.dll")
  message(FATAL_ERROR "This folder was configured for another C runtime; remove it: ${PROJECT_BINARY_DIR}")
endif()
find_path(KE_LIBUV_INCLUDE uv.h PATHS ${KE_WINDOWS_DEPS}/include NO_DEFAULT_PATH REQUIRED)
find_file(KE_LIBUV_DLL libuv.dll PATHS ${KE_WINDOWS_DEPS}/bin NO_DEFAULT_PATH REQUIRED)
find_file(KE_LIBUV_IMPLIB libuv.dll.a PATHS ${KE_WINDOWS_DEPS}/lib NO_DEFAULT_PATH REQUIRED)
find_file(KE_LIBUV_ARCHIVE libuv_a.a PATHS ${KE_WINDOWS_DEPS}/lib NO_DEFAULT_PATH REQUIRED)
# The system libraries that libuv itself calls.
set(KE_LIBUV_SYSTEM_LIBRARIES psapi user32 advapi32 iphlpapi userenv ws2_32)
if(KE_LINK_LIBUV)
  add_library(ke_libuv STATIC IMPORTED GLOBAL)
  set_target_properties(ke_libuv PROPERTIES
    IMPORTED_LOCATION ${KE_LIBUV_ARCHIVE}
    INTERFACE_LINK_LIBRARIES "${KE_LIBUV_SYSTEM_LIBRARIES}"
    INTERFACE_INCLUDE_DIRECTORIES ${KE_LIBUV_INCLUDE})
else()
  add_library(ke_libuv SHARED IMPORTED GLOBAL)
  set_target_properties(ke_libuv PROPERTIES
    IMPORTED_LOCATION ${KE_LIBUV_DLL}
    IMPORTED_IMPLIB ${KE_LIBUV_IMPLIB}
    INTERFACE_COMPILE_DEFINITIONS USING_UV_SHARED=1
    INTERFACE_INCLUDE_DIRECTORIES ${KE_LIBUV_INCLUDE})
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
  file(COPY_FILE ${KE_LIBUV_DLL} ${PROJECT_BINARY_DIR}/bin/libuv.dll ONLY_IF_DIFFERENT)
endif()
