# SPDX-License-Identifier: MIT
# The component "station": gatecast::station, a simulated station for an application's own tests.
find_package(JPEG QUIET)
if(JPEG_FOUND)
    include("${CMAKE_CURRENT_LIST_DIR}/gatecastStationTargets.cmake")
    set(gatecast_station_FOUND TRUE)
else()
    set(gatecast_station_FOUND FALSE)
    set(gatecast_NOT_FOUND_MESSAGE
        "its component station needs libjpeg: install the package libjpeg-dev")
endif()
