# What goes wrong while files are written: loaded into the program before its own libraries, which no
# sanitizer allows.
if(NOT ZEV_SANITIZE)
    add_library(zev_test_faults MODULE ${CMAKE_CURRENT_LIST_DIR}/library/faults.cpp)
    zev_flags(zev_test_faults)
    target_link_libraries(zev_test_faults PRIVATE ${CMAKE_DL_LIBS})
    add_dependencies(test_faults zev_test_faults)
    target_compile_definitions(test_faults PRIVATE ZEV_FAULTS_LIBRARY="$<TARGET_FILE:zev_test_faults>")
endif()
