# tests of the layer json: gatecast_add_tests(json_tests XTest.cpp ...)
