# SPDX-License-Identifier: MIT
# Headers go under include/gatecast, so that the include lines stay the same after installation.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(gatecast_headers ${CMAKE_INSTALL_INCLUDEDIR}/gatecast)
set(gatecast_config ${CMAKE_INSTALL_LIBDIR}/cmake/gatecast)

foreach(layer core json schema rpc device)
    install(DIRECTORY ${layer} DESTINATION ${gatecast_headers}
        FILES_MATCHING PATTERN "*.h" PATTERN "detail" EXCLUDE)
endforeach()
# What a public template needs; scripts/check-consumers compiles every installed header alone.
install(FILES core/detail/GroupedTable.h core/detail/NeverDestroyed.h core/detail/ProcessLock.h
    core/detail/SeededHash.h
    DESTINATION ${gatecast_headers}/core/detail)

# The include directory is said here, so that another CMAKE_INSTALL_INCLUDEDIR is followed.
install(TARGETS gatecast EXPORT gatecastTargets INCLUDES DESTINATION ${gatecast_headers})
install(EXPORT gatecastTargets NAMESPACE gatecast:: DESTINATION ${gatecast_config})

get_target_property(gatecast_kind gatecast TYPE)
set(gatecast_is_static OFF)
if(gatecast_kind STREQUAL STATIC_LIBRARY)
    set(gatecast_is_static ON)
    install(FILES cmake/FindYajl.cmake DESTINATION ${gatecast_config})
endif()
configure_package_config_file(cmake/gatecastConfig.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/gatecastConfig.cmake
    INSTALL_DESTINATION ${gatecast_config})
# Before 1.0 a minor version may change what an application sees.
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/gatecastConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/gatecastConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/gatecastConfigVersion.cmake
    DESTINATION ${gatecast_config})
