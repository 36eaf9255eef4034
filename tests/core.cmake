# SPDX-License-Identifier: MIT
gatecast_add_tests(core_tests
    CNumbersTest.cpp
    GroupedTableTest.cpp
    IPAddressTest.cpp
    InterfaceTest.cpp
    IntrusiveObjectTest.cpp
    IntrusiveStringTest.cpp
    MutexTest.cpp
    PooledStringMapTest.cpp
    SignalPublisherTest.cpp
    StringHashTest.cpp
    StringPoolTest.cpp
    UrlTest.cpp
    VersionTest.cpp)
target_compile_definitions(core_tests PRIVATE
    GATECAST_TEST_PACKAGE_VERSION="${PROJECT_VERSION}")
