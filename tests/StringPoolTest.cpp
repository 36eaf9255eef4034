// SPDX-License-Identifier: MIT
#include "core/StringPool.h"

#include <boost/intrusive_ptr.hpp>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace {

using Pointer = boost::intrusive_ptr<qx::IntrusiveString>;
using Pool = qx::StringPool<qx::IntrusiveString, Pointer>;

static_assert(std::is_same_v<const Pointer&, decltype(std::declval<Pool&>().intern("a"))>);

/// Interns before `main` and after it.
struct EarlyAndLate {
    Pointer key = qx::global_string_pool().intern("early");
    ~EarlyAndLate() { qx::global_string_pool().intern("late"); }
};
const EarlyAndLate early;

TEST(StringPool, GivesOneObjectForEachText) {
    Pool pool;
    const Pointer key = pool.intern("id");
    EXPECT_STREQ("id", key->c_str());
    EXPECT_EQ(key, pool.intern("id"));
    EXPECT_NE(key, pool.intern("i"));
    EXPECT_NE(key, pool.intern("idx"));
    EXPECT_NE(key, pool.intern("ID"));
}

TEST(StringPool, EveryFormOfAKeyGivesTheSameObject) {
    Pool pool;
    const Pointer& key = pool.intern("id");
    EXPECT_EQ(key, pool.intern(qx::IntrusiveString("id")));
    EXPECT_EQ(key, pool.intern(Pointer(new qx::IntrusiveString("id"))));
    EXPECT_EQ(key, pool.intern(std::string("id")));
    EXPECT_EQ(key, pool.intern(std::string_view("id")));
    EXPECT_EQ(key, pool.intern(key));
    EXPECT_EQ(key, pool.intern(*key));
    EXPECT_EQ(1u, pool.size());
}

TEST(StringPool, NeverStoresTheObjectOfTheCaller) {
    Pool pool;
    const Pointer mine(new qx::IntrusiveString("id"));
    EXPECT_NE(mine, pool.intern(mine));
    EXPECT_NE(mine.get(), pool.intern(*mine).get());
    EXPECT_EQ(1u, mine->use_count());
}

TEST(StringPool, ATextEndsAtItsFirstNul) {
    Pool pool;
    const Pointer& key = pool.intern("id");
    EXPECT_EQ(key, pool.intern(qx::IntrusiveString("id\0x", 4)));
    EXPECT_EQ(key, pool.intern(std::string_view("id\0x", 4)));
    EXPECT_EQ(key, pool.intern(std::string("id\0x", 4)));
    EXPECT_EQ(key, pool.intern(Pointer(new qx::IntrusiveString("id\0y", 4))));
    EXPECT_EQ(2u, key->length());
}

TEST(StringPool, ANewTextIsStoredUpToItsFirstNul) {
    Pool pool;
    const Pointer& key = pool.intern(std::string_view("a\0b", 3));
    EXPECT_EQ(1u, key->length());
    EXPECT_EQ(key, pool.intern("a"));
}

TEST(StringPool, ACountedTextNeedsNoNulBehindIt) {
    Pool pool;
    const std::unique_ptr<char[]> bytes(new char[3]{'d', 'o', '\xc3'});
    const std::string_view text(bytes.get(), 3);
    const Pointer key = pool.intern(text);
    EXPECT_STREQ("do\xc3", key->c_str());
    EXPECT_EQ(key, pool.intern(text));
    EXPECT_EQ(key, pool.intern("do\xc3"));
}

TEST(StringPool, ANullKeyIsTheEmptyText) {
    Pool pool;
    const Pointer& empty = pool.intern("");
    EXPECT_TRUE(empty->empty());
    const char* none = nullptr;
    EXPECT_EQ(empty, pool.intern(none));
    EXPECT_EQ(empty, pool.intern(nullptr));
    EXPECT_EQ(empty, pool.intern(Pointer()));
    EXPECT_EQ(empty, pool.intern(std::string_view()));
    EXPECT_EQ(1u, pool.size());
}

TEST(StringPool, AnAnswerStaysValidWhileFurtherTextsAreInterned) {
    Pool pool;
    const Pointer& first = pool.intern("first");
    const Pointer* address = &first;
    for (int i = 0; i < 5000; ++i) {
        pool.intern(std::to_string(i));
    }
    EXPECT_STREQ("first", first->c_str());
    EXPECT_EQ(address, &pool.intern("first"));
    EXPECT_EQ(5001u, pool.size());
}

TEST(StringPool, FindsTextsAgainThatBeginAlike) {
    Pool pool;
    std::vector<Pointer> keys;
    for (int i = 0; i < 2000; ++i) {
        keys.push_back(pool.intern("the-same-beginning-" + std::to_string(i)));
    }
    for (int i = 0; i < 2000; ++i) {
        const std::string text = "the-same-beginning-" + std::to_string(i);
        EXPECT_EQ(keys[static_cast<std::size_t>(i)], pool.intern(text.c_str())) << text;
    }
    EXPECT_EQ(2000u, pool.size());
}

// A bound value writes into the text that it shares. Who asks for the old text must not get that.
TEST(StringPool, AStringWhoseTextWasChangedNoLongerAnswersForTheOldOne) {
    Pool pool;
    const Pointer changed = pool.intern("door");
    *changed = "bell";
    EXPECT_STREQ("door", pool.intern("door")->c_str());
}

TEST(StringPool, AStringThatSomebodyHoldsOutlivesThePool) {
    Pointer key;
    {
        Pool pool;
        key = pool.intern("a text that is too long to be kept inside of the string");
        EXPECT_EQ(2u, key->use_count());
    }
    EXPECT_EQ(1u, key->use_count());
    EXPECT_STREQ("a text that is too long to be kept inside of the string", key->c_str());
}

TEST(StringPool, TheGlobalPoolIsOneObject) {
    EXPECT_EQ(&qx::global_string_pool(), &qx::global_string_pool());
    EXPECT_EQ(qx::global_string_pool().intern("id"), qx::global_string_pool().intern("id"));
}

TEST(StringPool, TheGlobalPoolServesStaticObjectsBeforeMain) {
    EXPECT_EQ(early.key, qx::global_string_pool().intern("early"));
}

} // namespace
