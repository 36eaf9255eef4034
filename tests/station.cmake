# SPDX-License-Identifier: MIT
# The simulation behind the station: its line, its time, its panel, and it as a library for the
# tests of applications.
gatecast_add_tests(station_tests
    FaultsTest.cpp PanelTest.cpp SimulationTest.cpp TrafficTest.cpp VirtualStationTest.cpp)
target_link_libraries(station_tests PRIVATE gatecast_station_server)

# The tests that the guide shows.
add_subdirectory(${PROJECT_SOURCE_DIR}/examples/unit_test ${CMAKE_CURRENT_BINARY_DIR}/unit_test)

# Programs with which the station is driven from outside.
find_package(Python3 3.9 REQUIRED COMPONENTS Interpreter)
add_test(NAME Examples.TheStationIsRightOnEveryConnection
    COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/station-connections
        $<TARGET_FILE:gatecast-station>)
