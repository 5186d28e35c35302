# What the DLL has in addition to the shared libraries of other systems: its plain name, a version resource,
# import libraries for mingw-w64 (libke_utils.dll.a) and for MSVC (ke_utils.lib) with the .def file from which
# they are made, and, with KE_PDB, debugging information for Windows debuggers.
ke_add_resource(ke_utils ke_utils.dll "${PROJECT_DESCRIPTION}")
target_sources(ke_utils PRIVATE os/windows_no_exceptions.cpp)
target_compile_options(ke_utils PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
set_target_properties(ke_utils PROPERTIES
  PREFIX ""
  IMPORT_PREFIX "lib"
  # A DLL's name contains no version: tools load "ke_utils.dll".
  DLL_NAME_WITH_SOVERSION OFF)

# The linker's list does not name the library, so a tool that makes an import library from it would have to
# guess.
set(def ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/ke_utils.def)
set(raw_def ${CMAKE_CURRENT_BINARY_DIR}/exports.def)
target_link_options(ke_utils PRIVATE -Wl,--output-def,${raw_def})
set(library_line ${CMAKE_CURRENT_BINARY_DIR}/library.def)
file(CONFIGURE OUTPUT ${library_line} CONTENT "LIBRARY ke_utils.dll\n")
add_custom_command(TARGET ke_utils POST_BUILD
  COMMAND ${CMAKE_COMMAND} -E cat ${library_line} ${raw_def} > ${def} VERBATIM)
set_property(TARGET ke_utils APPEND PROPERTY ADDITIONAL_CLEAN_FILES ${def} ${raw_def})

find_program(KE_DLLTOOL NAMES llvm-dlltool-14 llvm-dlltool DOC "Makes the import library for MSVC")
if(KE_DLLTOOL)
  set(library_for_msvc ${CMAKE_ARCHIVE_OUTPUT_DIRECTORY}/ke_utils.lib)
  add_custom_command(TARGET ke_utils POST_BUILD
    COMMAND ${KE_DLLTOOL} -m i386:x86-64 -D ke_utils.dll -d ${def} -l ${library_for_msvc} VERBATIM)
  set_property(TARGET ke_utils APPEND PROPERTY ADDITIONAL_CLEAN_FILES ${library_for_msvc})
else()
  message(STATUS "No llvm-dlltool: ke_utils.lib, the import library for MSVC, is not made")
endif()

if(KE_PDB)
  set(pdb ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/ke_utils.pdb)
  set(natvis ${PROJECT_SOURCE_DIR}/tools/natvis/ke_utils.natvis)
  # Sources are named relative to the tree's root, so that nothing reveals where it was.
  target_compile_options(ke_utils_objects PRIVATE -g -gcodeview
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/= -ffile-compilation-dir=.)
  target_link_options(ke_utils PRIVATE -g -Wl,--pdb=${pdb} -Wl,-Xlink=-pdbaltpath:ke_utils.pdb
    -Wl,-Xlink=-natvis:${natvis} -Wl,-Xlink=-cetcompat)
  set_property(TARGET ke_utils APPEND PROPERTY LINK_DEPENDS ${natvis})
  # The start-up code and libstdc++ contain debugging information of another kind (DWARF), which is removed.
  find_program(KE_STRIP NAMES llvm-strip-14 llvm-strip REQUIRED)
  add_custom_command(TARGET ke_utils POST_BUILD
    COMMAND ${KE_STRIP} --strip-debug $<TARGET_FILE:ke_utils> VERBATIM)
  set_property(TARGET ke_utils APPEND PROPERTY ADDITIONAL_CLEAN_FILES ${pdb})
  # No PDB contains the static library's debugging information, and its records name the folder of the build.
  add_custom_command(TARGET ke_utils_static POST_BUILD
    COMMAND ${KE_STRIP} --strip-debug $<TARGET_FILE:ke_utils_static> VERBATIM)
endif()
