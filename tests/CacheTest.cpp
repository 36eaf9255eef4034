// SPDX-License-Identifier: MIT
#include "device/Cache.h"

#include "device/IJsonHeaderUpdateReceiver.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include <dlfcn.h>

using testing::ElementsAre;

namespace {

using ICache = qx::Cache<unsigned long long, std::string>;
using Memory = qx::MemoryCache<unsigned long long, std::string>;
using Multi = qx::MultiCache<unsigned long long, std::string>;
using Image = boost::shared_ptr<std::string>;

static_assert(std::is_abstract_v<ICache>);
static_assert(std::has_virtual_destructor_v<ICache>);
static_assert(std::is_base_of_v<ICache, Memory>);
static_assert(std::is_base_of_v<ICache, Multi>);
static_assert(!std::is_copy_constructible_v<Memory>);
static_assert(!std::is_copy_assignable_v<Multi>);

Image image(const std::string& text) { return boost::make_shared<std::string>(text); }

/// The keys from 0 on, below `end`, that the cache has.
std::vector<unsigned long long> keys_in(const ICache& cache, unsigned long long end) {
    std::vector<unsigned long long> keys;
    for (unsigned long long key = 0; key < end; ++key) {
        if (cache.contains(key)) keys.push_back(key);
    }
    return keys;
}

/// A memory cache that counts its buckets.
class CountingMemory : public Memory {
public:
    CountingMemory(std::size_t capacity, bool threadSafe) : Memory(capacity, threadSafe) {}
    int made = 0;
    int reset = 0;

protected:
    Bucket* newBucket() override {
        ++made;
        return Memory::newBucket();
    }
    void resetBucket(Bucket* bucket) override {
        ++reset;
        Memory::resetBucket(bucket);
    }
};

/// Notes what it is asked, and has no value but the one that it is given.
class NotingCache : public ICache {
public:
    explicit NotingCache(std::vector<std::string>& log, std::string name)
        : log_(log), name_(std::move(name)) {}
    ~NotingCache() override { note("destroyed"); }

    Image held;
    std::size_t setTo = 0;

    std::size_t size() const override { return 7; }
    std::size_t capacity() const override { return 70; }
    void setCapacity(std::size_t capacity) override { setTo = capacity; }
    void setThreadSafe(bool threadSafe) override {
        note(threadSafe ? "locked" : "unlocked");
        ICache::setThreadSafe(threadSafe);
    }
    bool contains(const unsigned long long&) const override { return held != nullptr; }
    Image get(const unsigned long long& key) override {
        note("get " + std::to_string(key));
        return held;
    }
    void put(const unsigned long long& key, Image value) override {
        note("put " + std::to_string(key));
        held = std::move(value);
    }
    void remove(const unsigned long long& key) override { note("remove " + std::to_string(key)); }
    void clear() override { note("clear"); }

private:
    void note(const std::string& what) { log_.push_back(name_ + " " + what); }

    std::vector<std::string>& log_;
    std::string name_;
};

/// Tells of each thing that it is asked, from inside.
class AskedCache : public ICache {
public:
    std::function<void(const char* operation)> asked;

    std::size_t size() const override { return tell("size"), 0; }
    std::size_t capacity() const override { return tell("capacity"), 0; }
    void setCapacity(std::size_t) override { tell("setCapacity"); }
    bool contains(const unsigned long long&) const override { return tell("contains"), true; }
    Image get(const unsigned long long&) override { return tell("get"), nullptr; }
    void put(const unsigned long long&, Image) override { tell("put"); }
    void remove(const unsigned long long&) override { tell("remove"); }
    void clear() override { tell("clear"); }

private:
    void tell(const char* operation) const {
        if (asked) asked(operation);
    }
};

/// A key that tells when it is looked up.
struct WatchedKey {
    int number = 0;
    static inline std::function<void()> lookedUp;

