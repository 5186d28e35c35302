# ke_hardening: how distributions build their libraries on Linux, for what is installed of the optimised builds.
# Sanitizers and coverage see the plain code. Windows has its own (see WindowsDll.cmake).
add_library(ke_hardening INTERFACE)
set(KE_HARDENED OFF)
if(NOT WIN32 AND CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT KE_SANITIZE AND NOT KE_COVERAGE AND NOT KE_BUILD_FUZZ)
  set(KE_HARDENED ON)
  target_compile_options(ke_hardening INTERFACE
    -fstack-protector-strong -fstack-clash-protection -fcf-protection -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  target_compile_definitions(ke_hardening INTERFACE _GLIBCXX_ASSERTIONS)
  target_link_options(ke_hardening INTERFACE -Wl,-z,relro,-z,now)
  # The notes that allow indirect branch tracking and shadow stacks have to be asked for, since crti.o has
  # none. It holds _init() and _fini(), which begin with no landing pad; they do nothing for a library, and with
  # other names in their places nobody calls them.
  set(KE_CET_NOTES -Wl,-z,ibt,-z,shstk,-init=ke_no_init,-fini=ke_no_fini)
endif()
