# SPDX-License-Identifier: MIT
# The console as a program, and what it is made of.
set(console_sources ConsoleCommandTest.cpp TransportTest.cpp)
if(GATECAST_LIBEDIT_LIBRARY AND GATECAST_LIBEDIT_INCLUDE_DIR)
    list(APPEND console_sources ShellTest.cpp)
endif()
gatecast_add_tests(console_tests ${console_sources})
target_link_libraries(console_tests PRIVATE
    gatecast_station gatecast_console_logic Threads::Threads util)
target_compile_definitions(console_tests PRIVATE
    GATECAST_EXAMPLES_DIR="${PROJECT_SOURCE_DIR}/examples"
    GATECAST_STATION="$<TARGET_FILE:gatecast-station>"
    GATECAST_CONSOLE="$<TARGET_FILE:gatecast-console>")
add_dependencies(console_tests gatecast-station gatecast-console)

add_test(NAME Console.ObeysScriptsOverRealConnections
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/console-commands ${PROJECT_BINARY_DIR})
add_test(NAME Console.HasManualPagesAndCompletion
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/manual-pages ${PROJECT_BINARY_DIR})
set_tests_properties(Console.ObeysScriptsOverRealConnections Console.HasManualPagesAndCompletion
    PROPERTIES TIMEOUT 300)
