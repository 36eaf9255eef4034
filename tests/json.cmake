# SPDX-License-Identifier: MIT
gatecast_add_tests(json_tests
    BuildTest.cpp
    DeepTextTest.cpp
    DeepValueTest.cpp
    FormatTest.cpp
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

# Values as arguments of a formatting library.
find_package(fmt QUIET)
if(NOT fmt_FOUND)
    message(FATAL_ERROR "The tests format values and didn't find fmt. "
        "Debian has it in the package libfmt-dev.")
endif()
target_link_libraries(json_tests PRIVATE fmt::fmt)
