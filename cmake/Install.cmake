# What `cmake --install` installs where, and the files with which other projects find the library:
# find_package(ke_utils) and pkg-config. Components: runtime (the library), development, tool.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ke_utils)
set(static_dir ${CMAKE_INSTALL_LIBDIR})
if(WIN32)
  # Not in the same folder as the import library: with -static, MinGW's linker would confuse them.
  set(static_dir ${CMAKE_INSTALL_LIBDIR}/static)
endif()

install(TARGETS ke_utils EXPORT ke_utils-targets
  RUNTIME COMPONENT runtime
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development)
install(EXPORT ke_utils-targets NAMESPACE ke_utils:: DESTINATION ${package_dir}
  COMPONENT development)
if(KE_INSTALL_STATIC)
  install(TARGETS ke_utils_static EXPORT ke_utils-static-targets
    ARCHIVE DESTINATION ${static_dir} COMPONENT development)
  install(EXPORT ke_utils-static-targets NAMESPACE ke_utils:: DESTINATION ${package_dir}
    COMPONENT development)
endif()
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

configure_package_config_file(cmake/ke_utils-config.cmake.in ke_utils-config.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(ke_utils-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ke_utils-config.cmake
              ${PROJECT_BINARY_DIR}/ke_utils-config-version.cmake
  DESTINATION ${package_dir} COMPONENT development)

file(RELATIVE_PATH KE_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/ke_utils.pc.in ke_utils.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ke_utils.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

# Debuggers: GDB loads a file next to the library whose name is that of the library followed by "-gdb.py".
# Systems keep such files in a separate folder, under the library's own path.
install(FILES tools/natvis/ke_utils.natvis DESTINATION ${CMAKE_INSTALL_DATADIR}/ke_utils
  COMPONENT development)
if(NOT WIN32)
  set(gdb_dir ${CMAKE_INSTALL_LIBDIR})
  if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(gdb_dir ${CMAKE_INSTALL_DATADIR}/gdb/auto-load/usr/${CMAKE_INSTALL_LIBDIR})
  endif()
  # LLDB does not load any script by itself.
  install(FILES tools/debuggers/ke_utils_printers.py DESTINATION ${CMAKE_INSTALL_DATADIR}/ke_utils
    COMPONENT development)
  install(FILES tools/debuggers/ke_utils_printers.py DESTINATION ${gdb_dir}
    RENAME libke_utils.so.${PROJECT_VERSION}-gdb.py COMPONENT development)
endif()

install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
if(WIN32)
  set(implibs ke_utils.def)
  if(KE_DLLTOOL)
    list(APPEND implibs ke_utils.lib)
  endif()
  list(TRANSFORM implibs PREPEND ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/)
  install(FILES ${implibs} DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
  if(KE_PDB)
    # A debugger looks for the PDB next to the DLL.
    install(FILES ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/ke_utils.pdb DESTINATION ${CMAKE_INSTALL_BINDIR}
      COMPONENT development)
  endif()
  if(KE_LINK_LIBUV)
    # Needed by our static library.
    install(FILES ${KE_LIBUV_ARCHIVE} DESTINATION ${static_dir} RENAME libuv.a COMPONENT development)
  else()
    install(FILES ${KE_LIBUV_IMPLIB} DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
    install(FILES ${KE_LIBUV_DLL} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
  endif()
endif()
