// SPDX-License-Identifier: MIT
#include "core/IPAddress.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(IPAddress, KnowsItsFamilyFromItsText) {
    struct Row {
        std::string text;
        bool v4;
        bool v6;
    };
    const Row rows[] = {
        {"127.0.0.1", true, false},
        {"0.0.0.0", true, false},
        {"255.255.255.255", true, false},
        {"::", false, true},
        {"::1", false, true},
        {"fe80::1", false, true},
        {"FE80::ABCD", false, true},
        {"2001:db8:0:0:8:800:200c:417a", false, true},
        {"::ffff:192.0.2.1", false, true},
        {"", false, false},
        {"256.0.0.1", false, false},
        {"1.2.3", false, false},
        {"1.2.3.4.5", false, false},
        {"1.2.3.04x", false, false},
        {"0x7f.0.0.1", false, false},
        {" 127.0.0.1", false, false},
        {"127.0.0.1 ", false, false},
        {"127.0.0.1/8", false, false},
        {"::1/64", false, false},
        {"fe80::1%lo", false, false},
        {"[::1]", false, false},
        {"1::2::3", false, false},
        {":::", false, false},
        {"12345::", false, false},
        {"localhost", false, false},
        {std::string("127.0.0.1\0", 10), false, false},
        {std::string("::1\0x", 5), false, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(row.v4, qx::IPAddress(row.text).isIPv4());
        EXPECT_EQ(row.v6, qx::IPAddress(row.text).isIPv6());
    }
}

} // namespace
