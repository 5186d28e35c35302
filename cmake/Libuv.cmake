# Finds libuv as the imported target ke_libuv: the system's on Linux, the one that scripts/deps
# has built with the same toolchain for Windows.
if(WIN32)
  find_path(KE_LIBUV_INCLUDE uv.h PATHS ${KE_WINDOWS_DEPS}/include NO_DEFAULT_PATH REQUIRED)
  find_file(KE_LIBUV_DLL libuv.dll PATHS ${KE_WINDOWS_DEPS}/bin NO_DEFAULT_PATH REQUIRED)
  find_file(KE_LIBUV_IMPLIB libuv.dll.a PATHS ${KE_WINDOWS_DEPS}/lib NO_DEFAULT_PATH REQUIRED)
  add_library(ke_libuv SHARED IMPORTED GLOBAL)
  set_target_properties(ke_libuv PROPERTIES
    IMPORTED_LOCATION ${KE_LIBUV_DLL}
    IMPORTED_IMPLIB ${KE_LIBUV_IMPLIB}
    INTERFACE_COMPILE_DEFINITIONS USING_UV_SHARED=1
    INTERFACE_INCLUDE_DIRECTORIES ${KE_LIBUV_INCLUDE})
  file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
  file(COPY_FILE ${KE_LIBUV_DLL} ${PROJECT_BINARY_DIR}/bin/libuv.dll ONLY_IF_DIFFERENT)
else()
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(KE_LIBUV REQUIRED IMPORTED_TARGET GLOBAL libuv)
  add_library(ke_libuv ALIAS PkgConfig::KE_LIBUV)
endif()
