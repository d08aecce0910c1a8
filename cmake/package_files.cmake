# Run by CPack before it packs: what Debian wants in every package. CPack has put each component into a folder.
set(source ${CMAKE_CURRENT_LIST_DIR}/..)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} COMPONENT)
    set(package ${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME})
    set(root ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/share)
    set(doc ${root}/doc/${package})
    file(MAKE_DIRECTORY ${doc})
    # A copyright file takes the place of the license.
    file(REMOVE ${root}/doc/zev/LICENSE)
    file(WRITE ${doc}/copyright
        "Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\n"
        "Upstream-Name: ZEV\n\nFiles: *\nCopyright: 2026 The authors of ZEV\nLicense: Apache-2.0\n"
        " On Debian systems the text of the license is in /usr/share/common-licenses/Apache-2.0.\n")
    file(WRITE ${doc}/changelog
        "zev (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium\n\n"
        "  * See CHANGELOG.md of zev-doc.\n\n"
        " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
    file(GLOB files ${doc}/changelog ${root}/man/man1/*.1)
    execute_process(COMMAND gzip -9nf ${files} COMMAND_ERROR_IS_FATAL ANY)
    # An empty folder remains of the license.
    file(GLOB left ${root}/doc/zev/*)
    if(NOT left)
        file(REMOVE_RECURSE ${root}/doc/zev)
    endif()
endforeach()
