# ke_hardening: the options with which distributions build their libraries on Linux, for the installed files
# of optimised builds. Builds with sanitizers or coverage do not use them. For Windows, see WindowsDll.cmake.
add_library(ke_hardening INTERFACE)
set(KE_HARDENED OFF)
if(NOT WIN32 AND CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT KE_SANITIZE AND NOT KE_COVERAGE AND NOT KE_BUILD_FUZZ)
  set(KE_HARDENED ON)
  target_compile_options(ke_hardening INTERFACE
    -fstack-protector-strong -fstack-clash-protection -fcf-protection -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  target_compile_definitions(ke_hardening INTERFACE _GLIBCXX_ASSERTIONS)
  target_link_options(ke_hardening INTERFACE -Wl,-z,relro,-z,now)
  # The notes that permit indirect branch tracking and shadow stacks must be requested explicitly, because
  # crti.o has none. It contains _init() and _fini(), which do not begin with landing pads. They do nothing for
  # a library. The linker is told other names, which do not exist, so that the loader never calls them.
  set(KE_CET_NOTES -Wl,-z,ibt,-z,shstk,-init=ke_no_init,-fini=ke_no_fini)
endif()
