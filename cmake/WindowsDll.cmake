# What the DLL has beyond the shared library of other systems: its plain name, a version
# resource, and a .def file beside the import library for tools of other compilers.
enable_language(RC)
configure_file(${PROJECT_SOURCE_DIR}/cmake/version.rc.in ${CMAKE_CURRENT_BINARY_DIR}/version.rc @ONLY)
target_sources(ke_utils PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/version.rc)
set_target_properties(ke_utils PROPERTIES
  PREFIX ""
  IMPORT_PREFIX "lib"
  # A DLL's name carries no version: tools load "ke_utils.dll".
  DLL_NAME_WITH_SOVERSION OFF)
set(KE_DEF_FILE ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/ke_utils.def)
target_link_options(ke_utils PRIVATE -Wl,--output-def,${KE_DEF_FILE})
set_property(TARGET ke_utils APPEND PROPERTY ADDITIONAL_CLEAN_FILES ${KE_DEF_FILE})
