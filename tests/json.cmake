# SPDX-License-Identifier: MIT
gatecast_add_tests(json_tests
    DeepTextTest.cpp
    DeepValueTest.cpp
    JsonParserTest.cpp
    JsonPrinterTest.cpp
    ListTest.cpp
    NaturalCodeTest.cpp
    ObjectTest.cpp
    ParseErrorPlaceTest.cpp
    PathTest.cpp
    PendingTokenTest.cpp
    TreeIteratorTest.cpp
    ValueModelTest.cpp
    VariantAliasingTest.cpp
    VariantIteratorTest.cpp
    VariantLocaleTest.cpp
    VariantSharingTest.cpp
    VariantTest.cpp)

# One of the tests compares the parser with the bare tokenizer.
target_link_libraries(json_tests PRIVATE gatecast::yajl)
