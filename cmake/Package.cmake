# Packages made by `cpack` from what `cmake --install` installs: TGZ for Linux, ZIP for Windows.
# scripts/package-deb makes the Debian packages, scripts/release all of them.
set(KE_MAINTAINER "ke_utils maintainers <maintainers@ke-utils.example>" CACHE STRING "Who answers for the packages")
set(CPACK_PACKAGE_NAME ke-utils)
set(CPACK_PACKAGE_VENDOR "the ke_utils authors")
set(CPACK_PACKAGE_CONTACT ${KE_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(KE_BUILD_TOOLS)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  # CPack would call it win32.
  set(CPACK_SYSTEM_NAME win64)
else()
  set(CPACK_GENERATOR TGZ)
endif()

include(CPack)
