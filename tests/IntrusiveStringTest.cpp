// SPDX-License-Identifier: MIT
#include "core/IntrusiveString.h"

#include <boost/intrusive_ptr.hpp>
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>

namespace {

using qx::IntrusiveString;
using Pointer = boost::intrusive_ptr<IntrusiveString>;

static_assert(!std::is_polymorphic_v<IntrusiveString>);
static_assert(std::is_convertible_v<const char*, IntrusiveString>);
static_assert(std::is_convertible_v<const std::string&, IntrusiveString>);
static_assert(std::is_same_v<std::size_t, decltype(IntrusiveString().length())>);
static_assert(std::is_same_v<std::size_t, decltype(IntrusiveString().hash())>);
static_assert(std::is_same_v<std::string&, decltype(IntrusiveString().assign("", 0))>);

TEST(IntrusiveString, IsEmptyByDefault) {
    const IntrusiveString text;
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(0u, text.length());
    EXPECT_STREQ("", text.c_str());
}

TEST(IntrusiveString, CopiesATextUpToItsNul) {
    const IntrusiveString text("abc\0def");
    EXPECT_FALSE(text.empty());
    EXPECT_EQ(3u, text.length());
    EXPECT_STREQ("abc", text.c_str());
}

TEST(IntrusiveString, ANullTextIsTheEmptyOne) {
    const char* none = nullptr;
    IntrusiveString text(none);
    EXPECT_TRUE(text.empty());
    text = "abc";
    text += none;
    EXPECT_STREQ("abc", text.c_str());
    text = none;
    EXPECT_TRUE(text.empty());
    EXPECT_TRUE(IntrusiveString(none, 0).empty());
}

TEST(IntrusiveString, ACountedTextKeepsItsNulBytes) {
    const IntrusiveString text("a\0c", 3);
    EXPECT_EQ(3u, text.length());
    EXPECT_EQ(1u, std::strlen(text.c_str()));
    const std::string& bytes = text;
    EXPECT_EQ(std::string("a\0c", 3), bytes);
}

TEST(IntrusiveString, ACountedTextNeedsNoNulBehindIt) {
    const std::unique_ptr<char[]> bytes(new char[2]{'o', 'k'});
    EXPECT_STREQ("ok", IntrusiveString(bytes.get(), 2).c_str());
}

TEST(IntrusiveString, CopiesAStandardStringWhole) {
    const IntrusiveString text(std::string("a\0c", 3));
    EXPECT_EQ(3u, text.length());
}

TEST(IntrusiveString, ACopyOfASharedStringHasACountAndATextOfItsOwn) {
    const Pointer first(new IntrusiveString("shared"));
    const Pointer second(first);
    IntrusiveString copy(*first);
    EXPECT_EQ(0u, copy.use_count());
    EXPECT_EQ(2u, first->use_count());
    copy = "changed";
    EXPECT_STREQ("shared", first->c_str());
}

TEST(IntrusiveString, AssigningReplacesTheTextAndLeavesTheCountsAlone) {
    const Pointer target(new IntrusiveString("old"));
    const Pointer source(new IntrusiveString("new"));
    const Pointer another(source);
    *target = *source;
    EXPECT_STREQ("new", target->c_str());
    EXPECT_EQ(1u, target->use_count());
    EXPECT_EQ(2u, source->use_count());
    *target = "third";
    EXPECT_STREQ("third", target->c_str());
    EXPECT_EQ(1u, target->use_count());
}

TEST(IntrusiveString, AppendsAText) {
    IntrusiveString text("ab");
    text += "cd";
    EXPECT_STREQ("abcd", text.c_str());
}

TEST(IntrusiveString, AssignTakesCountedBytesAndHandsOutTheTextItself) {
    IntrusiveString text("old");
    std::string& inside = text.assign("a\0c-", 3);
    EXPECT_EQ(3u, text.length());
    inside = "written through the reference";
    EXPECT_STREQ("written through the reference", text.c_str());
}

TEST(IntrusiveString, TakesPartsOfItself) {
    IntrusiveString text("abcdef");
    text = text.c_str() + 3;
    EXPECT_STREQ("def", text.c_str());
    text += text.c_str();
    EXPECT_STREQ("defdef", text.c_str());
    text.assign(text.c_str() + 1, 2);
    EXPECT_STREQ("ef", text.c_str());
}

TEST(IntrusiveString, ClearsInPlace) {
    IntrusiveString text("abc");
    text.clear();
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(0u, text.length());
}

TEST(IntrusiveString, FindsTheLastOfACharacterAtOrBeforeAPosition) {
    const IntrusiveString text("a/b/c");
    EXPECT_EQ(3u, text.find_last_of('/', 5));
    EXPECT_EQ(3u, text.find_last_of('/', 3));
    EXPECT_EQ(1u, text.find_last_of('/', 2));
    EXPECT_EQ(std::string::npos, text.find_last_of('/', 0));
    EXPECT_EQ(3u, text.find_last_of('/', std::string::npos));
    EXPECT_EQ(std::string::npos, text.find_last_of('x', 5));
    EXPECT_EQ(std::string::npos, IntrusiveString().find_last_of('/', 0));
}

TEST(IntrusiveString, ConvertsToAStandardString) {
    IntrusiveString changing("abc");
    const std::string copy = changing.operator std::string(); // said so: gcc warns of the choice
    changing = "other";
    EXPECT_EQ("abc", copy);
    const IntrusiveString constant("abc");
    const std::string& inside = constant;
    EXPECT_EQ(constant.c_str(), inside.c_str());
    EXPECT_EQ("abc", std::string(constant));
}

TEST(IntrusiveString, JoinsToANewString) {
    const IntrusiveString left("ab");
    const IntrusiveString right(std::string("c\0d", 3));
    const IntrusiveString joined = left + right;
    EXPECT_EQ(5u, joined.length());
    EXPECT_STREQ("abc", joined.c_str());
    EXPECT_STREQ("ab", left.c_str());
    EXPECT_STREQ("abx", (left + "x").c_str());
    EXPECT_STREQ("xab", (std::string("x") + left).c_str());
}

TEST(IntrusiveString, IsEqualWithTheSameBytes) {
    const IntrusiveString text("abc");
    IntrusiveString same("abc");
    EXPECT_TRUE(text == same);
    EXPECT_FALSE(text != same);
    EXPECT_TRUE(same == "abc");
    EXPECT_TRUE("abc" == same);
    EXPECT_TRUE(same == std::string("abc"));
    EXPECT_TRUE(std::string("abc") == same);
    EXPECT_TRUE("abd" != same);
    EXPECT_FALSE(text == IntrusiveString("abcd"));
}

TEST(IntrusiveString, BytesBehindANulMatterForEquality) {
    EXPECT_FALSE(IntrusiveString("a\0b", 3) == IntrusiveString("a\0c", 3));
    EXPECT_FALSE(IntrusiveString("a\0b", 3) == IntrusiveString("a"));
    EXPECT_TRUE(IntrusiveString("a\0b", 3) == IntrusiveString("a\0b", 3));
}

TEST(IntrusiveString, WritesItsText) {
    std::ostringstream out;
    out << IntrusiveString("a\0b", 3) << IntrusiveString() << IntrusiveString("c");
    EXPECT_EQ(std::string("a\0bc", 4), out.str());
}

} // namespace
