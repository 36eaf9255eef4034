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
