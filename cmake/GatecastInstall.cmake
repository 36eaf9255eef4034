# SPDX-License-Identifier: MIT
# What is installed, in three components: the library, what builds against it, and the programs.
# Headers go under include/gatecast, so that the include lines stay the same after installation.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(gatecast_headers ${CMAKE_INSTALL_INCLUDEDIR}/gatecast)
set(gatecast_config ${CMAKE_INSTALL_LIBDIR}/cmake/gatecast)
# The programs, those of them that are built.
set(gatecast_tools gatecast-station gatecast-console)

# Headers.
foreach(layer core json schema rpc device gatecast)
    install(DIRECTORY ${layer} DESTINATION ${gatecast_headers} COMPONENT gatecast_development
        FILES_MATCHING PATTERN "*.h" PATTERN "detail" EXCLUDE)
endforeach()
# What a public template needs; scripts/check-consumers compiles every installed header alone.
install(FILES core/detail/GroupedTable.h core/detail/NeverDestroyed.h core/detail/ProcessLock.h
    core/detail/SeededHash.h core/detail/SmallBlocks.h
    DESTINATION ${gatecast_headers}/core/detail COMPONENT gatecast_development)

# The library. The include directory is said here, so that another CMAKE_INSTALL_INCLUDEDIR is followed.
install(TARGETS gatecast EXPORT gatecastTargets
    RUNTIME COMPONENT gatecast_runtime
    LIBRARY COMPONENT gatecast_runtime NAMELINK_COMPONENT gatecast_development
    ARCHIVE COMPONENT gatecast_development
    INCLUDES DESTINATION ${gatecast_headers})
install(EXPORT gatecastTargets NAMESPACE gatecast:: DESTINATION ${gatecast_config}
    COMPONENT gatecast_development)

# The CMake package.
get_target_property(gatecast_kind gatecast TYPE)
set(gatecast_is_static OFF)
if(gatecast_kind STREQUAL STATIC_LIBRARY)
    set(gatecast_is_static ON)
    install(FILES cmake/FindGatecastYajl.cmake DESTINATION ${gatecast_config}
        COMPONENT gatecast_development)
endif()
configure_package_config_file(cmake/gatecastConfig.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/gatecastConfig.cmake
    INSTALL_DESTINATION ${gatecast_config})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/gatecastConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/gatecastConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/gatecastConfigVersion.cmake
    DESTINATION ${gatecast_config} COMPONENT gatecast_development)

# pkg-config. The prefix is found from the file's own place, so that the tree can be moved.
foreach(part LIBDIR INCLUDEDIR)
    set(gatecast_pc_${part} "\${prefix}/${CMAKE_INSTALL_${part}}")
    if(IS_ABSOLUTE "${CMAKE_INSTALL_${part}}")
        set(gatecast_pc_${part} "${CMAKE_INSTALL_${part}}")
    endif()
endforeach()
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(gatecast_pc_prefix "${CMAKE_INSTALL_PREFIX}")
else()
    file(RELATIVE_PATH gatecast_pc_up /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
    string(REGEX REPLACE "/$" "" gatecast_pc_prefix "\${pcfiledir}/${gatecast_pc_up}")
endif()
set(gatecast_pc_files ${CMAKE_CURRENT_BINARY_DIR}/gatecast.pc)
configure_file(cmake/gatecast.pc.in ${CMAKE_CURRENT_BINARY_DIR}/gatecast.pc @ONLY)

# The station for the tests of applications, an archive: the component "station" of the package.
if(TARGET gatecast_station)
    install(TARGETS gatecast_station EXPORT gatecastStationTargets
        ARCHIVE COMPONENT gatecast_development
        PUBLIC_HEADER DESTINATION ${gatecast_headers}/station COMPONENT gatecast_development
        INCLUDES DESTINATION ${gatecast_headers})
    install(EXPORT gatecastStationTargets NAMESPACE gatecast:: DESTINATION ${gatecast_config}
        COMPONENT gatecast_development)
    install(FILES cmake/gatecast-station.cmake DESTINATION ${gatecast_config}
        COMPONENT gatecast_development)
    list(APPEND gatecast_pc_files ${CMAKE_CURRENT_BINARY_DIR}/gatecast-station.pc)
    configure_file(cmake/gatecast-station.pc.in
        ${CMAKE_CURRENT_BINARY_DIR}/gatecast-station.pc @ONLY)
endif()
install(FILES ${gatecast_pc_files}
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT gatecast_development)

# How a debugger shows values: gdb finds its script by the library's own path, which is known only
# when it is installed.
if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/debug/gatecast-gdb.py AND NOT gatecast_is_static)
    set(gatecast_full_libdir "\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}")
    if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
        set(gatecast_full_libdir "${CMAKE_INSTALL_LIBDIR}")
    endif()
    install(FILES debug/gatecast-gdb.py
        DESTINATION ${CMAKE_INSTALL_DATADIR}/gdb/auto-load${gatecast_full_libdir}
        RENAME libgatecast.so.${PROJECT_VERSION}-gdb.py COMPONENT gatecast_development)
endif()
if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/debug/gatecast.natvis)
    install(FILES debug/gatecast.natvis DESTINATION ${CMAKE_INSTALL_DATADIR}/gatecast
        COMPONENT gatecast_development)
endif()

# The programs, which find the library beside them wherever the prefix lies, each with the manual page
# and the completion that the build makes of its help text.
file(RELATIVE_PATH gatecast_from_bin /prefix/${CMAKE_INSTALL_BINDIR} /prefix/${CMAKE_INSTALL_LIBDIR})
foreach(tool ${gatecast_tools})
    if(TARGET ${tool})
        set_target_properties(${tool} PROPERTIES INSTALL_RPATH $ORIGIN/${gatecast_from_bin})
        install(TARGETS ${tool} RUNTIME COMPONENT gatecast_tools)
        get_target_property(name ${tool} OUTPUT_NAME)
        if(NOT name)
            set(name ${tool})
        endif()
        install(FILES ${CMAKE_CURRENT_BINARY_DIR}/examples/man/${name}.1
            DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT gatecast_tools OPTIONAL)
        install(FILES ${CMAKE_CURRENT_BINARY_DIR}/examples/completions/${name}
            DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
            COMPONENT gatecast_tools OPTIONAL)
    endif()
endforeach()

if(GATECAST_DEBIAN)
    include(GatecastDebian)
endif()
