# tests of the layer rpc: gatecast_add_tests(rpc_tests XTest.cpp ...)
