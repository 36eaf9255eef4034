# SPDX-License-Identifier: MIT
# The console as a program, and what it is made of.
gatecast_add_tests(console_tests TransportTest.cpp)
target_link_libraries(console_tests PRIVATE gatecast_station gatecast_console_logic Threads::Threads)
target_compile_definitions(console_tests PRIVATE
    GATECAST_EXAMPLES_DIR="${PROJECT_SOURCE_DIR}/examples")
