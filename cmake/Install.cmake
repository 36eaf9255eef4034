# Headers under include/gatecast, so that the include lines stay the same after installation.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/gatecast)
foreach(layer core json schema rpc device)
    install(DIRECTORY ${layer} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/gatecast
        FILES_MATCHING PATTERN "*.h" PATTERN "detail" EXCLUDE)
endforeach()
install(FILES core/detail/GroupedTable.h # a public template needs it
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/gatecast/core/detail)
install(TARGETS gatecast EXPORT gatecastTargets)
install(EXPORT gatecastTargets NAMESPACE gatecast:: DESTINATION ${config_dir})
configure_package_config_file(cmake/gatecastConfig.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/gatecastConfig.cmake INSTALL_DESTINATION ${config_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/gatecastConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/gatecastConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/gatecastConfigVersion.cmake
    cmake/FindYajl.cmake
    DESTINATION ${config_dir})
