# SPDX-License-Identifier: MIT
# Boost's headers and yajl, or the name of the package that brings what is missing.
if(POLICY CMP0167)
    cmake_policy(SET CMP0167 OLD) # CMake's own search for Boost finds headers that come without a config
endif()

find_package(Boost 1.74 QUIET)
if(NOT Boost_FOUND)
    message(FATAL_ERROR
        "gatecast needs the headers of Boost, 1.74 or newer, and didn't find them. "
        "Debian has them in the package libboost-dev; headers elsewhere are named by "
        "-DBoost_INCLUDE_DIR=DIRECTORY.")
endif()
if(NOT TARGET Boost::headers)
    add_library(Boost::headers INTERFACE IMPORTED)
    target_include_directories(Boost::headers INTERFACE ${Boost_INCLUDE_DIRS})
endif()

find_package(GatecastYajl 2.1 QUIET)
if(NOT GatecastYajl_FOUND)
    message(FATAL_ERROR
        "gatecast needs yajl, 2.1 or newer, and didn't find it. "
        "Debian has it in the package libyajl-dev; a yajl elsewhere is named by "
        "-DCMAKE_PREFIX_PATH=DIRECTORY.")
endif()
