# Lets tests and fuzz targets make the library's system calls fail.
set(KE_SYSTEM_CALLS ${PROJECT_SOURCE_DIR}/tests/support/system_calls.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${KE_SYSTEM_CALLS})

# ke_wrap_system_calls(<target>): the functions of tests/support/system_calls.h take the place of the system's.
function(ke_wrap_system_calls target)
  file(READ ${KE_SYSTEM_CALLS} text)
  string(REGEX MATCHALL "\nKE_WRAP\\([^,]*, [a-z0-9_]+|__real_[a-z0-9_]+" calls "${text}")
  if(NOT calls)
    message(FATAL_ERROR "${KE_SYSTEM_CALLS} defines no function")
  endif()
  list(TRANSFORM calls REPLACE ".*, |__real_" "-Wl,--wrap=")
  list(REMOVE_DUPLICATES calls)
  target_link_options(${target} PRIVATE ${calls})
endfunction()
