# An overlay port: vcpkg install ke-utils --overlay-ports=packaging/vcpkg. It builds the source tree that contains it.
set(SOURCE_PATH "${CURRENT_PORT_DIR}/../..")

vcpkg_check_features(OUT_FEATURE_OPTIONS features FEATURES tool KE_BUILD_TOOLS)
string(COMPARE EQUAL "${VCPKG_LIBRARY_LINKAGE}" "static" install_static)
vcpkg_cmake_configure(
  SOURCE_PATH "${SOURCE_PATH}"
  OPTIONS
    -DKE_BUILD_TESTS=OFF
    -DKE_BUILD_EXAMPLES=OFF
    -DKE_INSTALL_STATIC=${install_static}
    ${features}
)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME ke_utils CONFIG_PATH lib/cmake/ke_utils)
vcpkg_fixup_pkgconfig()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE")
file(INSTALL "${CMAKE_CURRENT_LIST_DIR}/usage" DESTINATION "${CURRENT_PACKAGES_DIR}/share/${PORT}")
