// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/Mutex.h"
#include "core/detail/NeverDestroyed.h"

#include <boost/shared_ptr.hpp>
#include <boost/smart_ptr/make_shared.hpp>
#include <boost/unordered_map.hpp>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qx {

/// A store of values by key that may forget.
///
/// Values are shared: one that the application still holds outlives its removal.
/// Threads: any thread when the cache is thread safe, otherwise one at a time.
/// Thread safety itself is switched while nobody else uses the cache.
template <typename K, typename V>
class Cache {
public:
    /// @param capacity  in entries.
    explicit Cache(std::size_t capacity = 0, bool threadSafe = false)
        : capacity_(capacity), mutex_(threadSafe ? new Mutex : nullptr) {}
    Cache(const Cache&) = delete;
    Cache& operator=(const Cache&) = delete;

    // The order of the virtual operations is ABI.
    virtual ~Cache() = default;
    /// Entries held now.
    virtual std::size_t size() const = 0;
    /// In entries.
    virtual std::size_t capacity() const {
        const MutexLocker lock(mutex(), true);
        return capacity_;
    }
    /// Warning: never call it on a `MemoryCache`, nor on a chain that holds one: it never returns.
    /// Give the capacity to the constructor.
    virtual void setCapacity(std::size_t capacity) {
        const MutexLocker lock(mutex(), true);
        capacity_ = capacity;
    }
    /// Whether each operation takes the lock.
    virtual bool isThreadSafe() const { return mutex_ != nullptr; }
    /// Adds the lock or takes it away. No other thread may use the cache meanwhile.
    virtual void setThreadSafe(bool threadSafe) {
        if (threadSafe != (mutex_ != nullptr)) mutex_.reset(threadSafe ? new Mutex : nullptr);
    }
    /// Whether the key has a value. Doesn't count as use.
    virtual bool contains(const K& key) const = 0;
    /// The value, or an empty one for a missing key. The reference lives as long as somebody, the
    /// cache or the application, holds the value.
    virtual const V& valueOf(const K& key) {
        static const detail::NeverDestroyed<V> none;
        const boost::shared_ptr<V> value = get(key);
        return value ? *value : *none;
    }
    /// The value, null for a missing key.
    virtual boost::shared_ptr<V> get(const K& key) = 0;
    /// The same as `valueOf`.
    virtual const V& at(const K& key) { return valueOf(key); }
    /// Puts a copy of the value.
    virtual void putCopy(const K& key, const V& value) { put(key, boost::make_shared<V>(value)); }
    /// Adds the value, or replaces the one that the key has.
    virtual void put(const K& key, boost::shared_ptr<V> value) = 0;
    /// Bad input: nothing happens for a missing key.
    virtual void remove(const K& key) = 0;
    /// Drops all values.
    virtual void clear() = 0;

protected:
    /// The lock, null when the cache isn't thread safe.
    Mutex* mutex() const { return mutex_.get(); }

private:
    std::size_t capacity_;
    std::unique_ptr<Mutex> mutex_;
};

/// Keeps values in memory and drops those that were unused for longest. A read counts as use.
///
/// A steady state allocates no buckets: those of dropped values are used again.
/// Threads: as `Cache` says; a thread safe one is for any thread.
template <typename K, typename V>
class MemoryCache : public virtual Cache<K, V> {
public:
    /// @param capacity  in entries; a cache of capacity 0 holds nothing.
    MemoryCache(std::size_t capacity, bool threadSafe)
        : Cache<K, V>(capacity, threadSafe), buckets_(kFirstBuckets) {
        // A subclass constructs the virtual base itself; what was given here holds.
        Cache<K, V>::setCapacity(capacity);
        Cache<K, V>::setThreadSafe(threadSafe);
        buckets_.max_load_factor(1.0F);
        front_.next = &back_;
        back_.previous = &front_;
    }
    ~MemoryCache() override {
        for (Bucket* bucket = front_.next; bucket != &back_;) {
            delete std::exchange(bucket, bucket->next);
        }
        while (free_ != nullptr) {
            delete std::exchange(free_, free_->next);
        }
    }

