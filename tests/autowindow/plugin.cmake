# The vendor's library as the tests of test_autowindow load it. A linker takes the part of a symbol behind an at sign for a
# version, so the entry point is built under a name of the same length; the test writes the real name into a copy. The
# hash table of a library with a single symbol has a single bucket, which fits any name.
add_library(zev_test_plugin MODULE ${CMAKE_CURRENT_LIST_DIR}/plugin/vendor_library.cpp)
zev_flags(zev_test_plugin)
set_target_properties(zev_test_plugin PROPERTIES PREFIX "" OUTPUT_NAME vendor_library SUFFIX ".dll")
if(WIN32)
    # Here the real name is exported by its definition file.
    target_link_options(zev_test_plugin PRIVATE ${CMAKE_CURRENT_LIST_DIR}/plugin/vendor_library.def)
else()
    target_compile_options(zev_test_plugin PRIVATE -O1 -fno-sanitize=all -fno-stack-protector)
    target_link_options(zev_test_plugin PRIVATE -nostdlib -fno-sanitize=all -Wl,--hash-style=sysv)
endif()
add_dependencies(test_autowindow zev_test_plugin)
target_compile_definitions(test_autowindow PRIVATE ZEV_VENDOR_LIBRARY="$<TARGET_FILE:zev_test_plugin>")
