// SPDX-License-Identifier: MIT
#include "core/IntrusiveObject.h"

#include "core/IntrusiveString.h"

#include <boost/intrusive_ptr.hpp>
#include <gtest/gtest.h>

#include <cstdint>
#include <thread>
#include <type_traits>
#include <vector>

namespace elsewhere {

/// A counted class of another namespace, polymorphic through its other base, as lists are.
class Shape {
public:
    virtual ~Shape() = default;
};
class Counted : public Shape, public qx::IntrusiveObject {};
class Derived : public Counted {
public:
    explicit Derived(int& destroyed) : destroyed_(destroyed) {}
    ~Derived() override { ++destroyed_; }

private:
    int& destroyed_;
};

} // namespace elsewhere

namespace {

static_assert(!std::is_polymorphic_v<qx::IntrusiveObject>);
static_assert(std::is_destructible_v<qx::IntrusiveObject>);
static_assert(sizeof(qx::IntrusiveObject) == sizeof(std::uint32_t));

TEST(IntrusiveObject, BeginsWithNoCountForItsCreator) {
    qx::IntrusiveObject object;
    EXPECT_EQ(0u, object.use_count());
}

TEST(IntrusiveObject, AddingRaisesTheCountByOne) {
    qx::IntrusiveObject object;
    object.intrusive_add_ref();
    EXPECT_EQ(1u, object.use_count());
    object.intrusive_add_ref();
    EXPECT_EQ(2u, object.use_count());
}

TEST(IntrusiveObject, ReleasingIsTrueExactlyWhenTheCountReachesZero) {
    qx::IntrusiveObject object;
    object.intrusive_add_ref();
    object.intrusive_add_ref();
    EXPECT_FALSE(object.intrusive_release());
    EXPECT_EQ(1u, object.use_count());
    EXPECT_TRUE(object.intrusive_release());
    EXPECT_EQ(0u, object.use_count());
}

TEST(IntrusiveObject, ACopyBeginsWithNoCount) {
    qx::IntrusiveObject object;
    object.intrusive_add_ref();
    qx::IntrusiveObject copy(object);
    EXPECT_EQ(0u, copy.use_count());
    EXPECT_EQ(1u, object.use_count());
}

TEST(IntrusiveObject, AssigningLeavesBothCountsAlone) {
    qx::IntrusiveObject one;
    qx::IntrusiveObject two;
    one.intrusive_add_ref();
    two.intrusive_add_ref();
    two.intrusive_add_ref();
    one = two;
    EXPECT_EQ(1u, one.use_count());
    EXPECT_EQ(2u, two.use_count());
}

TEST(IntrusiveObject, TheFirstPointerRaisesTheCountToOne) {
    const boost::intrusive_ptr<qx::IntrusiveString> first(new qx::IntrusiveString("text"));
    EXPECT_EQ(1u, first->use_count());
    {
        const boost::intrusive_ptr<qx::IntrusiveString> second(first);
        EXPECT_EQ(2u, first->use_count());
    }
    EXPECT_EQ(1u, first->use_count());
}

// AddressSanitizer's leak check holds that the text of the string, too long to lie inside it, goes.
TEST(IntrusiveObject, TheLastPointerDestroysAString) {
    boost::intrusive_ptr<qx::IntrusiveString> text(
        new qx::IntrusiveString("a text that is too long to be kept inside of the string"));
    text.reset();
    EXPECT_EQ(nullptr, text.get());
}

TEST(IntrusiveObject, TheLastPointerDestroysThroughTheVirtualDestructor) {
    int destroyed = 0;
    boost::intrusive_ptr<elsewhere::Counted> first(new elsewhere::Derived(destroyed));
    boost::intrusive_ptr<elsewhere::Counted> second(first);
    first.reset();
    EXPECT_EQ(0, destroyed);
    second.reset();
    EXPECT_EQ(1, destroyed);
}

TEST(IntrusiveObject, CountsFromManyThreadsAreNotLost) {
    qx::IntrusiveObject object;
    object.intrusive_add_ref();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&object] {
            for (int round = 0; round < 10000; ++round) {
                object.intrusive_add_ref();
                object.intrusive_add_ref();
                static_cast<void>(object.intrusive_release());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(40001u, object.use_count());
}

TEST(IntrusiveObject, ThreadsThatShareAnObjectDestroyItOnce) {
    int destroyed = 0;
    boost::intrusive_ptr<elsewhere::Counted> shared(new elsewhere::Derived(destroyed));
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([mine = shared]() mutable {
            for (int round = 0; round < 10000; ++round) {
                boost::intrusive_ptr<elsewhere::Counted> copy(mine);
                mine = copy;
            }
            mine.reset();
        });
    }
    shared.reset();
    for (std::thread& thread : threads) {
        thread.join();
    }
    threads.clear();
    EXPECT_EQ(1, destroyed);
}

} // namespace
