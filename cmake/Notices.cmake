# THIRD_PARTY_NOTICES.txt: which parts of the installed files others have written, with each part's exact
# version and the text of its license, as in Debian's packages. Included last, when the parts are known.
# KE_PARTS keeps them for the bill of materials, one element each: name|version|license|relation|supplier.
set(KE_PARTS "")
set(notices "What others wrote of the files of ke_utils ${PROJECT_VERSION}. Its own license is in the file LICENSE.\n")
find_program(KE_DPKG_QUERY dpkg-query)

# ke_part(<name> <version> <SPDX license> <relation> <package> <sentence>): the package is Debian's.
function(ke_part name version license relation package sentence)
  set(packaged "")
  if(KE_DPKG_QUERY)
    execute_process(COMMAND ${KE_DPKG_QUERY} -W "-f=\${source:Package} \${source:Version}" ${package}
      OUTPUT_VARIABLE packaged RESULT_VARIABLE result ERROR_QUIET)
    if(NOT result EQUAL 0)
      set(packaged "")
    endif()
  endif()
  set(text "The license's text is not on the machine that built this.\n")
  set(copyright /usr/share/doc/${package}/copyright)
  if(EXISTS ${copyright})
    file(READ ${copyright} text)
    set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${copyright})
  else()
    message(STATUS "No ${copyright}: the notices name ${name} without its license's text")
  endif()
  set(heading "${name} ${version} (${license})")
  if(packaged)
    string(APPEND heading "\nDebian source package ${packaged}")
  endif()
  string(REPEAT "=" 80 rule)
  set(notices "${notices}\n${rule}\n${heading}\n${sentence}\n${rule}\n\n${text}" PARENT_SCOPE)
  set(KE_PARTS "${KE_PARTS};${name}|${version}|${license}|${relation}|${packaged}" PARENT_SCOPE)
endfunction()

# Returns what follows "#define <name>" in the header, without quotes.
function(ke_defined_in header name result)
  file(STRINGS ${header} line REGEX "^# *define +${name}[ \t]" LIMIT_COUNT 1)
  string(REGEX REPLACE "^# *define +${name}[ \t]+\"?([^\" \t]*).*" "\\1" value "${line}")
  if(value STREQUAL "")
    message(FATAL_ERROR "${header} does not define ${name}")
  endif()
  set(${result} ${value} PARENT_SCOPE)
endfunction()

if(WIN32)
  foreach(number IN ITEMS MAJOR MINOR PATCH)
    ke_defined_in(${KE_LIBUV_INCLUDE}/uv/version.h UV_VERSION_${number} uv_${number})
  endforeach()
  set(sentence "Comes beside ke_utils.dll, as libuv.dll.")
  if(KE_LINK_LIBUV)
    set(sentence "Is inside ke_utils.dll, and comes as libuv.a beside the static library.")
  endif()
  ke_part(libuv ${uv_MAJOR}.${uv_MINOR}.${uv_PATCH} "MIT AND ISC AND BSD-2-Clause AND BSD-3-Clause" CONTAINS
    libuv1-dev "${sentence}")
  foreach(number IN ITEMS MAJOR MINOR BUGFIX)
    ke_defined_in(/usr/x86_64-w64-mingw32/include/_mingw_mac.h __MINGW64_VERSION_${number} mingw_${number})
  endforeach()
  ke_part(mingw-w64 ${mingw_MAJOR}.${mingw_MINOR}.${mingw_BUGFIX} "MIT AND BSD-3-Clause AND ZPL-2.1"
    CONTAINS mingw-w64-x86-64-dev
    "Its start-up code, its part of the C runtime and its threads are inside the programs and the DLL.")
  # Debian's compiler appends the name of its thread model to the result of -dumpfullversion.
  execute_process(COMMAND ${gcc} -dM -E -x c /dev/null OUTPUT_VARIABLE defined COMMAND_ERROR_IS_FATAL ANY)
  foreach(number IN ITEMS GNUC GNUC_MINOR GNUC_PATCHLEVEL)
    string(REGEX MATCH "#define __${number}__ ([0-9]+)" unused "${defined}")
    set(${number} ${CMAKE_MATCH_1})
  endforeach()
  ke_part(gcc-runtime ${GNUC}.${GNUC_MINOR}.${GNUC_PATCHLEVEL} "GPL-3.0-or-later WITH GCC-exception-3.1"
    CONTAINS g++-mingw-w64-x86-64-posix
    "libgcc and libstdc++ are inside the programs and the DLL.")
else()
  ke_part(libuv ${KE_LIBUV_VERSION} "MIT AND ISC AND BSD-2-Clause AND BSD-3-Clause" DYNAMIC_LINK libuv1-dev
    "Is not among the files; the library needs it.")
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    ke_part(gcc-runtime ${CMAKE_CXX_COMPILER_VERSION} "GPL-3.0-or-later WITH GCC-exception-3.1" CONTAINS libstdc++6
      "What the headers of libstdc++ define inline is inside ke; libstdc++ and libgcc are not among the files.")
  endif()
endif()
if(KE_BUILD_TOOLS)
  ke_defined_in(${CLI11_INCLUDE_DIR}/CLI/Version.hpp CLI11_VERSION cli11_version)
  ke_part(CLI11 ${cli11_version} BSD-3-Clause CONTAINS libcli11-dev "Is inside ke.")
endif()
list(REMOVE_ITEM KE_PARTS "")
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/THIRD_PARTY_NOTICES.txt CONTENT "@notices@" @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/THIRD_PARTY_NOTICES.txt DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)

# The bill of materials describes the files as installed, so it is made last.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/sbom_settings.cmake @ONLY CONTENT
"set(version [==[@PROJECT_VERSION@]==])
set(supplier [==[@KE_MAINTAINER@]==])
set(parts [==[@KE_PARTS@]==])
set(output [==[@CMAKE_INSTALL_DOCDIR@/ke_utils.spdx.json]==])
")
install(CODE "
  if(NOT CMAKE_INSTALL_COMPONENT)
    include([==[${PROJECT_BINARY_DIR}/sbom_settings.cmake]==])
    include([==[${PROJECT_SOURCE_DIR}/cmake/Sbom.cmake]==])
  endif()" COMPONENT runtime)
