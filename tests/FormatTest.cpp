// SPDX-License-Identifier: MIT
#include "json/Format.h"

#include "json/Build.h"

#include <fmt/ranges.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using json::Variant;

std::string refusal_of(const char* field) {
    try {
        return fmt::format(fmt::runtime(field), Variant(5));
    } catch (const fmt::format_error& error) {
        return error.what();
    }
}

TEST(Format, WritesCompactJson) {
    Variant value = json::object({{"b", json::list({1, 2.5, "x"})}, {"a", nullptr}});
    EXPECT_EQ("<{\"b\":[1,2.5,\"x\"],\"a\":null}>", fmt::format("<{}>", value));
    EXPECT_EQ("5 true null \"text\"",
              fmt::format("{} {} {} {}", Variant(5), Variant(true), Variant(), Variant("text")));
    EXPECT_EQ("1 2", fmt::format("{1} {0}", Variant(2), Variant(1)));
    EXPECT_EQ("[1,2.5,\"x\"]", fmt::format("{:}", std::as_const(value)["b"]));
}

TEST(Format, WritesJsonOverLinesOnDemand) {
    const Variant value = json::object({{"b", json::list({1})}, {"a", 2}});
    EXPECT_EQ("{\n\t\"a\": 2,\n\t\"b\": [\n\t\t1\n\t]\n}\n", fmt::format("{:#}", value));
    EXPECT_EQ("5\n", fmt::format("{:#}", Variant(5)));
}

// Both are ranges, too.
TEST(Format, WritesListsAndObjectsAsJson) {
    const Variant value = json::object({{"a", json::list({1, "x"})}});
    EXPECT_EQ("[1,\"x\"]", fmt::format("{}", value["a"].listValue()));
    EXPECT_EQ("{\"a\":[1,\"x\"]}", fmt::format("{}", value.objectValue()));
    EXPECT_EQ("[\n\t1,\n\t\"x\"\n]\n", fmt::format("{:#}", value["a"].listValue()));
}

TEST(Format, KeepsEveryByteOfAText) {
    EXPECT_EQ("a\\u0000b", fmt::format("{}", Variant("a\0b", 3)).substr(1, 8));
    const std::string bare = fmt::format("{}", std::string(Variant("bare")));
    EXPECT_EQ("bare", bare);
}

TEST(Format, RefusesEveryOtherField) {
    const std::string refused = "a JSON value is formatted by {} or {:#}";
    for (const char* field :
         {"{:d}", "{:s}", "{:>10}", "{:##}", "{:#x}", "{:10}", "{: }", "{:.2}", "{:x#}"}) {
        EXPECT_EQ(refused, refusal_of(field)) << field;
    }
    EXPECT_EQ("5", refusal_of("{}"));
    EXPECT_NE("5", refusal_of("{:"));
    EXPECT_NE("5", refusal_of("{:#"));
}

TEST(Format, FormatsTheElementsOfRanges) {
    const std::vector<Variant> values{1, "x"};
    EXPECT_EQ("[1, \"x\"]", fmt::format("{}", values));
}

#ifdef __cpp_lib_format
TEST(Format, WritesValuesByTheStandardLibrary) {
    const Variant value = json::object({{"b", json::list({1})}, {"a", "x"}});
    EXPECT_EQ("<{\"b\":[1],\"a\":\"x\"}>", std::format("<{}>", value));
    EXPECT_EQ("{\n\t\"a\": \"x\",\n\t\"b\": [\n\t\t1\n\t]\n}\n", std::format("{:#}", value));
    EXPECT_EQ("[1]", std::format("{}", value["b"].listValue()));
    EXPECT_THROW(static_cast<void>(std::vformat("{:d}", std::make_format_args(value))),
                 std::format_error);
}
#endif

} // namespace
