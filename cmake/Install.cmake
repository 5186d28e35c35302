# What `cmake --install` puts where, and the files by which other projects find the library:
# find_package(ke_utils) and pkg-config.
include(CMakePackageConfigHelpers)

set(installed ke_utils)
if(KE_INSTALL_STATIC)
  list(APPEND installed ke_utils_static)
endif()
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ke_utils)

install(TARGETS ${installed} EXPORT ke_utils-targets)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT ke_utils-targets NAMESPACE ke_utils:: DESTINATION ${package_dir})

configure_file(cmake/ke_utils-config.cmake.in ke_utils-config.cmake @ONLY)
write_basic_package_version_file(ke_utils-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ke_utils-config.cmake
              ${PROJECT_BINARY_DIR}/ke_utils-config-version.cmake DESTINATION ${package_dir})

configure_file(cmake/ke_utils.pc.in ke_utils.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ke_utils.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(WIN32)
  install(FILES ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/ke_utils.def DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(FILES ${KE_LIBUV_DLL} DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
