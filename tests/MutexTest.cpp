// SPDX-License-Identifier: MIT
#include "core/Mutex.h"

#include <gtest/gtest.h>

#include <thread>
#include <type_traits>
#include <vector>

namespace {

static_assert(std::is_polymorphic_v<qx::Mutex>);
static_assert(std::has_virtual_destructor_v<qx::Mutex>);
static_assert(!std::is_polymorphic_v<qx::MutexLocker>);
static_assert(!std::is_copy_constructible_v<qx::MutexLocker>);

/// Whether another thread could take the lock now.
bool is_free(qx::Mutex& mutex) {
    bool taken = false;
    std::thread other([&] {
        taken = mutex.try_lock();
        if (taken) mutex.unlock();
    });
    other.join();
    return taken;
}

TEST(Mutex, IsUnlockedAtFirst) {
    qx::Mutex mutex;
    EXPECT_TRUE(is_free(mutex));
}

TEST(MutexLocker, HoldsTheLockUntilItsEnd) {
    qx::Mutex mutex;
    {
        const qx::MutexLocker locker(mutex, true);
        EXPECT_FALSE(is_free(mutex));
    }
    EXPECT_TRUE(is_free(mutex));
}

TEST(MutexLocker, TakesAPointerToo) {
    qx::Mutex mutex;
    {
        const qx::MutexLocker locker(&mutex, true);
        EXPECT_FALSE(is_free(mutex));
    }
    EXPECT_TRUE(is_free(mutex));
}

TEST(MutexLocker, LocksNothingWithoutAMutex) {
    qx::Mutex* none = nullptr;
    const qx::MutexLocker locker(none, true);
    const qx::MutexLocker another(nullptr, true);
    qx::Mutex mutex;
    EXPECT_TRUE(is_free(mutex));
}

TEST(MutexLocker, LocksNothingWhenToldSo) {
    qx::Mutex mutex;
    const qx::MutexLocker locker(mutex, false);
    const qx::MutexLocker another(&mutex, false);
    EXPECT_TRUE(is_free(mutex));
}

TEST(MutexLocker, TheThreadThatHoldsTheLockMayLockAgain) {
    qx::Mutex mutex;
    {
        const qx::MutexLocker outer(mutex, true);
        {
            const qx::MutexLocker inner(mutex, true);
            EXPECT_FALSE(is_free(mutex));
        }
        EXPECT_FALSE(is_free(mutex));
    }
    EXPECT_TRUE(is_free(mutex));
}

TEST(MutexLocker, ThreadsTakeTurns) {
    qx::Mutex mutex;
    int count = 0; // no atomic: ThreadSanitizer would see two threads at it at once
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 5000; ++round) {
                const qx::MutexLocker outer(mutex, true);
                const qx::MutexLocker inner(&mutex, true);
                ++count;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(20000, count);
}

} // namespace
