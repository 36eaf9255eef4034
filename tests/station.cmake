# SPDX-License-Identifier: MIT
# The simulation behind the station: its line, its time, its panel, and it as a library for the
# tests of applications.
gatecast_add_tests(station_tests
    FaultsTest.cpp PanelTest.cpp SimulationTest.cpp TrafficTest.cpp VirtualStationTest.cpp)
target_link_libraries(station_tests PRIVATE gatecast_station_server)

# The tests that the guide shows.
add_subdirectory(${PROJECT_SOURCE_DIR}/examples/unit_test ${CMAKE_CURRENT_BINARY_DIR}/unit_test)

# Programs that drive the station from outside.
find_package(Python3 3.9 QUIET COMPONENTS Interpreter)
if(NOT Python3_FOUND)
    message(FATAL_ERROR "The tests drive the station by Python 3.9 or later and didn't find it. "
        "Debian has it in the package python3.")
endif()
add_test(NAME Examples.TheStationIsRightOnEveryConnection
    COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/station-connections
        $<TARGET_FILE:gatecast-station>)
set_tests_properties(Examples.TheStationIsRightOnEveryConnection PROPERTIES TIMEOUT 300)

# The page is the same however the program is built: clicked in the builds that people debug.
if("${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_DEBUG}" MATCHES "-g1|-fsanitize")
    return()
endif()
find_program(GATECAST_CHROMIUM NAMES chromium chromium-browser)
find_program(GATECAST_CHROMEDRIVER chromedriver)
mark_as_advanced(GATECAST_CHROMIUM GATECAST_CHROMEDRIVER)
if(NOT GATECAST_CHROMIUM OR NOT GATECAST_CHROMEDRIVER)
    message(FATAL_ERROR "The tests click the station's panel in a browser and didn't find it. "
        "Debian has it in the packages chromium and chromium-driver.")
endif()
add_test(NAME Examples.ThePanelIsClickedInABrowser
    COMMAND Python3::Interpreter ${CMAKE_CURRENT_SOURCE_DIR}/panel-in-browser
        $<TARGET_FILE:gatecast-station> $<TARGET_FILE:gatecast-console> ${GATECAST_CHROMEDRIVER}
        ${GATECAST_CHROMIUM})
set_tests_properties(Examples.ThePanelIsClickedInABrowser PROPERTIES TIMEOUT 300)
