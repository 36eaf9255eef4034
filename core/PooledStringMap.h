// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveString.h"
#include "core/StringPool.h"
#include "core/detail/GroupedTable.h"
#include "core/detail/SmallBlocks.h"

#include <boost/intrusive_ptr.hpp>

#include <atomic>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

namespace qx {

namespace detail {

/// What a missing entry gets from its default: the default itself. A type whose copies share what
/// they hold says otherwise by a function of this name in its own namespace.
template <typename T>
const T& entry_from_default(const T& value) {
    return value;
}

/// A value that is `T()` until somebody asks for it: few maps ever do, and there are many maps.
/// Threads: any thread may ask.
template <typename T>
class LateDefault {
public:
    LateDefault() noexcept = default;
    explicit LateDefault(const T& value) : box_(new Box(value)) {}
    LateDefault(const LateDefault& source) : box_(source.copy()) {}
    /// A value that was asked for stays in its place: a reader may hold a reference to it.
    LateDefault& operator=(const LateDefault& source) {
        if (this == &source) return *this;
        if (Box* box = box_.load(); box != nullptr) {
            box->value = source.value();
        } else {
            box_.store(source.copy());
        }
        return *this;
    }
    ~LateDefault() { delete box_.load(); }

    const T& value() const {
        const Box* box = box_.load(std::memory_order_acquire);
        return (box != nullptr ? box : made())->value;
    }

private:
    struct Box : SmallObject {
        Box() : value() {}
        explicit Box(const T& source) : value(source) {}
        T value;
    };

    const Box* made() const {
        Box* known = nullptr;
        if constexpr (std::is_default_constructible_v<T>) { // others are made by the constructor
            std::unique_ptr<Box> fresh(new Box);
            if (box_.compare_exchange_strong(known, fresh.get())) known = fresh.release();
        }
        return known;
    }
    Box* copy() const {
        const Box* box = box_.load(std::memory_order_acquire);
        return box != nullptr ? new Box(box->value) : nullptr;
    }

    mutable std::atomic<Box*> box_{nullptr};
};

} // namespace detail

/// A multimap from interned strings to values.
///
/// Entries of one key stand together in order of insertion, and lookups answer the first. Keys are
/// placed by identity, so `insert_new` takes interned ones only, and looked up by text, so every
/// other operation takes any. Entries never move: references and iterators stay valid until the
/// entry is erased. Apart from groups the order of iteration is no contract. Arguments may lie in
/// the map that is changed.
/// The pool isn't owned and outlives the map.
/// Threads: one at a time; a lookup of a missing key by `operator[]` writes to the pool.
template <typename T>
class GATECAST_EXPORT PooledStringMap {
public:
    /// A key: a text of the pool, shared.
    using Key = boost::intrusive_ptr<IntrusiveString>;
    /// What keeps the keys.
    using Pool = StringPool<IntrusiveString, Key>;
    /// What keeps the entries.
    using Table = detail::GroupedTable<T>;
    /// A place among the entries: `first` is the key, `second` the value.
    using iterator = typename Table::iterator;
    /// A place for reading.
    using const_iterator = typename Table::const_iterator;
    /// An entry.
    using value_type = typename Table::value_type;

    /// Default value `T()`, global pool.
    PooledStringMap() : pool_(&global_string_pool()) {
        static_assert(std::is_default_constructible_v<T>, "give a default value");
    }
    /// The given default value, global pool.
    PooledStringMap(const T& defaultValue) : PooledStringMap(global_string_pool(), defaultValue) {}
    /// The given default value and pool.
    PooledStringMap(Pool& pool, const T& defaultValue) : pool_(&pool), default_(defaultValue) {}
    /// Copies the entries and the default value; the pool is the source's.
    PooledStringMap(const PooledStringMap&) = default;
    /// Takes over entries, default value and pool. Calls no hook.
    PooledStringMap& operator=(const PooledStringMap& source) {
        if (this == &source) return *this;
        Table entries(source.table_); // the source may lie in one of the values
        default_ = source.default_;
        pool_ = source.pool_;
        table_.swap(entries);
        return *this;
    }

