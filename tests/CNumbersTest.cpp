// SPDX-License-Identifier: MIT
#include "core/detail/CNumbers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <langinfo.h>
#include <limits>
#include <locale.h>

namespace {

namespace detail = qx::detail;

TEST(CNumbers, ReadsTheIntegerThatATextBeginsWith) {
    struct Row {
        const char* text;
        std::int64_t value;
    };
    const Row rows[] = {
        {"", 0},
        {"0", 0},
        {"42", 42},
        {" \t\n42", 42},
        {"-42x", -42},
        {"+7", 7},
        {"x42", 0},
        {"1.9", 1},
        {"1e3", 1},
        {"0x10", 0},
        {"010", 10},
        {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
        {"9223372036854775808", std::numeric_limits<std::int64_t>::max()},
        {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
        {"-99999999999999999999", std::numeric_limits<std::int64_t>::min()},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.value, detail::text_to_integer(row.text)) << row.text;
    }
}

TEST(CNumbers, ReadsTheRealThatATextBeginsWith) {
    EXPECT_EQ(1.5, detail::text_to_real("1.5"));
    EXPECT_EQ(-0.25, detail::text_to_real(" -0.25x"));
    EXPECT_EQ(1.0, detail::text_to_real("1,5"));
    EXPECT_EQ(2000.0, detail::text_to_real("2e3"));
    EXPECT_EQ(0.0, detail::text_to_real("x"));
    EXPECT_EQ(0.0, detail::text_to_real(""));
}

TEST(CNumbers, AScopeHoldsTheClassicLocaleAndGivesTheOldOneBack) {
    const locale_t outer = ::uselocale(nullptr);
    {
        const detail::CNumericScope scope;
        EXPECT_NE(outer, ::uselocale(nullptr));
        EXPECT_STREQ(".", ::nl_langinfo(RADIXCHAR));
        {
            const detail::CNumericScope inner;
            EXPECT_STREQ(".", ::nl_langinfo(RADIXCHAR));
        }
        EXPECT_NE(outer, ::uselocale(nullptr));
    }
    EXPECT_EQ(outer, ::uselocale(nullptr));
}

} // namespace
