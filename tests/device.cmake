# SPDX-License-Identifier: MIT
# tests of the layer device: gatecast_add_tests(device_tests XTest.cpp ...)
gatecast_add_tests(device_tests
    CacheTest.cpp
    CommandRoadTest.cpp
    DeviceResponsesTest.cpp
    GatecastConversationTest.cpp
    HeaderUpdateTest.cpp
    MailBoxTest.cpp
    PreviewTest.cpp
    ThreadsTest.cpp)
# A program of its own: what a station says of its methods holds for the whole process.
gatecast_add_tests(hostile_tests HostileStationTest.cpp)
# A program of its own: it replaces operator new.
gatecast_add_tests(preview_memory_tests PreviewMemoryTest.cpp)

# What a call would do to the application stands in the compiler's warning of it: here an error, so
# that each build of the target tells it again.
add_library(deprecated_calls OBJECT EXCLUDE_FROM_ALL deprecated-calls/CallsThatNeverReturn.cpp)
target_link_libraries(deprecated_calls PRIVATE gatecast::gatecast)
target_compile_options(deprecated_calls PRIVATE -Werror=deprecated-declarations)
add_test(NAME Cache.TheCompilerWarnsOfCallsThatNeverReturn
    COMMAND ${CMAKE_COMMAND} --build ${PROJECT_BINARY_DIR} --target deprecated_calls)
set_tests_properties(Cache.TheCompilerWarnsOfCallsThatNeverReturn PROPERTIES
    PASS_REGULAR_EXPRESSION
    "setPreviewCacheCapacity.*: never returns:.*setCapacity.*: never returns:.*setCapacity.*: never returns:")
