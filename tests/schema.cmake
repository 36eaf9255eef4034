# tests of the layer schema: gatecast_add_tests(schema_tests XTest.cpp ...)
