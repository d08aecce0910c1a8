# The target doc: pages on the public headers and on each task, in doc/html of the build folder.
find_program(ZEV_DOXYGEN doxygen)
if(ZEV_DOXYGEN)
    configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
    add_custom_target(doc COMMAND ${ZEV_DOXYGEN} ${PROJECT_BINARY_DIR}/Doxyfile VERBATIM)
    if(ZEV_PACKAGES)
        set_target_properties(doc PROPERTIES EXCLUDE_FROM_ALL OFF)
    endif()
endif()
