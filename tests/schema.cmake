gatecast_add_tests(schema_tests
    SchemaCheckTest.cpp
    SchemaDefaultsTest.cpp
    SchemaLoadingTest.cpp
    SchemaRegistryTest.cpp)