    // The order of the virtual operations is ABI.
    virtual ~PooledStringMap() = default;

protected:
    /// What a lookup of a missing key answers: here the default value, whatever the key.
    virtual const T& auto_value_for(const Key& key) const {
        static_cast<void>(key);
        return default_.value();
    }
    /// Called after an entry was added, after its value was replaced by `setValue` or `rename`, and
    /// before `rename` removes it. `erase` and `removeValue` call nothing.
    /// @{
    virtual void on_insert(const iterator& entry) { static_cast<void>(entry); }
    virtual void on_update(const iterator& entry) { static_cast<void>(entry); }
    virtual void on_erase(const iterator& entry) { static_cast<void>(entry); }
    /// @}

public:
    /// Whether there is no entry.
    bool empty() const noexcept { return table_.empty(); }
    /// Entries, those of repeated keys counted each.
    std::size_t size() const noexcept { return table_.size(); }
    /// From the first entry to behind the last one, in the map's own order.
    /// @{
    iterator begin() noexcept { return table_.begin(); }
    iterator end() noexcept { return table_.end(); }
    const_iterator begin() const noexcept { return table_.begin(); }
    const_iterator end() const noexcept { return table_.end(); }
    /// @}

    /// First entry with the key's text, or `end()`.
    /// @{
    iterator find(const char* key) { return table_.find(text_of(key)); }
    iterator find(const IntrusiveString& key) { return find(key.c_str()); }
    iterator find(const Key& key) { return find(text_of(key)); }
    const_iterator find(const char* key) const { return table_.find(text_of(key)); }
    const_iterator find(const IntrusiveString& key) const { return find(key.c_str()); }
    const_iterator find(const Key& key) const { return find(text_of(key)); }
    /// @}
    /// Whether an entry has the key's text.
    template <typename K>
    bool contains(const K& key) const {
        return find(key) != end();
    }

    /// The first entry's value, or the default of the key; no entry is added.
    /// @{
    const T& operator[](const char* key) const { return read(key); }
    const T& operator[](const IntrusiveString& key) const { return read(key.c_str()); }
    const T& operator[](const Key& key) const { return read(text_of(key)); }
    /// @}
    /// The first entry's value; a missing key gets an entry with a copy of its default.
    /// @{
    T& operator[](const char* key) { return provide(key); }
    T& operator[](const IntrusiveString& key) { return provide(key.c_str()); }
    T& operator[](const Key& key) { return provide(text_of(key)); }
    /// @}

    /// Assigns to the first entry of the key, or adds one.
    template <typename K>
    iterator setValue(const K& key, const T& value) {
        const iterator entry = find(key);
        if (entry == end()) return insert_new(pool_->intern(key), value);
        entry->second = value;
        on_update(entry);
        return entry;
    }

    /// Moves the first entry of one key under another one, where it replaces the first entry.
    /// False when there is no such entry.
    bool rename(const char* from, const char* to) {
        // Intended: a repeated key renamed to itself loses its second value to the first one.
        // Held by PooledStringMap.RenamingARepeatedKeyToItselfOverwritesTheSecondEntry.
        const iterator old = find(from);
        if (old == end()) return false;
        const T value(old->second);
        const Key target = pool_->intern(to); // either text may end with the entry
        on_erase(old);
        table_.erase(old);
        setValue(target, value);
        return true;
    }

    /// Removes the entry and returns the next one. Calls no hook.
    /// Bad input: at `end()` nothing happens.
    iterator erase(const_iterator entry) {
        // Intended: `on_erase` isn't called, here nor in `removeValue`; `rename` alone calls it.
        // Held by PooledStringMap.ErasingAnswersTheNextEntryAndCallsNoHook,
        // PooledStringMap.RemovesEveryEntryWithAValueAndCallsNoHook and
        // Object.LeavesItsOwnerUnmarkedWhenItErases.
        return table_.erase(entry);
    }