    friend std::size_t hash_value(const WatchedKey& key) {
        if (lookedUp) lookedUp();
        return static_cast<std::size_t>(key.number);
    }
    friend bool operator==(const WatchedKey& a, const WatchedKey& b) {
        return a.number == b.number;
    }
};

/// Whether the lock is held, as another thread sees it.
bool is_held(qx::Mutex& lock) {
    bool free = false;
    std::thread([&] {
        free = lock.try_lock();
        if (free) lock.unlock();
    }).join();
    return !free;
}

/// What a memory cache should hold: pairs of key and text, the most recently used first.
class Model {
public:
    explicit Model(std::size_t capacity) : capacity_(capacity) {}

    const std::string* get(unsigned long long key) {
        const auto entry = find(key);
        if (entry == entries_.end()) return nullptr;
        entries_.splice(entries_.begin(), entries_, entry);
        return &entries_.front().second;
    }
    void put(unsigned long long key, const std::string& text) {
        remove(key);
        entries_.emplace_front(key, text);
        while (entries_.size() > capacity_) {
            entries_.pop_back();
        }
    }
    void remove(unsigned long long key) {
        const auto entry = find(key);
        if (entry != entries_.end()) entries_.erase(entry);
    }
    void clear() { entries_.clear(); }
    std::size_t size() const { return entries_.size(); }
    bool contains(unsigned long long key) { return find(key) != entries_.end(); }
    std::vector<unsigned long long> keys() const {
        std::vector<unsigned long long> keys;
        for (const auto& entry : entries_) {
            keys.push_back(entry.first);
        }
        std::sort(keys.begin(), keys.end());
        return keys;
    }

private:
    using Entries = std::list<std::pair<unsigned long long, std::string>>;

    Entries::iterator find(unsigned long long key) {
        return std::find_if(entries_.begin(), entries_.end(),
                            [key](const auto& entry) { return entry.first == key; });
    }

    std::size_t capacity_;
    Entries entries_;
};

/// Images that an application holds, with what they said when it got them.
class HeldImages {
public:
    void hold(const Image& image) { held_.emplace_back(image, *image); }
    std::size_t size() const { return held_.size(); }
    void expectUnchanged(unsigned int seed) const {
        for (const auto& [image, text] : held_) {
            EXPECT_EQ(text, *image) << "seed " << seed;
        }
    }

private:
    std::vector<std::pair<Image, std::string>> held_;
};

/// Where the program keeps what the address points at: the library, or the test itself.
const void* home_of(const void* address) {
    Dl_info info = {};
    EXPECT_NE(0, dladdr(address, &info));
    return info.dli_fbase;
}

/// The code of `size`, the slot behind the two of the destructor.
const void* code_of_size(const ICache& cache) {
    return (*reinterpret_cast<const void* const* const*>(&cache))[2];
}

} // namespace

// ----- The interface -----------------------------------------------------------------------------

TEST(Cache, KnowsItsCapacityAndItsLock) {
    const Memory locked(5, true);
    EXPECT_EQ(5u, locked.capacity());
    EXPECT_TRUE(locked.isThreadSafe());
    const Memory unlocked(0, false);
    EXPECT_EQ(0u, unlocked.capacity());
    EXPECT_FALSE(unlocked.isThreadSafe());
}

TEST(Cache, SwitchesItsLockOnAndOff) {
    Memory cache(5, false);
    cache.putCopy(1, "one");
    for (const bool on : {true, true, false, false, true}) {
        cache.setThreadSafe(on);
        EXPECT_EQ(on, cache.isThreadSafe());
        EXPECT_EQ("one", cache.valueOf(1));
    }
}

// A new lock would be one that nobody else holds.
TEST(Cache, KeepsItsLockWhenItIsSwitchedOnAgain) {
    struct Open : Memory {
        Open() : Memory(1, true) {}
        using Memory::mutex;
    };
    Open cache;
    const qx::Mutex* const lock = cache.mutex();
    ASSERT_NE(nullptr, lock);
    cache.setThreadSafe(true);
    EXPECT_EQ(lock, cache.mutex());
    cache.setThreadSafe(false);
    EXPECT_EQ(nullptr, cache.mutex());
}

TEST(Cache, OfPreviewImagesIsBuiltInTheLibraryOnly) {
    const Memory memory(1, false);
    const Multi chain(nullptr);
    const void* const library = home_of(qx::IJsonHeaderUpdateReceiver::ID());
    EXPECT_EQ(library, home_of(code_of_size(memory)));
    EXPECT_EQ(library, home_of(code_of_size(chain)));
}