    std::size_t size() const override {
        const MutexLocker lock(this->mutex(), true);
        return buckets_.size();
    }
    /// Warning: never returns. It calls itself until the stack is exhausted and the process ends.
    /// Give the capacity to the constructor instead.
    // GCC takes the building of a deprecated member of a template for a call of it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    [[deprecated("never returns: it calls itself until the stack is exhausted; give the capacity "
                 "to the constructor")]] void
    setCapacity(std::size_t capacity) override {
        const MutexLocker lock(this->mutex(), true);
        // Intended: the slot is this very operation, which enters itself again.
        // Held by MemoryCache.SettingTheCapacityEntersItsOwnSlotAgain.
        Cache<K, V>& slot = *this;
        slot.setCapacity(capacity);
        shrink();
    }
#pragma GCC diagnostic pop
    bool contains(const K& key) const override {
        const MutexLocker lock(this->mutex(), true);
        return buckets_.find(key) != buckets_.end();
    }
    boost::shared_ptr<V> get(const K& key) override {
        const MutexLocker lock(this->mutex(), true);
        const Bucket* const bucket = use(key);
        return bucket != nullptr ? bucket->value : boost::shared_ptr<V>();
    }
    void put(const K& key, boost::shared_ptr<V> value) override {
        const MutexLocker lock(this->mutex(), true);
        Bucket* bucket = use(key);
        if (bucket == nullptr) bucket = add(key);
        shrink();
        // With a capacity of 0 the bucket itself has gone.
        if (bucket->previous != nullptr) bucket->value.swap(value);
    }
    void remove(const K& key) override {
        const MutexLocker lock(this->mutex(), true);
        const auto entry = buckets_.find(key);
        if (entry != buckets_.end()) release(entry->second);
    }
    void clear() override {
        const MutexLocker lock(this->mutex(), true);
        while (evict()) {
        }
    }

protected:
    /// The place of one value: in the list of use, the most recent first, or among the free ones.
    struct Bucket {
        virtual ~Bucket() = default;
        K key{};                    ///< of the value
        boost::shared_ptr<V> value; ///< shared with the application
        Bucket* previous = nullptr; ///< null outside the list
        Bucket* next = nullptr;     ///< towards what was unused for longest
    };

    /// A new bucket; the cache owns it.
    virtual Bucket* newBucket() { return new Bucket; }
    /// Empties a bucket that is to be used again.
    virtual void resetBucket(Bucket* bucket) { bucket->value.reset(); }

private:
    static constexpr std::size_t kFirstBuckets = 11;

    static void unlink(Bucket* bucket) {
        bucket->previous->next = bucket->next;
        bucket->next->previous = bucket->previous;
        bucket->previous = nullptr;
    }
    void linkAtFront(Bucket* bucket) {
        bucket->previous = &front_;
        bucket->next = front_.next;
        bucket->next->previous = bucket;
        front_.next = bucket;
    }
    /// The bucket of the key, moved to the front; null for a missing key.
    Bucket* use(const K& key) {
        const auto entry = buckets_.find(key);
        if (entry == buckets_.end()) return nullptr;
        unlink(entry->second);
        linkAtFront(entry->second);
        return entry->second;
    }
    Bucket* add(const K& key) {
        if (free_ == nullptr) free_ = newBucket();
        // The bucket leaves the free ones when nothing can throw any more.
        Bucket* const bucket = free_;
        bucket->key = key;
        buckets_.emplace(key, bucket);
        free_ = bucket->next;
        linkAtFront(bucket);
        return bucket;
    }
    void release(Bucket* bucket) {
        unlink(bucket);
        buckets_.erase(bucket->key);
        resetBucket(bucket);
        bucket->next = free_;
        free_ = bucket;
    }
    /// Drops the value that was unused for longest; false when there is none.
    bool evict() {
        if (back_.previous == &front_) return false;
        release(back_.previous);
        return true;
    }
    void shrink() {
        while (size() > this->capacity() && evict()) {
        }
    }

    boost::unordered_map<K, Bucket*> buckets_;
    Bucket front_; // sentinels of the list of use
    Bucket back_;
    Bucket* free_ = nullptr; // joined by `next`
};

