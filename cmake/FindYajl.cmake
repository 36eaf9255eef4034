# SPDX-License-Identifier: MIT
# Finds yajl, which brings no CMake config of its own: defines Yajl::yajl and Yajl_VERSION.
find_path(Yajl_INCLUDE_DIR yajl/yajl_parse.h)
find_library(Yajl_LIBRARY NAMES yajl)
if(Yajl_INCLUDE_DIR AND EXISTS ${Yajl_INCLUDE_DIR}/yajl/yajl_version.h)
    file(READ ${Yajl_INCLUDE_DIR}/yajl/yajl_version.h yajl_version_text)
    foreach(part MAJOR MINOR MICRO)
        string(REGEX MATCH "YAJL_${part} ([0-9]+)" unused "${yajl_version_text}")
        set(yajl_${part} ${CMAKE_MATCH_1})
    endforeach()
    set(Yajl_VERSION ${yajl_MAJOR}.${yajl_MINOR}.${yajl_MICRO})
endif()
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Yajl
    REQUIRED_VARS Yajl_LIBRARY Yajl_INCLUDE_DIR
    VERSION_VAR Yajl_VERSION
    REASON_FAILURE_MESSAGE "install the package libyajl-dev (2.1 or newer)")
if(Yajl_FOUND AND NOT TARGET Yajl::yajl)
    add_library(Yajl::yajl UNKNOWN IMPORTED)
    set_target_properties(Yajl::yajl PROPERTIES
        IMPORTED_LOCATION ${Yajl_LIBRARY}
        INTERFACE_INCLUDE_DIRECTORIES ${Yajl_INCLUDE_DIR})
endif()
mark_as_advanced(Yajl_INCLUDE_DIR Yajl_LIBRARY)
