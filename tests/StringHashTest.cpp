// SPDX-License-Identifier: MIT
#include "core/IntrusiveString.h"
#include "core/StringPool.h"
#include "core/detail/SeededHash.h"

#include <boost/intrusive_ptr.hpp>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

namespace {

using Pointer = boost::intrusive_ptr<qx::IntrusiveString>;

/// Hashes a copy of the text that ends exactly at its NUL, so that AddressSanitizer sees a read
/// behind it.
std::size_t hash_of_exact_copy(const std::string& text) {
    const std::unique_ptr<char[]> copy(new char[text.size() + 1]);
    std::memcpy(copy.get(), text.c_str(), text.size() + 1);
    return qx::StringHash<const char*>()(copy.get());
}

TEST(StringHash, IsTheSameForEveryFormOfAText) {
    struct Row {
        const char* text;
        std::size_t hash;
        const char* why;
    };
    const Row rows[] = {
        {"", 0, "no character"},
        {"a", 0x9e377a1a, "one step"},
        {"id", 0x28cd949b07, "two steps"},
        {"method", 0x29b55331d5d606a4, "six steps, cut to 64 bits"},
        {"abcdefghijkl", 0x69de8715c1f9a37a, "12 characters"},
        {"abcdefghijklm", 0x69de8715c1f9a37a, "the 13th doesn't count"},
        {"\xc3\xa4", 0x9e377a9d, "two bytes"},
        {"\xc1\xa1", 0x9e377a1a, "two bytes for an a"},
        {"\xc3"
         "a",
         0x9e377a9a, "an unchecked continuation gives its low six bits"},
        {"\xe2\x82\xac", 0x9e379a65, "three bytes"},
        {"\xf0\x9f\x98\x80", 0x9e386fb9, "four bytes, cut to 16 bits"},
        {"\xf8\x88\x80\x80\x81", 0x9e3779ba, "five bytes"},
        {"\xfc\x84\x80\x80\x80\x82", 0x9e3779bb, "six bytes"},
        {"\xfe\x80\x80\x80\x80\x80\x83", 0x9e3779bc, "seven bytes"},
        {"\xff\x80\x80\x80\x80\x80\x80\x84", 0x9e3779bd, "eight bytes"},
        {"\x80", 0xe37a2dd598235ef3, "a stray byte counts 12 times as ?"},
        {"????????????", 0xe37a2dd598235ef3, "the same"},
        {"a\x80", 0xa6f11b5cca5d867a, "it counts on each pass that is left"},
        {"a\xbf"
         "b",
         0xa6f11b5cca5d867a, "nothing behind it is reached"},
        {"a???????????", 0xa6f11b5cca5d867a, "the same"},
        {"\xc0\x80x", 0, "the value 0 ends the text"},
        {"\xf0\x90\x80\x80x", 0, "so does a value that is 0 in 16 bits"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(row.hash, hash_of_exact_copy(row.text));
        EXPECT_EQ(row.hash, qx::IntrusiveString(row.text).hash());
        EXPECT_EQ(row.hash, qx::StringHash<qx::IntrusiveString>()(qx::IntrusiveString(row.text)));
        EXPECT_EQ(row.hash, qx::StringHash<Pointer>()(Pointer(new qx::IntrusiveString(row.text))));
    }
}

TEST(StringHash, ACharacterThatTheEndCutsOffTakesTheBitsThatAreThere) {
    struct Row {
        const char* text;
        std::size_t hash;
    };
    const Row rows[] = {
        {"\xc3", 0x9e377a79},     // 00C0
        {"\xe2", 0x9e3799b9},     // 2000
        {"\xe2\x82", 0x9e379a39}, // 2080
        {"\xf0\x9f", 0x9e3869b9}, // F000
        {"\xfd", 0},              // nothing of it is left in 16 bits
        {"\xfe", 0},
        {"\xff\x81", 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        EXPECT_EQ(row.hash, hash_of_exact_copy(row.text));
        EXPECT_EQ(row.hash, qx::IntrusiveString(row.text).hash());
    }
}

TEST(StringHash, ANullKeyHashesLikeTheEmptyText) {
    EXPECT_EQ(0u, qx::StringHash<const char*>()(static_cast<const char*>(nullptr)));
    EXPECT_EQ(0u, qx::StringHash<Pointer>()(Pointer()));
}

TEST(StringHash, AStringHashesUpToItsFirstNul) {
    EXPECT_EQ(0x9e377a1au, qx::IntrusiveString("a\0b", 3).hash());
}

// A hash that is kept inside of the string would go stale here.
TEST(StringHash, FollowsATextThatIsWrittenThroughItsReference) {
    qx::IntrusiveString text;
    std::string& inside = text.assign("id", 2);
    EXPECT_EQ(0x28cd949b07u, text.hash());
    inside = "a";
    EXPECT_EQ(0x9e377a1au, text.hash());
}

TEST(SeededHash, IsSipHash13) {
    EXPECT_EQ(0x407448d2b89b1813u, qx::detail::sip_hash("a", {}));
    EXPECT_EQ(0x26f73335cc2e7868u, qx::detail::sip_hash("method", {}));
    EXPECT_EQ(0x3f7b849c0b8e35eau, qx::detail::sip_hash("abcdefgh", {}));
    EXPECT_EQ(0xf89b34a3d11eb6e5u, qx::detail::sip_hash("abcdefghi", {}));
    EXPECT_EQ(0xa0f9d1a31b1e8447u, qx::detail::sip_hash("sch\xc3\xb6n", {}));
    EXPECT_EQ(0x696de799e9ca9ebau, qx::detail::sip_hash("a key of twenty bytes", {}));
}

TEST(SeededHash, DependsOnBothHalvesOfItsSeed) {
    EXPECT_NE(qx::detail::sip_hash("a", {}), qx::detail::sip_hash("a", {1, 0}));
    EXPECT_NE(qx::detail::sip_hash("a", {}), qx::detail::sip_hash("a", {0, 1}));
    EXPECT_NE(qx::detail::sip_hash("a", {0, 1}), qx::detail::sip_hash("a", {1, 0}));
}

TEST(SeededHash, HasASeedThatIsDrawn) {
    EXPECT_EQ(qx::detail::seeded_hash("a"), qx::detail::seeded_hash("a"));
    EXPECT_NE(qx::detail::seeded_hash("a"), qx::detail::sip_hash("a", {}));
}

// Without this a peer's object of many long keys costs the square of their number.
TEST(SeededHash, TellsTextsOfOneHashApart) {
    struct Row {
        const char* left;
        const char* right;
        const char* why;
    };
    const Row rows[] = {
        {"abcdefghijklm", "abcdefghijkln", "they differ behind the 12th character"},
        {"\x80m", "\x80n", "they differ behind a stray byte"},
        {"\xc0\x80m", "\xc0\x80n", "they differ behind a value of 0"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.why);
        EXPECT_EQ(qx::IntrusiveString(row.left).hash(), qx::IntrusiveString(row.right).hash());
        EXPECT_NE(qx::detail::seeded_hash(row.left), qx::detail::seeded_hash(row.right));
    }
}

TEST(StringHash, PooledKeysAreEqualWhenTheyAreTheSameObject) {
    const Pointer one(new qx::IntrusiveString("a"));
    const Pointer two(new qx::IntrusiveString("a"));
    const qx::PooledStringEquals<qx::IntrusiveString> equals;
    EXPECT_TRUE(equals(one, Pointer(one)));
    EXPECT_FALSE(equals(one, two));
}

} // namespace
