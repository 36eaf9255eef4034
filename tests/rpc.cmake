# SPDX-License-Identifier: MIT
gatecast_add_tests(rpc_tests RequestTest.cpp ResponseTest.cpp ConversationTest.cpp JsonServerTest.cpp
    MethodCatalogueTest.cpp)
