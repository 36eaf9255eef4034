# tests of the layer core: gatecast_add_tests(core_tests XTest.cpp ...)
