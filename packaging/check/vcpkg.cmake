# SPDX-License-Identifier: MIT
# Runs a port's portfile.cmake with stand-ins for vcpkg's functions, which do the least of what the real
# ones do: one configuration, no triplet. Called by recipes.py with -P and
#   PORT, DOWNLOADS, WORK, PREFIX: directories; DEPENDENCY: a prefix to find dependencies in.
cmake_minimum_required(VERSION 3.20)

set(CURRENT_PACKAGES_DIR ${PREFIX})

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE said ERROR_VARIABLE said)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR "${ARGN}\n${said}")
    endif()
endfunction()

function(vcpkg_download_distfile out)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "FILENAME;SHA512" URLS)
    file(SHA512 ${DOWNLOADS}/${arg_FILENAME} sum)
    if(arg_UNPARSED_ARGUMENTS OR NOT arg_URLS OR NOT sum STREQUAL arg_SHA512)
        message(FATAL_ERROR "${arg_FILENAME} isn't what the port asks for: ${sum}")
    endif()
    set(${out} ${DOWNLOADS}/${arg_FILENAME} PARENT_SCOPE)
endfunction()

function(vcpkg_extract_source_archive out)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" ARCHIVE PATCHES)
    file(ARCHIVE_EXTRACT INPUT ${arg_ARCHIVE} DESTINATION ${WORK}/source)
    file(GLOB root ${WORK}/source/*)
    foreach(patch ${arg_PATCHES})
        run(patch -p1 --fuzz=0 -d ${root} -i ${patch})
    endforeach()
    set(${out} ${root} PARENT_SCOPE)
endfunction()

function(vcpkg_cmake_configure)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" SOURCE_PATH OPTIONS)
    run(${CMAKE_COMMAND} -S ${arg_SOURCE_PATH} -B ${WORK}/build -G Ninja ${arg_OPTIONS}
        -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_EXTENSIONS=OFF -DBUILD_SHARED_LIBS=OFF
        -DCMAKE_INSTALL_PREFIX=${PREFIX} -DCMAKE_INSTALL_LIBDIR=lib
        -DCMAKE_PREFIX_PATH=${DEPENDENCY})
endfunction()

function(vcpkg_cmake_install)
    run(${CMAKE_COMMAND} --build ${WORK}/build)
    run(${CMAKE_COMMAND} --install ${WORK}/build)
endfunction()

function(vcpkg_cmake_config_fixup)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "CONFIG_PATH;PACKAGE_NAME" "")
    if(NOT EXISTS ${PREFIX}/${arg_CONFIG_PATH}/gatecastConfig.cmake)
        message(FATAL_ERROR "there is no package in ${arg_CONFIG_PATH}")
    endif()
endfunction()

function(vcpkg_fixup_pkgconfig)
    file(GLOB files ${PREFIX}/lib/pkgconfig/*.pc)
    if(NOT files)
        message(FATAL_ERROR "there is no file for pkg-config")
    endif()
endfunction()

function(vcpkg_install_copyright)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "" FILE_LIST)
    file(COPY ${arg_FILE_LIST} DESTINATION ${PREFIX}/share/copyright)
endfunction()

include(${PORT}/portfile.cmake)