    /// First entry, in iteration order, whose value equals the given one; `end()` if none.
    /// @{
    const_iterator findValue(const T& value) const { return findValue(value, begin()); }
    const_iterator findValue(const T& value, const_iterator from) const {
        while (from != end() && !(from->second == value)) {
            ++from;
        }
        return from;
    }
    /// @}
    /// The entry whose value is that very object; `end()` if none.
    const_iterator findValue(const T* address) const {
        const_iterator entry = begin();
        while (entry != end() && &entry->second != address) {
            ++entry;
        }
        return entry;
    }
    /// Whether an entry has an equal value.
    bool containsValue(const T& value) const { return findValue(value) != end(); }

    /// Removes every entry whose value equals the given one and returns how many. Calls no hook.
    int removeValue(const T& value) {
        const T wanted(value);
        int removed = 0;
        for (const_iterator entry = begin(); entry != end();) {
            if (entry->second == wanted) {
                entry = table_.erase(entry);
                ++removed;
            } else {
                ++entry;
            }
        }
        return removed;
    }

    /// The entry `count` steps behind, if it has the same key; otherwise `end()`.
    const_iterator findNext(const_iterator entry, unsigned int count) const {
        if (entry == end()) return end();
        const Key& key = entry->first;
        while (count-- > 0) {
            ++entry;
            if (entry == end() || entry->first != key) return end();
        }
        return entry;
    }

    /// Position among the entries of the same key, counted from 0; -1 if it isn't reached.
    int indexInRange(const_iterator entry) const {
        if (entry == end()) return -1;
        int index = 0;
        for (const_iterator it = find(entry->first); it != end() && it->first == entry->first;
             ++it, ++index) {
            if (it == entry) return index;
        }
        return -1;
    }

protected:
    /// A copy whose values are made of the argument and the source's values.
    template <typename Argument>
    PooledStringMap(const PooledStringMap& source, Argument& argument)
        : table_(source.table_, argument), pool_(source.pool_), default_(source.default_) {}

    /// Adds an entry with no lookup of any kind: a key that is present gets a further entry.
    /// The key must be interned in the map's pool.
    iterator insert_new(const Key& key, const T& value) {
        const iterator entry = emplace_new(key, value);
        on_insert(entry);
        return entry;
    }
    /// The same with a value made of the arguments in its place. Calls no hook.
    template <typename... Args>
    iterator emplace_new(const Key& key, Args&&... args) {
        return table_.insert(key, std::forward<Args>(args)...);
    }

    /// For a map that is about to be destroyed: takes the last entry away. Calls no hook, and
    /// nothing may be looked up from then on.
    void drop_last() noexcept { table_.dropLast(); }

    /// Removes all entries. Calls no hook.
    void clear() noexcept {
        Table entries;
        table_.swap(entries);
    }

private:
    static const char* text_of(const char* key) noexcept { return key != nullptr ? key : ""; }
    static const char* text_of(const Key& key) noexcept { return key ? key->c_str() : ""; }

    const T& read(const char* key) const {
        const const_iterator entry = find(key);
        // Intended: a const read of a missing key interns it.
        // Held by PooledStringMap.AConstReadOfAMissingKeyInternsItAndAddsNoEntry.
        return entry != end() ? entry->second : auto_value_for(pool_->intern(key));
    }

    T& provide(const char* key) {
        const iterator entry = find(key);
        if (entry != end()) return entry->second;
        const Key& interned = pool_->intern(key);
        using detail::entry_from_default;
        return insert_new(interned, entry_from_default(auto_value_for(interned)))->second;
    }

    Table table_;
    Pool* pool_;
    detail::LateDefault<T> default_;
};

} // namespace qx
