# SPDX-License-Identifier: MIT
# The station and the console, in process and as programs.
gatecast_add_tests(examples_tests
    CameraViewTest.cpp ConsoleTest.cpp HostileConsoleTest.cpp PictureTest.cpp SaveFileTest.cpp StationMailBoxTest.cpp
    StationTest.cpp)
target_link_libraries(examples_tests PRIVATE gatecast_station gatecast_console_logic)
target_compile_definitions(examples_tests PRIVATE
    GATECAST_EXAMPLES_DIR="${PROJECT_SOURCE_DIR}/examples")

gatecast_add_tests(push_server_tests PushServerTest.cpp)
target_link_libraries(push_server_tests PRIVATE gatecast_push_server_logic)
target_compile_definitions(push_server_tests PRIVATE
    GATECAST_PUSH_SERVER="$<TARGET_FILE:gatecast-push-server>")
add_dependencies(push_server_tests gatecast-push-server)

add_test(NAME Examples.TheDemoRunsOverARealConnection
    COMMAND ${PROJECT_SOURCE_DIR}/scripts/demo --no-build
        --build-dir ${PROJECT_BINARY_DIR})
add_test(NAME Examples.TheConsoleFailsByOneLine
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/console-failures ${PROJECT_BINARY_DIR})
add_test(NAME Examples.TheMinimalClientPrintsWhatTheReadmeSays
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/same-output ${PROJECT_SOURCE_DIR}/examples/minimal.expected
        $<TARGET_FILE:gatecast-minimal>)
set_tests_properties(Examples.TheDemoRunsOverARealConnection Examples.TheConsoleFailsByOneLine
    Examples.TheMinimalClientPrintsWhatTheReadmeSays PROPERTIES TIMEOUT 300)
