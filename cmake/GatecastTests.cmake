# SPDX-License-Identifier: MIT
# What tests share: a program per layer, a locale with a decimal comma, the header checks.
find_package(GTest QUIET)
if(NOT GTest_FOUND)
    message(FATAL_ERROR "The tests need GoogleTest and GoogleMock and didn't find them. "
        "Debian has them in the packages libgtest-dev and libgmock-dev.")
endif()
include(GoogleTest)

# Builds "de_DE.utf8", which a plain machine doesn't have; the tests find it by LOCPATH.
function(gatecast_add_comma_locale directory)
    find_program(GATECAST_LOCALEDEF localedef)
    if(NOT GATECAST_LOCALEDEF OR NOT EXISTS /usr/share/i18n/locales/de_DE)
        message(FATAL_ERROR "The tests build a locale and didn't find localedef and its sources. "
            "Debian has them in the package locales.")
    endif()
    add_custom_command(OUTPUT ${directory}/de_DE.utf8/LC_NUMERIC
        COMMAND ${CMAKE_COMMAND} -E make_directory ${directory}
        COMMAND ${GATECAST_LOCALEDEF} -i de_DE -f UTF-8 ${directory}/de_DE.utf8
        COMMENT "Building the locale de_DE.utf8"
        VERBATIM)
    add_custom_target(test_locale ALL DEPENDS ${directory}/de_DE.utf8/LC_NUMERIC)
endfunction()

# One program of GoogleTest; ctest knows each of its tests by name, and by the program as label.
function(gatecast_add_tests program)
    add_executable(${program} ${ARGN} ${PROJECT_SOURCE_DIR}/tests/support/CommaEnvironment.cpp)
    target_link_libraries(${program} PRIVATE gatecast::gatecast GTest::gmock GTest::gtest_main)
    target_include_directories(${program} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    add_dependencies(${program} test_locale)
    gtest_discover_tests(${program} DISCOVERY_TIMEOUT 60
        PROPERTIES ENVIRONMENT LOCPATH=${PROJECT_BINARY_DIR}/tests/locale TIMEOUT 300
            LABELS ${program})
endfunction()

# Compiles each public header alone and first. A glob, so that no new header escapes.
function(gatecast_add_header_checks target)
    set(sources)
    foreach(layer ${ARGN})
        file(GLOB headers RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS
            ${PROJECT_SOURCE_DIR}/${layer}/*.h)
        foreach(header ${headers})
            set(source ${CMAKE_CURRENT_BINARY_DIR}/headers/${header}.cpp)
            file(CONFIGURE OUTPUT ${source} CONTENT "#include \"${header}\"\n")
            list(APPEND sources ${source})
        endforeach()
    endforeach()
    add_library(${target} OBJECT ${sources})
    target_link_libraries(${target} PRIVATE gatecast::gatecast)
endfunction()
