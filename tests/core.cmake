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
    UrlTest.cpp)