TEST(Cache, AnswersAnEmptyValueForAMissingKey) {
    Memory cache(5, true);
    EXPECT_EQ("", cache.valueOf(1));
    EXPECT_EQ("", cache.at(1));
    EXPECT_EQ(&cache.valueOf(1), &cache.valueOf(2));
    EXPECT_EQ(nullptr, cache.get(1));
    EXPECT_FALSE(cache.contains(1));
    EXPECT_EQ(0u, cache.size());
}

TEST(Cache, RefersToTheValueThatItHolds) {
    Memory cache(5, true);
    const Image one = image("one");
    cache.put(1, one);
    EXPECT_EQ(one.get(), &cache.valueOf(1));
    EXPECT_EQ(one.get(), &cache.at(1));
    EXPECT_EQ(one, cache.get(1));
}

TEST(Cache, PutsACopyOfAValue) {
    Memory cache(5, true);
    std::string text = "one";
    cache.putCopy(1, text);
    text = "changed";
    EXPECT_EQ("one", cache.valueOf(1));
}

TEST(Cache, TakesItsArgumentsWhateverASubclassDoesWithTheVirtualBase) {
    const CountingMemory cache(5, true); // says nothing of the virtual base
    EXPECT_EQ(5u, cache.capacity());
    EXPECT_TRUE(cache.isThreadSafe());
}

TEST(Cache, CanHoldOtherTypes) {
    qx::MemoryCache<std::string, std::vector<int>> cache(1, false);
    cache.putCopy("a", {1, 2});
    cache.putCopy("b", {3});
    EXPECT_TRUE(cache.valueOf("a").empty());
    EXPECT_THAT(cache.valueOf("b"), ElementsAre(3));
}

// ----- The memory cache --------------------------------------------------------------------------

TEST(MemoryCache, ReplacesTheValueOfAKey) {
    Memory cache(5, true);
    cache.putCopy(1, "one");
    cache.putCopy(1, "uno");
    EXPECT_EQ("uno", cache.valueOf(1));
    EXPECT_EQ(1u, cache.size());
}

TEST(MemoryCache, DropsTheValueThatWasUnusedForLongest) {
    Memory cache(3, true);
    for (const unsigned long long key : {1ULL, 2ULL, 3ULL, 4ULL}) {
        cache.putCopy(key, "value");
    }
    EXPECT_THAT(keys_in(cache, 10), ElementsAre(2u, 3u, 4u));
}

TEST(MemoryCache, TakesAReadForUse) {
    Memory cache(3, true);
    for (const unsigned long long key : {1ULL, 2ULL, 3ULL}) {
        cache.putCopy(key, "value");
    }
    cache.get(1);
    cache.putCopy(4, "value");
    EXPECT_THAT(keys_in(cache, 10), ElementsAre(1u, 3u, 4u));
    cache.valueOf(3);
    cache.putCopy(5, "value");
    EXPECT_THAT(keys_in(cache, 10), ElementsAre(3u, 4u, 5u));
}

TEST(MemoryCache, TakesAWriteForUse) {
    Memory cache(2, true);
    cache.putCopy(1, "value");
    cache.putCopy(2, "value");
    cache.putCopy(1, "again");
    cache.putCopy(3, "value");
    EXPECT_THAT(keys_in(cache, 10), ElementsAre(1u, 3u));
}

TEST(MemoryCache, TakesAQuestionForNoUse) {
    Memory cache(2, true);
    cache.putCopy(1, "value");
    cache.putCopy(2, "value");
    EXPECT_TRUE(cache.contains(1));
    cache.putCopy(3, "value");
    EXPECT_THAT(keys_in(cache, 10), ElementsAre(2u, 3u));
}

TEST(MemoryCache, RemovesAValue) {
    Memory cache(3, true);
    cache.putCopy(1, "one");
    cache.putCopy(2, "two");
    cache.remove(1);
    cache.remove(7);
    EXPECT_THAT(keys_in(cache, 10), ElementsAre(2u));
    EXPECT_EQ(nullptr, cache.get(1));
}

