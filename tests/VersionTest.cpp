// SPDX-License-Identifier: MIT
#include "gatecast/version.h"

#include <gtest/gtest.h>

#include <string>

#if GATECAST_VERSION < 10000
#error "a preprocessor can't compare the version"
#endif
static_assert(GATECAST_VERSION == GATECAST_VERSION_MAJOR * 10000 + GATECAST_VERSION_MINOR * 100 +
                                      GATECAST_VERSION_PATCH);

TEST(Version, OfTheLibraryThatRunsIsThatOfItsHeaders) {
    EXPECT_EQ(GATECAST_VERSION, qx::versionNumber());
    EXPECT_STREQ(GATECAST_VERSION_STRING, qx::versionString());
}

TEST(Version, OfTheHeadersIsThatOfThePackage) {
    EXPECT_STREQ(GATECAST_TEST_PACKAGE_VERSION, GATECAST_VERSION_STRING);
}

TEST(Version, IsThreeNumbersAndTwoPoints) {
    const std::string text = std::to_string(GATECAST_VERSION_MAJOR) + "." +
                             std::to_string(GATECAST_VERSION_MINOR) + "." +
                             std::to_string(GATECAST_VERSION_PATCH);
    EXPECT_EQ(text, GATECAST_VERSION_STRING);
}
