gatecast_add_tests(schema_tests
    ValidationResultTest.cpp)