TEST(MemoryCache, ForgetsAllAndGoesOn) {
    Memory cache(3, true);
    cache.clear();
    cache.putCopy(1, "one");
    cache.putCopy(2, "two");
    cache.clear();
    EXPECT_EQ(0u, cache.size());
    EXPECT_EQ(nullptr, cache.get(1));
    for (const unsigned long long key : {4ULL, 5ULL, 6ULL, 7ULL}) {
        cache.putCopy(key, "value");
    }
    EXPECT_THAT(keys_in(cache, 10), ElementsAre(5u, 6u, 7u));
    EXPECT_EQ(3u, cache.capacity());
}

TEST(MemoryCache, SharesItsValuesWithTheApplication) {
    Memory cache(1, true);
    const Image one = image("one");
    cache.put(1, one);
    EXPECT_EQ(2, one.use_count());
    const Image seen = cache.get(1);
    cache.putCopy(2, "two");
    EXPECT_EQ("one", *seen) << "outlives its eviction";
    EXPECT_EQ(2, one.use_count()) << "the cache has let go of it";
}

TEST(MemoryCache, LetsGoOfWhatItDropsAtOnce) {
    Memory cache(3, true);
    const Image values[] = {image("a"), image("b"), image("c"), image("d")};
    cache.put(0, values[0]);
    cache.put(1, values[1]);
    cache.put(2, values[2]);
    cache.put(0, values[3]);
    EXPECT_EQ(1, values[0].use_count()) << "replaced";
    cache.remove(1);
    EXPECT_EQ(1, values[1].use_count()) << "removed";
    cache.clear();
    EXPECT_EQ(1, values[2].use_count()) << "cleared";
    EXPECT_EQ(1, values[3].use_count()) << "cleared";
}

TEST(MemoryCache, HoldsNothingWithACapacityOfZero) {
    Memory cache(0, true);
    const Image one = image("one");
    cache.put(1, one);
    EXPECT_EQ(0u, cache.size());
    EXPECT_EQ(nullptr, cache.get(1));
    EXPECT_EQ(1, one.use_count()) << "no bucket keeps it";
    cache.put(2, image("two"));
    EXPECT_EQ(nullptr, cache.get(2));
}

TEST(MemoryCache, MayHoldANullValue) {
    Memory cache(2, true);
    cache.put(1, Image());
    EXPECT_TRUE(cache.contains(1));
    EXPECT_EQ(nullptr, cache.get(1));
    EXPECT_EQ("", cache.valueOf(1));
}

TEST(MemoryCache, UsesItsBucketsAgain) {
    CountingMemory cache(3, true);
    for (unsigned long long key = 0; key < 100; ++key) {
        cache.putCopy(key, "value");
    }
    EXPECT_EQ(4, cache.made) << "one is linked before another is dropped";
    EXPECT_EQ(97, cache.reset);
    cache.clear();
    for (unsigned long long key = 0; key < 4; ++key) {
        cache.putCopy(key, "value");
        cache.remove(key);
    }
    EXPECT_EQ(4, cache.made);
    EXPECT_EQ(97 + 3 + 4, cache.reset);
}

namespace {

/// Has a smaller capacity from a moment on: by the plain slot of the interface, which is no call
/// of the memory cache's own.
void lower_capacity(Memory& cache, std::size_t capacity) { cache.ICache::setCapacity(capacity); }

} // namespace

