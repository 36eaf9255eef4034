# SPDX-License-Identifier: MIT
# Debian packages by cpack: the library, what builds against it, and the programs. scripts/package
# calls it with a prefix of /usr, so that the library goes where Debian keeps those of its architecture.
find_program(GATECAST_GZIP gzip)
if(NOT GATECAST_GZIP OR NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr" OR gatecast_is_static)
    message(FATAL_ERROR "Debian packages need gzip, the prefix /usr and the shared library; "
        "scripts/package says how they are made.")
endif()

# The version and its date are Debian's, of the newest entry of its changelog.
file(STRINGS ${CMAKE_CURRENT_SOURCE_DIR}/packaging/debian/changelog gatecast_debian_head LIMIT_COUNT 1)
string(REGEX REPLACE ".*\\((.*)\\).*" "\\1" gatecast_debian_version "${gatecast_debian_head}")
if(NOT gatecast_debian_version MATCHES "^${PROJECT_VERSION}-([0-9]+)$")
    message(FATAL_ERROR "packaging/debian/changelog tells of ${gatecast_debian_version}, "
        "not of ${PROJECT_VERSION}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_1})

# Each package has its copyright and its two changelogs, which are in no other installation.
set(gatecast_doc ${CMAKE_CURRENT_BINARY_DIR}/debian)
file(MAKE_DIRECTORY ${gatecast_doc})
foreach(pair CHANGELOG.md:changelog.gz packaging/debian/changelog:changelog.Debian.gz)
    string(REPLACE ":" ";" pair ${pair})
    list(GET pair 0 from)
    list(GET pair 1 to)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${from})
    execute_process(COMMAND ${GATECAST_GZIP} -9nc ${CMAKE_CURRENT_SOURCE_DIR}/${from}
        OUTPUT_FILE ${gatecast_doc}/${to} COMMAND_ERROR_IS_FATAL ANY)
endforeach()

set(CPACK_PACKAGE_NAME gatecast)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
if(NOT CPACK_PACKAGE_CONTACT) # whoever hands packages on says who answers for them
    set(CPACK_PACKAGE_CONTACT "gatecast developers <gatecast@example.org>")
endif()
# Each package has a summary of its own: one for all would stand before it.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_NAME} built using CMake")
set(CPACK_DEFAULT_PACKAGE_DESCRIPTION_SUMMARY "${CPACK_PACKAGE_DESCRIPTION_SUMMARY}")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
# By DESTDIR, so that files which are placed by the full prefix know it.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE gatecast)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# gatecast_debian_package(COMPONENT PACKAGE SECTION SUMMARY DESCRIPTION): a component and its papers.
function(gatecast_debian_package component package section summary description)
    install(FILES ${PROJECT_SOURCE_DIR}/packaging/debian/copyright
        ${gatecast_doc}/changelog.gz ${gatecast_doc}/changelog.Debian.gz
        DESTINATION share/doc/${package} COMPONENT ${component}_papers)
    string(TOUPPER ${component}_package group)
    foreach(part ${component} ${component}_papers)
        string(TOUPPER ${part} part)
        set(CPACK_COMPONENT_${part}_GROUP ${component}_package PARENT_SCOPE)
    endforeach()
    set(CPACK_DEBIAN_${group}_PACKAGE_NAME ${package} PARENT_SCOPE)
    set(CPACK_DEBIAN_${group}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${group}_DESCRIPTION "${summary}\n${description}" PARENT_SCOPE)
    set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} ${component}_papers PARENT_SCOPE)
endfunction()

set(gatecast_what "gatecast is a C++17 library for applications that talk to networked
door stations and cameras: JSON values and schemas, remote calls, and a
client that opens doors, answers bells and reads the mail box.")
set(CPACK_COMPONENTS_ALL)
gatecast_debian_package(gatecast_runtime libgatecast${PROJECT_VERSION_MAJOR} libs
    "client library for networked door stations"
    "${gatecast_what}\n.\nThis package has the shared library.")
gatecast_debian_package(gatecast_development libgatecast-dev libdevel
    "client library for networked door stations (development files)"
    "${gatecast_what}\n.\nThis package has the headers, the files for CMake and pkg-config, and a
simulated station for the tests of applications.")
gatecast_debian_package(gatecast_tools gatecast-tools net
    "console and simulator of networked door stations"
    "${gatecast_what}\n.\nThis package has a console for such devices and a simulated one.")

# The library says which package its users need and has the loader told; its users are asked which
# libraries they use.
set(gatecast_own "libgatecast${PROJECT_VERSION_MAJOR} (= ${gatecast_debian_version})")
file(CONFIGURE OUTPUT ${gatecast_doc}/shlibs CONTENT
    "libgatecast ${PROJECT_VERSION_MAJOR} libgatecast${PROJECT_VERSION_MAJOR} (>= ${PROJECT_VERSION})\n")
file(CONFIGURE OUTPUT ${gatecast_doc}/triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_GATECAST_RUNTIME_PACKAGE_PACKAGE_CONTROL_EXTRA
    ${gatecast_doc}/shlibs ${gatecast_doc}/triggers)
set(CPACK_DEBIAN_GATECAST_RUNTIME_PACKAGE_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_GATECAST_DEVELOPMENT_PACKAGE_PACKAGE_DEPENDS
    "${gatecast_own}, libboost-dev (>= 1.74), libyajl-dev (>= 2.1)")
set(CPACK_DEBIAN_GATECAST_DEVELOPMENT_PACKAGE_PACKAGE_RECOMMENDS "libjpeg-dev")
set(CPACK_DEBIAN_GATECAST_TOOLS_PACKAGE_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_GATECAST_TOOLS_PACKAGE_PACKAGE_DEPENDS
    "libgatecast${PROJECT_VERSION_MAJOR} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR})

# Debian wants manual pages packed.
install(CODE "
    file(GLOB pages \"\$ENV{DESTDIR}/usr/${CMAKE_INSTALL_MANDIR}/man1/*.1\")
    foreach(page \${pages})
        execute_process(COMMAND ${GATECAST_GZIP} -9nf \${page} COMMAND_ERROR_IS_FATAL ANY)
    endforeach()" COMPONENT gatecast_tools_papers)
include(CPack)
