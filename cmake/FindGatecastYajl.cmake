# SPDX-License-Identifier: MIT
# Finds yajl, which brings no CMake config of its own, and defines gatecast::yajl. The names are ours,
# so that a project may have its own idea of yajl beside this one.
#
# A prefix that the user names (CMAKE_PREFIX_PATH, GatecastYajl_ROOT) comes first, then what pkg-config
# says, then the places that CMake knows.
find_package(PkgConfig QUIET)
if(PKG_CONFIG_FOUND)
    pkg_check_modules(GATECAST_PC_YAJL QUIET yajl)
endif()
# With our own include line; yajl.pc of some versions leads one directory too deep.
find_path(GatecastYajl_INCLUDE_DIR yajl/yajl_parse.h
    HINTS ${GATECAST_PC_YAJL_INCLUDEDIR} ${GATECAST_PC_YAJL_INCLUDE_DIRS})
find_library(GatecastYajl_LIBRARY NAMES yajl yajl_s
    HINTS ${GATECAST_PC_YAJL_LIBDIR} ${GATECAST_PC_YAJL_LIBRARY_DIRS})
if(GatecastYajl_INCLUDE_DIR AND EXISTS ${GatecastYajl_INCLUDE_DIR}/yajl/yajl_version.h)
    file(READ ${GatecastYajl_INCLUDE_DIR}/yajl/yajl_version.h yajl_version_text)
    foreach(part MAJOR MINOR MICRO)
        string(REGEX MATCH "YAJL_${part} ([0-9]+)" unused "${yajl_version_text}")
        set(yajl_${part} ${CMAKE_MATCH_1})
    endforeach()
    set(GatecastYajl_VERSION ${yajl_MAJOR}.${yajl_MINOR}.${yajl_MICRO})
endif()
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(GatecastYajl
    REQUIRED_VARS GatecastYajl_LIBRARY GatecastYajl_INCLUDE_DIR
    VERSION_VAR GatecastYajl_VERSION
    REASON_FAILURE_MESSAGE "install the package libyajl-dev (2.1 or newer)")
if(GatecastYajl_FOUND AND NOT TARGET gatecast::yajl)
    add_library(gatecast::yajl UNKNOWN IMPORTED)
    set_target_properties(gatecast::yajl PROPERTIES
        IMPORTED_LOCATION ${GatecastYajl_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${GatecastYajl_INCLUDE_DIR})
endif()
mark_as_advanced(GatecastYajl_INCLUDE_DIR GatecastYajl_LIBRARY)
