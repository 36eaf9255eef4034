# SPDX-License-Identifier: MIT
gatecast_add_tests(schema_tests
    SchemaBindingTest.cpp
    SchemaCheckTest.cpp
    SchemaDefaultsTest.cpp
    SchemaLoadingTest.cpp
    SchemaPropertyTest.cpp
    SchemaRegistryTest.cpp
    ValidationReportTest.cpp
    ValidationResultTest.cpp)
