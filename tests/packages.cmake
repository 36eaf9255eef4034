# SPDX-License-Identifier: MIT
# What holds an installed library together: forward and umbrella headers, and what it exports.
add_library(forward_headers OBJECT forward_headers.cpp)
target_link_libraries(forward_headers PRIVATE gatecast::gatecast)

add_test(NAME Headers.EachUmbrellaIncludesAllHeadersOfItsLayer
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/umbrella-headers)

# What applications can link against is a list that is checked in.
get_target_property(kind gatecast TYPE)
if(kind STREQUAL SHARED_LIBRARY)
    add_test(NAME Symbols.AreTheOnesThatAreListed
        COMMAND ${PROJECT_SOURCE_DIR}/scripts/check-symbols $<TARGET_FILE:gatecast>)
endif()
