// SPDX-License-Identifier: MIT
#include "core/KeptMemory.h"

#include "core/IntrusiveString.h"
#include "core/detail/SmallBlocks.h"
#include "support/FailingMemory.h"
#include "json/JsonParser.h"
#include "json/Variant.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using Text = qx::IntrusiveString;
using json::Variant;

/// While it lives, the thread begins with nothing kept and may keep so much.
struct Keeping {
    explicit Keeping(std::size_t bytes) {
        qx::releaseKeptMemory();
        qx::keepMemory(bytes);
    }
    ~Keeping() {
        qx::keepMemory(0);
        qx::releaseKeptMemory();
    }
    Keeping(const Keeping&) = delete;
    Keeping& operator=(const Keeping&) = delete;
};

constexpr std::size_t kPlenty = std::size_t{1} << 20;

TEST(KeptMemory, ADestroyedTextMakesRoomForTheNextWithoutTheHeap) {
    const Keeping keeping(kPlenty);
    delete new Text("door");
    EXPECT_GE(qx::keptMemory(), sizeof(Text));
    {
        const test::AllocationLimit none(0);
        const std::unique_ptr<Text> next(new Text("bell"));
        EXPECT_EQ(0u, qx::keptMemory());
        EXPECT_STREQ("bell", next->c_str());
    }
}

TEST(KeptMemory, ATreeIsMadeAgainOfTheOneBefore) {
    const Keeping keeping(kPlenty);
    const auto make = [] { // an entry of a key that is known, a list without growth and a text
        json::Variant tree;
        tree["door"] = json::Variant::newList();
        tree["name"] = "front";
    };
    make();
    const std::ptrdiff_t held = test::allocations_held;
    {
        const test::AllocationLimit none(0);
        make();
    }
    EXPECT_EQ(held, test::allocations_held);
}

TEST(KeptMemory, TextsThatAreReadAndPrintedAgainAndAgainKeepNoMore) {
    const Keeping keeping(kPlenty);
    json::JsonParser parser;
    const auto read = [&](const std::string& text) {
        parser.reset();
        parser.parse(text.data(), static_cast<int>(text.size()));
        boost::intrusive_ptr<Text>(Variant(parser.parseComplete()).print());
    };
    const auto readAll = [&] { // blocks of the tokenizer of many sizes, and the texts of faults
        for (std::size_t length = 0; length < 70; ++length) {
            read("[\"\\n" + std::string(length, 'a') + "\",{\"door\":[1.5,\"b\\tb\"]}]");
            read(std::string(length, '['));
            read("[" + std::string(length, ' ') + "x");
        }
    };
    readAll();
    const std::size_t kept = qx::keptMemory();
    EXPECT_GT(kept, 0u);
    for (int i = 0; i < 5; ++i) {
        readAll();
    }
    EXPECT_EQ(kept, qx::keptMemory());
}

TEST(KeptMemory, KeepsNoMoreThanItIsAllowed) {
    const Keeping keeping(200);
    {
        std::vector<std::unique_ptr<Text>> texts;
        for (int i = 0; i < 100; ++i) {
            texts.push_back(std::make_unique<Text>("door"));
        }
    }
    EXPECT_LE(qx::keptMemory(), 200u);
    EXPECT_GT(qx::keptMemory(), 200u - 2 * sizeof(Text));
}

TEST(KeptMemory, KeepsNothingWhereNothingIsAllowed) {
    const Keeping keeping(0);
    const char* const text = "{\"door\":[1,2,3],\"name\":\"front\"}";
    json::JsonParser::parseTree(text); // its keys stay
    const std::ptrdiff_t held = test::allocations_held;
    json::JsonParser::parseTree(text);
    delete new Text("door");
    EXPECT_EQ(0u, qx::keptMemory());
    EXPECT_EQ(held, test::allocations_held);
}

TEST(KeptMemory, WhatIsKeptCanBeReleased) {
    const Keeping keeping(kPlenty);
    const std::ptrdiff_t held = test::allocations_held;
    delete new Text("door");
    EXPECT_EQ(held + 1, test::allocations_held);
    qx::releaseKeptMemory();
    EXPECT_EQ(held, test::allocations_held);
    EXPECT_EQ(0u, qx::keptMemory());
}

TEST(KeptMemory, ALowerLimitHoldsForWhatIsDestroyedFromThenOn) {
    const Keeping keeping(kPlenty);
    auto first = std::make_unique<Text>("door");
    auto second = std::make_unique<Text>("bell");
    first.reset();
    const std::size_t kept = qx::keptMemory();
    qx::keepMemory(kept);
    second.reset();
    EXPECT_EQ(kept, qx::keptMemory());
}

