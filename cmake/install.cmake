# What `cmake --install` puts where. Nothing in the installed tree names the place of the tree, so it may be moved.
# The headers keep their names below include/zev; those of the host have a folder of their own there.
include(CMakePackageConfigHelpers)

set(headers ${CMAKE_INSTALL_INCLUDEDIR}/zev)
set(config ${CMAKE_INSTALL_LIBDIR}/cmake/ZEV)
set(exports ${PROJECT_BINARY_DIR}/exports)

# zev_pc(NAME DESCRIPTION REQUIRES HEADERS LIBS): a file for pkg-config.
function(zev_pc name description requires folder libs)
    file(RELATIVE_PATH up ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
    string(REGEX REPLACE "/$" "" up "${up}")
    file(WRITE ${exports}/${name}.pc
        "prefix=\${pcfiledir}/${up}\nincludedir=\${prefix}/${folder}\nlibdir=\${prefix}/${CMAKE_INSTALL_LIBDIR}\n\n"
        "Name: ${name}\nDescription: ${description}\nVersion: ${PROJECT_VERSION}\n"
        "Requires: ${requires}\nCflags: -I\${includedir}\nLibs: -L\${libdir} ${libs}\n")
    install(FILES ${exports}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()

install(TARGETS libzev zevhost EXPORT ZEVTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libraries NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(EXPORT ZEVTargets NAMESPACE ZEV:: DESTINATION ${config} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/inc/ ${PROJECT_BINARY_DIR}/inc/
    DESTINATION ${headers} COMPONENT development FILES_MATCHING PATTERN *.h)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/host/ ${PROJECT_SOURCE_DIR}/src/host/include/
    DESTINATION ${headers}/host COMPONENT development FILES_MATCHING PATTERN *.h)
if(ZEV_LIBRARY_TYPE STREQUAL "STATIC")
    zev_pc(zevhost "The reference host of ZEV" "spdlog fmt" ${headers}/host "-lzevhost -pthread -ldl")
    zev_pc(zev "${PROJECT_DESCRIPTION}" "zevhost libhwy" ${headers} "-lzev")
else()
    zev_pc(zevhost "The reference host of ZEV" "" ${headers}/host "-lzevhost")
    zev_pc(zev "${PROJECT_DESCRIPTION}" "zevhost" ${headers} "-lzev")
endif()

set(ZEV_MODULE_DIR ${CMAKE_INSTALL_LIBDIR}/zev)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/ZEVConfig.cmake.in ${exports}/ZEVConfig.cmake
    INSTALL_DESTINATION ${config} PATH_VARS ZEV_MODULE_DIR)
write_basic_package_version_file(${exports}/ZEVConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${exports}/ZEVConfig.cmake ${exports}/ZEVConfigVersion.cmake
    DESTINATION ${config} COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zev COMPONENT libraries)
install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/CHANGELOG.md
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zev-doc COMPONENT doc)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs ${PROJECT_SOURCE_DIR}/examples
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zev-doc COMPONENT doc)
if(ZEV_DOXYGEN AND ZEV_PACKAGES)
    install(DIRECTORY ${PROJECT_BINARY_DIR}/doc/html DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zev-doc COMPONENT doc)
endif()

if(NOT ZEV_BUILD_APP)
    return()
endif()

install(TARGETS zevio zevpresent EXPORT ZEVPresentTargets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(EXPORT ZEVPresentTargets NAMESPACE ZEV:: DESTINATION ${config} COMPONENT development)
foreach(room IN ITEMS io present)
    file(GLOB files CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${room}/*.h)
    install(FILES ${files} DESTINATION ${headers}/${room} COMPONENT development)
endforeach()
zev_pc(zevio "DICOM files in and pictures out, for ZEV" "libpng libjpeg libtiff-4 zlib libisal" ${headers}
    "-lzevio -ldl")
zev_pc(zevpresent "Images opened for presentation by ZEV" "zevio zev nlohmann_json" ${headers} "-lzevpresent")

# The modules have a folder that is no business of the loader's; io/module.cpp finds them.
install(TARGETS zevcodecs zevtext zevhttp LIBRARY DESTINATION ${ZEV_MODULE_DIR} COMPONENT program)
file(RELATIVE_PATH libraries ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set_target_properties(zev_program PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries}")
install(TARGETS zev_program RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
install(FILES ${PROJECT_SOURCE_DIR}/cli/zev.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)
install(DIRECTORY ${ZEV_HELP}/man1 DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT program)
install(FILES ${ZEV_HELP}/zev DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT program)
install(FILES ${ZEV_HELP}/_zev DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT program)
install(FILES ${ZEV_HELP}/zev.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT program)
