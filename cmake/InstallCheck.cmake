# Runs before everything else that `cmake --install` does. If something has not been built, it says so before
# the first file is copied, so that no prefix is left half filled.
set(needed_runtime $<TARGET_FILE:ke_utils>)
set(needed_development)
set(needed_tool)
if(KE_INSTALL_STATIC)
  list(APPEND needed_development $<TARGET_FILE:ke_utils_static>)
endif()
if(WIN32 AND KE_PDB)
  list(APPEND needed_development ${PROJECT_BINARY_DIR}/bin/ke_utils.pdb)
endif()
if(KE_BUILD_TOOLS)
  list(APPEND needed_tool $<TARGET_FILE:ke> ${PROJECT_BINARY_DIR}/tools/ke/completions/ke)
endif()

foreach(component IN ITEMS runtime development tool)
  install(CODE "
    set(needed [==[${needed_${component}}]==])
    foreach(file IN LISTS needed)
      if(NOT EXISTS \"\${file}\")
        message(FATAL_ERROR \"Nothing was installed, since this was not built: \${file}
First run: cmake --build ${PROJECT_BINARY_DIR}\")
      endif()
    endforeach()" COMPONENT ${component})
endforeach()