struct alignas(64) Aligned : Text {
    using Text::Text;
};
struct Large : Text {
    using Text::Text;
    char bytes[500] = {};
};

TEST(KeptMemory, DerivedClassesOfOtherSizesAndAlignmentsWork) {
    const Keeping keeping(kPlenty);
    const std::ptrdiff_t held = test::allocations_held;
    delete new Large("door");
    EXPECT_EQ(0u, qx::keptMemory()); // too large to be kept
    EXPECT_EQ(held, test::allocations_held);
    const std::unique_ptr<Aligned> aligned(new Aligned("door"));
    EXPECT_EQ(0u, reinterpret_cast<std::uintptr_t>(aligned.get()) % alignof(Aligned));
}

struct Odd : qx::IntrusiveObject {
    char bytes[15] = {};
};

/// Not by the operator of the class; the compiler isn't to see that it is destroyed by it.
[[gnu::noinline]] Odd* made_by_others() { return ::new Odd; }

TEST(KeptMemory, ABlockIsNeverTakenForMoreThanWasAskedForIt) {
    const Keeping keeping(kPlenty);
    delete made_by_others();
    EXPECT_EQ(0u, qx::keptMemory()); // of no whole words: nothing could be rounded
    delete new Odd;
    EXPECT_EQ(0u, qx::keptMemory());
    delete new Text;
    EXPECT_EQ(sizeof(Text), qx::keptMemory());
}

TEST(KeptMemory, ATextCanBeMadeInAPlaceOfTheCallers) {
    std::aligned_storage_t<sizeof(Text), alignof(Text)> place;
    Text* text = ::new (static_cast<void*>(&place)) Text("door");
    EXPECT_STREQ("door", text->c_str());
    text->~Text();
    text = new (static_cast<void*>(&place)) Text("bell"); // finds the one of the class
    EXPECT_STREQ("bell", text->c_str());
    text->~Text();
}

TEST(KeptMemory, ATextCanBeAskedForWithoutAnException) {
    const Keeping keeping(kPlenty);
    std::unique_ptr<Text> text(new (std::nothrow) Text("door"));
    ASSERT_NE(nullptr, text);
    text.reset();
    EXPECT_GT(qx::keptMemory(), 0u);
    qx::releaseKeptMemory();
    const test::AllocationLimit none(0);
    EXPECT_EQ(nullptr, new (std::nothrow) Text);
}

TEST(KeptMemory, ARequestBeyondAllMemoryGetsNoSmallBlock) {
    const Keeping keeping(kPlenty);
    qx::detail::give_block(qx::detail::take_block(8), 8);
    EXPECT_GT(qx::keptMemory(), 0u);
    const test::AllocationLimit none(0);
    EXPECT_THROW(qx::detail::take_block(static_cast<std::size_t>(-1)), std::bad_alloc);
}

/// Lives longer than what its thread keeps, if the thread makes it first.
struct LastOfThread {
    ~LastOfThread() {
        delete new Text("last");
        keptAtTheEnd = qx::keptMemory();
    }
    static std::size_t keptAtTheEnd;
};
std::size_t LastOfThread::keptAtTheEnd = 1;

TEST(KeptMemory, WhatAThreadKeepsGoesWithIt) {
    const Keeping keeping(kPlenty);
    const std::ptrdiff_t held = test::allocations_held;
    std::size_t keptByThread = 0;
    std::thread([&] {
        static thread_local const LastOfThread last;
        static_cast<void>(last);
        delete new Text("door");
        keptByThread = qx::keptMemory();
    }).join();
    EXPECT_GT(keptByThread, 0u);
    EXPECT_EQ(0u, LastOfThread::keptAtTheEnd);
    EXPECT_EQ(held, test::allocations_held);
    EXPECT_EQ(0u, qx::keptMemory()); // each thread has its own
}

TEST(KeptMemory, ATextMayBeDestroyedByAnotherThread) {
    const Keeping keeping(kPlenty);
    const std::ptrdiff_t held = test::allocations_held;
    auto text = std::make_unique<Text>("door");
    std::thread([&] { text.reset(); }).join();
    EXPECT_EQ(held, test::allocations_held);
    EXPECT_EQ(0u, qx::keptMemory());
}

TEST(KeptMemory, RunningOutOfMemoryIsToldByAnException) {
    const Keeping keeping(kPlenty);
    const test::AllocationLimit none(0);
    EXPECT_THROW(new Text("door"), std::bad_alloc);
}

} // namespace
