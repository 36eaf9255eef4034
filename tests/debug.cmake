# SPDX-License-Identifier: MIT
# What a debugger shows: the printers and the natvis file of debug/, tried by driving gdb. Not in
# builds that say by -g1 that nobody debugs them, nor under a sanitizer, whose core files are huge.
if("${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_DEBUG}" MATCHES "-g1|-fsanitize")
    return()
endif()

find_program(GATECAST_GDB gdb)
if(NOT GATECAST_GDB)
    message(FATAL_ERROR "The tests drive gdb and didn't find it. "
        "Debian has it in the package gdb.")
endif()

add_custom_target(debug_tests)
function(gatecast_add_debug_test name)
    add_test(NAME Debugger.${name} COMMAND ${ARGN})
    set_tests_properties(Debugger.${name} PROPERTIES TIMEOUT 300 LABELS debug_tests)
endfunction()
# One source as three programs: the compiler leaves out of the debug information of a program what
# the library has, unless it is told to say all.
function(gatecast_add_debug_program name)
    add_executable(${name} debug/values.cpp)
    target_link_libraries(${name} PRIVATE gatecast::gatecast)
    target_compile_options(${name} PRIVATE ${ARGN} -g)
    add_dependencies(debug_tests ${name})
endfunction()
set(gatecast_all_types $<IF:$<CXX_COMPILER_ID:GNU>,-femit-class-debug-always,-fstandalone-debug>)
gatecast_add_debug_program(debug_values -O0 ${gatecast_all_types})
gatecast_add_debug_program(debug_values_optimized -O2 ${gatecast_all_types})

set(gatecast_debug ${PROJECT_SOURCE_DIR}/debug)
set(gatecast_check_printers ${CMAKE_CURRENT_SOURCE_DIR}/debug/check-printers
    ${gatecast_debug}/gatecast-gdb.py)
gatecast_add_debug_test(ShowsTheTypesInAProcessAndInACoreFile
    ${gatecast_check_printers} ${CMAKE_CURRENT_SOURCE_DIR}/debug/printers.expected
    $<TARGET_FILE:debug_values>)
gatecast_add_debug_test(ShowsTheTypesInOptimizedCode
    ${gatecast_check_printers} ${CMAKE_CURRENT_SOURCE_DIR}/debug/printers.expected
    $<TARGET_FILE:debug_values_optimized>)
gatecast_add_debug_test(KnowsEveryMemberThatThePrintersAndTheNatvisFileName
    ${GATECAST_GDB} -nx -batch -iex "set auto-load no" -iex "set debuginfod enabled off"
        -ex "python directory = '${gatecast_debug}'"
        -x ${CMAKE_CURRENT_SOURCE_DIR}/debug/check-members.py $<TARGET_FILE:debug_values>)

# As with packages: the library has lost its debug information, the application has its own.
get_target_property(gatecast_kind gatecast TYPE)
if(gatecast_kind STREQUAL SHARED_LIBRARY)
    gatecast_add_debug_program(debug_application -O2)
    set(gatecast_stripped ${CMAKE_CURRENT_BINARY_DIR}/stripped)
    add_custom_command(TARGET debug_application POST_BUILD
        COMMAND ${CMAKE_COMMAND} -E make_directory ${gatecast_stripped}
        COMMAND ${CMAKE_STRIP} --strip-debug $<TARGET_FILE:gatecast>
            -o ${gatecast_stripped}/$<TARGET_SONAME_FILE_NAME:gatecast>
        VERBATIM)
    # Where the installed file stands when gdb comes upon the installed library.
    set(gatecast_auto_load ${CMAKE_CURRENT_BINARY_DIR}/auto-load)
    file(REAL_PATH ${PROJECT_BINARY_DIR} gatecast_real_directory)
    configure_file(${gatecast_debug}/gatecast-gdb.py
        ${gatecast_auto_load}${gatecast_real_directory}/libgatecast.so.${PROJECT_VERSION}-gdb.py
        COPYONLY)
    gatecast_add_debug_test(IsLoadedWithTheLibrary
        ${GATECAST_GDB} -nx -batch -iex "set debuginfod enabled off"
            -iex "set auto-load scripts-directory ${gatecast_auto_load}"
            -iex "set auto-load safe-path ${gatecast_auto_load}"
            -ex "break look" -ex "run" -ex "up" -ex "print objectPointer" -ex "kill"
            $<TARGET_FILE:debug_application>)
    set_tests_properties(Debugger.IsLoadedWithTheLibrary PROPERTIES
        PASS_REGULAR_EXPRESSION "= object of 3 \\(shared by 3\\) = {")
    gatecast_add_debug_test(NeedsNoDebugInformationOfTheLibrary
        ${gatecast_check_printers} ${CMAKE_CURRENT_SOURCE_DIR}/debug/application.expected
        $<TARGET_FILE:debug_application> ${gatecast_stripped})
endif()