/// A chain of caches, fastest first, that acts as one. A value found behind is put into those
/// before.
///
/// The lock of the chain is taken first, then that of the cache.
/// Threads: as `Cache` says; a thread safe one is for any thread.
template <typename K, typename V>
class MultiCache : public virtual Cache<K, V> {
public:
    /// Owns the cache and takes over its capacity and thread safety.
    /// Bad input: null gives an empty chain of capacity 0.
    explicit MultiCache(std::unique_ptr<Cache<K, V>> first) {
        if (!first) return;
        Cache<K, V>::setCapacity(first->capacity());
        Cache<K, V>::setThreadSafe(first->isThreadSafe());
        caches_.push_back(std::move(first));
    }
    ~MultiCache() override = default;

    /// Adds a cache behind the others. It keeps its own capacity and thread safety.
    /// Bad input: null adds nothing.
    void append(std::unique_ptr<Cache<K, V>> cache) {
        const MutexLocker lock(this->mutex(), true);
        if (cache) caches_.push_back(std::move(cache));
    }

    /// Entries of the first cache; 0 without one.
    std::size_t size() const override {
        const MutexLocker lock(this->mutex(), true);
        return caches_.empty() ? 0 : caches_.front()->size();
    }
    /// Capacity of the first cache; the chain's own without one.
    std::size_t capacity() const override {
        const MutexLocker lock(this->mutex(), true);
        return caches_.empty() ? Cache<K, V>::capacity() : caches_.front()->capacity();
    }
    /// Passes the capacity to each cache.
    /// Warning: never returns when a `MemoryCache` is among them: its own never does.
    void setCapacity(std::size_t capacity) override {
        const MutexLocker lock(this->mutex(), true);
        Cache<K, V>::setCapacity(capacity);
        for (const auto& cache : caches_) {
            cache->setCapacity(capacity);
        }
    }
    void setThreadSafe(bool threadSafe) override {
        Cache<K, V>::setThreadSafe(threadSafe);
        for (const auto& cache : caches_) {
            cache->setThreadSafe(threadSafe);
        }
    }
    bool contains(const K& key) const override {
        const MutexLocker lock(this->mutex(), true);
        for (const auto& cache : caches_) {
            if (cache->contains(key)) return true;
        }
        return false;
    }
    boost::shared_ptr<V> get(const K& key) override {
        const MutexLocker lock(this->mutex(), true);
        for (std::size_t i = 0; i < caches_.size(); ++i) {
            if (!caches_[i]->contains(key)) continue;
            const boost::shared_ptr<V> value = caches_[i]->get(key);
            for (std::size_t before = 0; before < i; ++before) {
                caches_[before]->put(key, value);
            }
            return value;
        }
        return boost::shared_ptr<V>();
    }
    void put(const K& key, boost::shared_ptr<V> value) override {
        const MutexLocker lock(this->mutex(), true);
        for (const auto& cache : caches_) {
            cache->put(key, value);
        }
    }
    void remove(const K& key) override {
        const MutexLocker lock(this->mutex(), true);
        for (const auto& cache : caches_) {
            cache->remove(key);
        }
    }
    void clear() override {
        const MutexLocker lock(this->mutex(), true);
        for (const auto& cache : caches_) {
            cache->clear();
        }
    }

private:
    std::vector<std::unique_ptr<Cache<K, V>>> caches_; // in order of search
};

// The caches of preview images are built once, in the library.
extern template class GATECAST_EXPORT Cache<unsigned long long, std::string>;
extern template class GATECAST_EXPORT MemoryCache<unsigned long long, std::string>;
extern template class GATECAST_EXPORT MultiCache<unsigned long long, std::string>;

} // namespace qx
