# Included by toolchain-mingw64.cmake: uses clang and lld with the headers, the start-up code and the
# libraries of Debian's mingw-w64.
if(NOT KE_WINDOWS_RUNTIME STREQUAL "ucrt")
  message(FATAL_ERROR "The Windows build by clang is for the Universal C Runtime")
endif()
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)

# clang accepts gcc's folders only if their names are version numbers; Debian's is called "12-posix". A folder
# of links gives it an acceptable name. Otherwise clang would search this machine's own headers.
execute_process(COMMAND ${gcc} -print-search-dirs OUTPUT_VARIABLE dirs COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCH "install: ([^\n]+)/\n" unused "${dirs}")
set(gcc_folder ${CMAKE_MATCH_1})
string(REGEX MATCH "/([0-9.]+)-posix$" unused "${gcc_folder}")
if(NOT CMAKE_MATCH_1)
  message(FATAL_ERROR "${gcc} stands in ${gcc_folder}, which does not end in <version>-posix")
endif()
set(CMAKE_SYSROOT ${CMAKE_BINARY_DIR}/CMakeFiles/sysroot)
file(MAKE_DIRECTORY ${CMAKE_SYSROOT}/lib/gcc/x86_64-w64-mingw32)
file(CREATE_LINK ${gcc_folder} ${CMAKE_SYSROOT}/lib/gcc/x86_64-w64-mingw32/${CMAKE_MATCH_1} SYMBOLIC)
file(CREATE_LINK /usr/x86_64-w64-mingw32 ${CMAKE_SYSROOT}/x86_64-w64-mingw32 SYMBOLIC)

# By default clang would link msvcrt. libpthread.a calls _setjmp(), which has another name in the import
# library of the Universal C Runtime.
add_link_options(-fuse-ld=lld-14 -nodefaultlibs -Wl,-Xlink=/alternatename:_setjmp=__intrinsic_setjmpex)
set(ke_runtime "-lmingw32 -lgcc -lgcc_eh -lmoldname -lmingwex -lucrt -lpthread -ladvapi32 -lshell32 -luser32")
string(APPEND ke_runtime " -lkernel32")
foreach(language IN ITEMS C CXX)
  set(CMAKE_${language}_STANDARD_LIBRARIES "-lstdc++ ${ke_runtime} ${ke_runtime}" CACHE STRING
      "Libraries that are linked with every program")
endforeach()