TEST(MemoryCache, DropsDownToItsCapacityAtTheNextPut) {
    Memory cache(5, true);
    for (unsigned long long key = 0; key < 5; ++key) {
        cache.putCopy(key, "value");
    }
    lower_capacity(cache, 2);
    EXPECT_EQ(5u, cache.size());
    cache.putCopy(1, "again");
    EXPECT_THAT(keys_in(cache, 10), ElementsAre(1u, 4u));
    EXPECT_EQ("again", cache.valueOf(1));
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

// Storing the capacity there and then would be the evident repair; applications that call it are
// told by the compiler what happens. Here a subclass ends what would never end.
TEST(MemoryCache, SettingTheCapacityEntersItsOwnSlotAgain) {
    class Ending : public Memory {
    public:
        Ending() : Memory(3, true) {}
        int entered = 0;
        void setCapacity(std::size_t capacity) override {
            if (++entered < 4) {
                Memory::setCapacity(capacity);
            } else {
                ICache::setCapacity(capacity);
            }
        }
    };
    Ending cache;
    for (const unsigned long long key : {1ULL, 2ULL, 3ULL}) {
        cache.putCopy(key, "value");
    }
    cache.setCapacity(2);
    EXPECT_EQ(4, cache.entered);
    EXPECT_EQ(2u, cache.capacity());
    EXPECT_THAT(keys_in(cache, 10), ElementsAre(2u, 3u)) << "evicted once the slot came back";
}

#pragma GCC diagnostic pop

TEST(MemoryCache, BehavesLikeItsModelOverLongSequences) {
    std::size_t images = 0;
    for (const bool threadSafe : {false, true}) {
        for (unsigned int seed = 1; seed <= 20; ++seed) {
            std::mt19937 random(seed);
            const std::size_t capacity = random() % 12;
            CountingMemory cache(capacity, threadSafe);
            Model model(capacity);
            HeldImages held;
            bool locked = threadSafe;
            for (int step = 0; step < 2000; ++step) {
                const unsigned long long key = random() % 20;
                const auto where = ::testing::Message()
                                   << "seed " << seed << ", step " << step << ", key " << key;
                switch (random() % 16) {
                case 0:
                    cache.remove(key);
                    model.remove(key);
                    break;
                case 1:
                    if (random() % 20 == 0) {
                        cache.clear();
                        model.clear();
                    }
                    break;
                case 2:
                    ASSERT_EQ(model.contains(key), cache.contains(key)) << where;
                    break;
                case 3: {
                    const std::string* const expected = model.get(key);
                    ASSERT_EQ(expected != nullptr ? *expected : "", cache.valueOf(key)) << where;
                    break;
                }
                case 4:
                    locked = !locked;
                    cache.setThreadSafe(locked);
                    ASSERT_EQ(locked, cache.isThreadSafe()) << where;
                    break;
                case 5:
                case 6:
                case 7: {
                    const std::string* const expected = model.get(key);
                    const Image found = cache.get(key);
                    ASSERT_EQ(expected != nullptr, found != nullptr) << where;
                    if (!found) break;
                    ASSERT_EQ(*expected, *found) << where;
                    held.hold(found);
                    break;
                }
                default: {
                    const std::string text = std::to_string(step);
                    cache.putCopy(key, text);
                    model.put(key, text);
                    break;
                }
                }
                ASSERT_EQ(model.size(), cache.size()) << where;
                ASSERT_EQ(capacity, cache.capacity()) << where;
            }
            EXPECT_GE(capacity + 1, static_cast<std::size_t>(cache.made)) << "seed " << seed;
            EXPECT_EQ(model.keys(), keys_in(cache, 20)) << "seed " << seed;
            held.expectUnchanged(seed);
            images += held.size();
        }
    }
    EXPECT_LT(1000u, images) << "held beyond their eviction";
}

// ----- The chain ---------------------------------------------------------------------------------

TEST(MultiCache, TakesOverTheCapacityAndTheLockOfItsFirstCache) {
    for (const bool threadSafe : {false, true}) {
        const Multi chain(std::make_unique<Memory>(5, threadSafe));
        EXPECT_EQ(5u, chain.capacity());
        EXPECT_EQ(threadSafe, chain.isThreadSafe());
    }
}

TEST(MultiCache, IsEmptyWithoutACache) {
    Multi chain(nullptr);
    chain.append(nullptr);
    EXPECT_EQ(0u, chain.size());
    EXPECT_EQ(0u, chain.capacity());
    EXPECT_FALSE(chain.isThreadSafe());
    chain.putCopy(1, "one");
    chain.remove(1);
    chain.clear();
    EXPECT_FALSE(chain.contains(1));
    EXPECT_EQ(nullptr, chain.get(1));
    EXPECT_EQ("", chain.valueOf(1));
    chain.setCapacity(9);
    EXPECT_EQ(9u, chain.capacity()) << "its own";
}

TEST(MultiCache, HasTheSizeAndTheCapacityOfItsFirstCache) {
    std::vector<std::string> log;
    Multi chain(std::make_unique<NotingCache>(log, "first"));
    chain.append(std::make_unique<Memory>(3, false));
    EXPECT_EQ(7u, chain.size());
    EXPECT_EQ(70u, chain.capacity());
}

TEST(MultiCache, FollowsTheCapacityOfItsFirstCache) {
    auto first = std::make_unique<Memory>(5, false);
    Memory& seen = *first;
    const Multi chain(std::move(first));
    lower_capacity(seen, 2);
    EXPECT_EQ(2u, chain.capacity());
    EXPECT_EQ(5u, chain.ICache::capacity()) << "its own, as it was taken over";
}

TEST(MultiCache, PassesItsCapacityToEachCache) {
    std::vector<std::string> log;
    auto first = std::make_unique<NotingCache>(log, "first");
    auto second = std::make_unique<NotingCache>(log, "second");
    const NotingCache* const seen[] = {first.get(), second.get()};
    Multi chain(std::move(first));
    chain.append(std::move(second));
    chain.setCapacity(12);
    EXPECT_EQ(12u, seen[0]->setTo);
    EXPECT_EQ(12u, seen[1]->setTo);
}

TEST(MultiCache, PassesItsLockToEachCache) {
    std::vector<std::string> log;
    Multi chain(std::make_unique<NotingCache>(log, "first"));
    chain.append(std::make_unique<NotingCache>(log, "second"));
    chain.setThreadSafe(true);
    EXPECT_TRUE(chain.isThreadSafe());
    chain.setThreadSafe(false);
    EXPECT_FALSE(chain.isThreadSafe());
    EXPECT_THAT(log,
                ElementsAre("first locked", "second locked", "first unlocked", "second unlocked"));
}

TEST(MultiCache, ChangesEveryCacheInOrder) {
    std::vector<std::string> log;
    {
        Multi chain(std::make_unique<NotingCache>(log, "first"));
        chain.append(std::make_unique<NotingCache>(log, "second"));
        chain.put(1, image("one"));
        chain.remove(2);
        chain.clear();
    }
    ASSERT_EQ(8u, log.size());
    log.resize(6); // the two that are left tell of the destruction
    EXPECT_THAT(log, ElementsAre("first put 1", "second put 1", "first remove 2", "second remove 2",
                                 "first clear", "second clear"));
}

TEST(MultiCache, OwnsItsCaches) {
    std::vector<std::string> log;
    {
        Multi chain(std::make_unique<NotingCache>(log, "first"));
        chain.append(std::make_unique<NotingCache>(log, "second"));
    }
    std::sort(log.begin(), log.end());
    EXPECT_THAT(log, ElementsAre("first destroyed", "second destroyed"));
}

TEST(MultiCache, AsksItsCachesInOrderUntilOneHasTheKey) {
    std::vector<std::string> log;
    auto first = std::make_unique<NotingCache>(log, "first");
    auto second = std::make_unique<NotingCache>(log, "second");
    auto third = std::make_unique<NotingCache>(log, "third");
    second->held = image("two");
    third->held = image("three");
    Multi chain(std::move(first));
    chain.append(std::move(second));
    chain.append(std::move(third));
    EXPECT_EQ("two", *chain.get(1));
    EXPECT_THAT(log, ElementsAre("second get 1", "first put 1"));
}

TEST(MultiCache, MovesAHitToTheCachesBefore) {
    auto first = std::make_unique<Memory>(1, false);
    auto second = std::make_unique<Memory>(2, false);
    auto third = std::make_unique<Memory>(3, false);
    ICache* const caches[] = {first.get(), second.get(), third.get()};
    Multi chain(std::move(first));
    chain.append(std::move(second));
    chain.append(std::move(third));
    for (const unsigned long long key : {1ULL, 2ULL, 3ULL}) {
        chain.putCopy(key, std::to_string(key));
    }
    EXPECT_THAT(keys_in(*caches[0], 10), ElementsAre(3u));
    EXPECT_THAT(keys_in(*caches[1], 10), ElementsAre(2u, 3u));

    const Image found = chain.get(1);
    EXPECT_EQ("1", *found);
    EXPECT_THAT(keys_in(*caches[0], 10), ElementsAre(1u));
    EXPECT_THAT(keys_in(*caches[1], 10), ElementsAre(1u, 3u));
    EXPECT_EQ(found, caches[0]->get(1)) << "shared, not copied";
    EXPECT_EQ(found, caches[2]->get(1));
}

TEST(MultiCache, HasAKeyThatAnyOfItsCachesHas) {
    auto second = std::make_unique<Memory>(2, false);
    second->putCopy(1, "one");
    Multi chain(std::make_unique<Memory>(2, false));
    chain.append(std::move(second));
    EXPECT_TRUE(chain.contains(1));
    EXPECT_FALSE(chain.contains(2));
    EXPECT_EQ("one", chain.valueOf(1));
}

TEST(MultiCache, BehavesLikeItsModelsOverLongSequences) {
    std::size_t images = 0;
    for (const bool threadSafe : {false, true}) {
        for (unsigned int seed = 1; seed <= 20; ++seed) {
            std::mt19937 random(seed);
            const std::size_t length = 1 + random() % 3;
            std::vector<Model> models;
            std::vector<const ICache*> caches;
            std::unique_ptr<Multi> chain;
            for (std::size_t i = 0; i < length; ++i) {
                const std::size_t capacity = random() % (4 * (i + 1));
                auto cache = std::make_unique<Memory>(capacity, threadSafe);
                caches.push_back(cache.get());
                models.emplace_back(capacity);
                if (i == 0) {
                    chain = std::make_unique<Multi>(std::move(cache));
                } else {
                    chain->append(std::move(cache));
                }
            }
            HeldImages held;
            bool locked = threadSafe;
            for (int step = 0; step < 2000; ++step) {
                const unsigned long long key = random() % 16;
                const auto where = ::testing::Message()
                                   << "seed " << seed << ", step " << step << ", key " << key;
                std::size_t hit = 0;
                while (hit < length && !models[hit].contains(key)) {
                    ++hit;
                }
                switch (random() % 16) {
                case 0:
                case 1:
                    chain->remove(key);
                    for (Model& model : models) {
                        model.remove(key);
                    }
                    break;
                case 2:
                    if (random() % 20 != 0) break;
                    chain->clear();
                    for (Model& model : models) {
                        model.clear();
                    }
                    break;
                case 3:
                    ASSERT_EQ(hit < length, chain->contains(key)) << where;
                    break;
                case 4:
                    locked = !locked;
                    chain->setThreadSafe(locked);
                    for (const ICache* const cache : caches) {
                        ASSERT_EQ(locked, cache->isThreadSafe()) << where;
                    }
                    break;
                case 5:
                case 6:
                case 7:
                case 8: {
                    const Image found = chain->get(key);
                    ASSERT_EQ(hit < length, found != nullptr) << where;
                    if (!found) break;
                    const std::string expected = *models[hit].get(key);
                    ASSERT_EQ(expected, *found) << where;
                    for (std::size_t before = 0; before < hit; ++before) {
                        models[before].put(key, expected);
                    }
                    held.hold(found);
                    break;
                }
                default: {
                    const std::string text = std::to_string(step);
                    chain->putCopy(key, text);
                    for (Model& model : models) {
                        model.put(key, text);
                    }
                    break;
                }
                }
                ASSERT_EQ(models[0].size(), chain->size()) << where;
                for (std::size_t i = 0; step % 20 == 0 && i < length; ++i) {
                    ASSERT_EQ(models[i].keys(), keys_in(*caches[i], 16)) << where << ", " << i;
                }
            }
            held.expectUnchanged(seed);
            images += held.size();
        }
    }
    EXPECT_LT(1000u, images) << "held beyond their eviction";
}

// ----- Locks -----------------------------------------------------------------------------------

TEST(MemoryCache, HoldsItsLockWhileItLooksAKeyUp) {
    struct Open : qx::MemoryCache<WatchedKey, int> {
        Open() : MemoryCache(1, true) {}
        using MemoryCache::mutex;
        int emptied = 0;
        int emptiedOpenly = 0;

    protected:
        void resetBucket(Bucket* bucket) override {
            ++emptied;
            if (!is_held(*mutex())) ++emptiedOpenly;
            MemoryCache::resetBucket(bucket);
        }
    };
    const struct {
        const char* operation;
        std::function<void(Open&)> ask;
    } rows[] = {
        {"contains", [](Open& cache) { cache.contains({1}); }},
        {"get", [](Open& cache) { cache.get({1}); }},
        {"put", [](Open& cache) { cache.putCopy({1}, 1); }},
        {"put another", [](Open& cache) { cache.putCopy({2}, 2); }},
        {"remove", [](Open& cache) { cache.remove({1}); }},
        {"clear", [](Open& cache) { cache.clear(); }},
    };
    for (const auto& row : rows) {
        Open cache;
        cache.putCopy({1}, 7);
        int lookups = 0;
        int open = 0;
        WatchedKey::lookedUp = [&] {
            ++lookups;
            if (!is_held(*cache.mutex())) ++open;
        };
        row.ask(cache);
        WatchedKey::lookedUp = nullptr;
        EXPECT_LT(0, lookups + cache.emptied) << row.operation;
        EXPECT_EQ(0, open) << row.operation;
        EXPECT_EQ(0, cache.emptiedOpenly) << row.operation;
    }
}

TEST(MultiCache, HoldsItsLockWhileItAsksItsCaches) {
    struct Open : Multi {
        using Multi::Multi;
        using Multi::mutex;
    };
    auto first = std::make_unique<AskedCache>();
    AskedCache& asked = *first;
    Open chain(std::move(first));
    chain.setThreadSafe(true);
    std::vector<std::string> told;
    asked.asked = [&](const char* operation) {
        told.push_back(operation + std::string(is_held(*chain.mutex()) ? " held" : " open"));
    };
    chain.size();
    chain.capacity();
    chain.setCapacity(1);
    chain.contains(1);
    chain.put(1, nullptr);
    chain.get(1);
    chain.remove(1);
    chain.clear();
    EXPECT_THAT(told,
                ElementsAre("size held", "capacity held", "setCapacity held", "contains held",
                            "put held", "contains held", "get held", "remove held", "clear held"));
}

TEST(MemoryCache, ServesSeveralThreads) {
    Memory cache(8, true);
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (unsigned int number = 0; number < 4; ++number) {
        threads.emplace_back([&cache, &wrong, number] {
            std::mt19937 random(number);
            for (int step = 0; step < 3000; ++step) {
                const unsigned long long key = random() % 32;
                cache.putCopy(key, std::to_string(key));
                const unsigned long long other = random() % 32;
                const Image found = cache.get(other);
                if (found && *found != std::to_string(other)) ++wrong[number];
                if (step % 16 == 0) cache.remove(key);
                if (step % 512 == 0) cache.clear();
                cache.contains(other);
                if (cache.size() > cache.capacity()) ++wrong[number];
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(wrong, ElementsAre(0, 0, 0, 0));
}

// What breaks here without the locks is found by the thread sanitizer, and mostly without it.
TEST(MultiCache, ServesSeveralThreads) {
    Multi chain(std::make_unique<Memory>(8, true));
    chain.append(std::make_unique<Memory>(16, true));
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (unsigned int number = 0; number < 4; ++number) {
        threads.emplace_back([&chain, &wrong, number] {
            std::mt19937 random(number);
            for (int step = 0; step < 3000; ++step) {
                const unsigned long long key = random() % 32;
                chain.putCopy(key, std::to_string(key));
                const unsigned long long other = random() % 32;
                const Image found = chain.get(other);
                if (found && *found != std::to_string(other)) ++wrong[number];
                if (step % 16 == 0) chain.remove(key);
                if (step % 512 == 0) chain.clear();
                if (chain.size() > chain.capacity()) ++wrong[number];
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(wrong, ElementsAre(0, 0, 0, 0));
}
