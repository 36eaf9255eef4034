// SPDX-License-Identifier: MIT
// Internal: may change at any time. Installed because core/PooledStringMap.h needs it.
#pragma once

#include "core/IntrusiveString.h"
#include "core/StringPool.h"
#include "core/detail/SeededHash.h"
#include "core/detail/SmallBlocks.h"

#include <boost/intrusive_ptr.hpp>

#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace qx::detail {

/// A hash multimap from counted strings to values: the entries of one key stand together in order
/// of insertion, also after growth and in copies, and never move in memory.
///
/// All nodes form one list, group behind group, the latest group last. The first node of a group,
/// its leader, knows the last one. A key is placed by identity and found by text; of two groups
/// with the same text the later one is found. A table of a few entries is searched along its list,
/// which is quicker and smaller than an index; most objects are such.
template <typename T>
class GroupedTable {
public:
    using Key = boost::intrusive_ptr<IntrusiveString>;
    using value_type = std::pair<const Key, T>;

private:
    struct Node : SmallObject {
        template <typename... Args>
        explicit Node(const Key& key, Args&&... args)
            : entry(std::piecewise_construct, std::forward_as_tuple(key),
                    std::forward_as_tuple(std::forward<Args>(args)...)) {}

        Node* previous = nullptr;
        Node* next = nullptr;
        Node* last = nullptr; // leaders only: the last node of the group
        value_type entry;
    };

    /// The leaders of a large table by the hash of their keys, each in the first free slot from its
    /// own on. Of equal hashes the latest leader comes first.
    class Index {
    public:
        explicit Index(std::size_t slots) : hashes_(slots), leaders_(slots) {}

        std::size_t slotCount() const noexcept { return leaders_.size(); }
        /// Whether one more would leave less than a third of the slots free: searches stay short.
        bool isFull() const noexcept { return 3 * (count_ + 1) > 2 * slotCount(); }

        template <typename Matches>
        Node* find(std::uint32_t hash, Matches matches) const {
            std::size_t at = own(hash);
            while (!isFree(at) && !(hashes_[at] == hash && matches(leaders_[at]))) {
                at = behind(at);
            }
            return leaders_[at];
        }
        void add(Node* leader) noexcept {
            const std::uint32_t hash = hash_of(leader->entry.first);
            std::size_t at = own(hash);
            for (; !isFree(at); at = behind(at)) {
                if (hashes_[at] == hash) std::swap(leaders_[at], leader);
            }
            put(at, hash, leader);
            ++count_;
        }
        void replace(const Node* leader, Node* heir) noexcept { leaders_[slotOf(leader)] = heir; }
        /// Moves up those that were kept from their own slots.
        void remove(const Node* leader) noexcept {
            std::size_t gap = slotOf(leader);
            for (std::size_t at = behind(gap); !isFree(at); at = behind(at)) {
                const std::size_t wanted = own(hashes_[at]);
                if (distance(wanted, at) < distance(gap, at)) continue;
                put(gap, hashes_[at], leaders_[at]);
                gap = at;
            }
            put(gap, 0, nullptr);
            --count_;
        }

    private:
        // The number of slots is a power of two.
        std::size_t own(std::size_t hash) const noexcept { return hash & (slotCount() - 1); }
        std::size_t behind(std::size_t at) const noexcept { return own(at + 1); }
        std::size_t distance(std::size_t from, std::size_t to) const noexcept {
            return own(to - from);
        }
        bool isFree(std::size_t at) const noexcept { return hashes_[at] == 0; }
        void put(std::size_t at, std::uint32_t hash, Node* leader) noexcept {
            hashes_[at] = hash;
            leaders_[at] = leader;
        }
        std::size_t slotOf(const Node* leader) const noexcept {
            std::size_t at = own(hash_of(leader->entry.first));
            while (leaders_[at] != leader) {
                at = behind(at);
            }
            return at;
        }

        std::vector<std::uint32_t> hashes_; // 0 in a free slot, as the hash of no key
        std::vector<Node*> leaders_;
        std::size_t count_ = 0;
    };

    template <typename Value>
    class Iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = typename GroupedTable::value_type;
        using difference_type = std::ptrdiff_t;
        using pointer = Value*;
        using reference = Value&;

        Iterator() = default;
        /// A const iterator from a non-const one.
        template <typename Other, std::enable_if_t<std::is_convertible_v<Other*, Value*>, int> = 0>
        Iterator(const Iterator<Other>& other) : node_(other.node_) {}

        reference operator*() const { return node_->entry; }
        pointer operator->() const { return &node_->entry; }
        Iterator& operator++() {
            node_ = node_->next;
            return *this;
        }
        Iterator operator++(int) {
            Iterator old(*this);
            ++*this;
            return old;
        }
        friend bool operator==(const Iterator& left, const Iterator& right) {
            return left.node_ == right.node_;
        }
        friend bool operator!=(const Iterator& left, const Iterator& right) {
            return left.node_ != right.node_;
        }

    private:
        friend class GroupedTable;
        template <typename>
        friend class Iterator;
        explicit Iterator(Node* node) : node_(node) {}

        Node* node_ = nullptr; // null past the end
    };

public:
    using iterator = Iterator<value_type>;
    using const_iterator = Iterator<const value_type>;

    GroupedTable() = default;
    /// A copy; with an argument its values are made of that and the source's values.
    /// @{
    GroupedTable(const GroupedTable& source) { append(source); }
    template <typename Argument>
    GroupedTable(const GroupedTable& source, Argument& argument) {
        append(source, argument);
    }
    /// @}
    GroupedTable& operator=(const GroupedTable& source) {
        GroupedTable copy(source);
        swap(copy);
        return *this;
    }
    ~GroupedTable() { clear(); }

    bool empty() const noexcept { return size_ == 0; }
    std::size_t size() const noexcept { return size_; }
    /// Slots of the index: 0 for up to 16 entries, then half as many again as there are keys at
    /// least.
    std::size_t slotCount() const noexcept { return index_ ? index_->slotCount() : 0; }
    iterator begin() noexcept { return iterator(first_); }
    iterator end() noexcept { return iterator(); }
    const_iterator begin() const noexcept { return const_iterator(first_); }
    const_iterator end() const noexcept { return const_iterator(); }

    /// First entry of the group whose key has that text.
    /// @{
    iterator find(const char* text) { return iterator(leader_by_text(text)); }
    const_iterator find(const char* text) const { return const_iterator(leader_by_text(text)); }
    /// @}

    /// Adds an entry behind the last one of its key, with a value made of the arguments.
    template <typename... Args>
    iterator insert(const Key& key, Args&&... args) {
        std::unique_ptr<Node> node(new Node(key, std::forward<Args>(args)...));
        if (size_ >= kSearched && (!index_ || index_->isFull())) growIndex();
        Node* leader = leader_by_identity(key);
        if (leader == nullptr) {
            leader = node.get();
            if (index_) index_->add(leader);
        }
        append_to_group(leader, node.get());
        return iterator(node.release());
    }

    /// Removes the entry and returns the next one; nothing happens at the end.
    iterator erase(const_iterator where) {
        Node* node = where.node_;
        if (node == nullptr) return end();
        Node* next = node->next;
        leave_group(node);
        unlink(node);
        delete node;
        return iterator(next);
    }

    /// Takes the last node away without a look at its group: nothing may be found from then on.
    void dropLast() noexcept {
        Node* node = last_;
        unlink(node);
        delete node;
    }

    void clear() noexcept {
        // Detached first: what a value does as it goes must not find half a table.
        Node* node = std::exchange(first_, nullptr);
        last_ = nullptr;
        size_ = 0;
        index_.reset();
        while (node != nullptr) {
            delete std::exchange(node, node->next);
        }
    }

    void swap(GroupedTable& other) noexcept {
        std::swap(first_, other.first_);
        std::swap(last_, other.last_);
        std::swap(size_, other.size_);
        index_.swap(other.index_);
    }

private:
    static constexpr std::size_t kSearched = 16; // entries that need no index
    static constexpr std::size_t kFirstSlots = 32;

    static const char* text_of(const Key& key) { return key ? key->c_str() : ""; }
    static bool has_text(const Node* node, const char* text) {
        const char* own = text_of(node->entry.first);
        return *own == *text && std::strcmp(own, text) == 0; // the first byte tells most apart
    }
    static std::uint32_t hash_of(const Key& key) noexcept {
        return key ? key->key_hash_.of(key->c_str()) : key_hash("");
    }
    static bool leads(const Node* node) { return node->last != nullptr; }

    Node* leader_by_text(const char* text) const {
        if (index_) {
            return index_->find(key_hash(text), [&](Node* node) { return has_text(node, text); });
        }
        Node* node = last_;
        while (node != nullptr && !(has_text(node, text) && leads(node))) {
            node = node->previous;
        }
        return node;
    }

    Node* leader_by_identity(const Key& key) const {
        const PooledStringEquals<IntrusiveString> same;
        if (index_) {
            return index_->find(hash_of(key),
                                [&](Node* node) { return same(node->entry.first, key); });
        }
        Node* node = last_;
        while (node != nullptr && !(same(node->entry.first, key) && leads(node))) {
            node = node->previous;
        }
        return node;
    }

    /// Puts the node at the end of the leader's group; a node that leads itself begins one.
    void append_to_group(Node* leader, Node* node) noexcept {
        link_behind(leader == node ? last_ : leader->last, node);
        leader->last = node;
        ++size_;
    }

    void link_behind(Node* previous, Node* node) noexcept {
        node->previous = previous;
        node->next = previous != nullptr ? previous->next : first_;
        (previous != nullptr ? previous->next : first_) = node;
        (node->next != nullptr ? node->next->previous : last_) = node;
    }

    void unlink(Node* node) noexcept {
        (node->previous != nullptr ? node->previous->next : first_) = node->next;
        (node->next != nullptr ? node->next->previous : last_) = node->previous;
        --size_;
    }

    void leave_group(Node* node) noexcept {
        if (!leads(node)) {
            Node* leader = leader_by_identity(node->entry.first);
            if (leader->last == node) leader->last = node->previous;
        } else if (node->last == node) {
            if (index_) index_->remove(node);
        } else {
            Node* heir = node->next;
            heir->last = node->last;
            if (index_) index_->replace(node, heir);
        }
    }

    void growIndex() {
        auto larger = std::make_unique<Index>(index_ ? 2 * slotCount() : kFirstSlots);
        for (Node* leader = first_; leader != nullptr; leader = leader->last->next) {
            larger->add(leader);
        }
        index_ = std::move(larger);
    }

    template <typename... Arguments>
    void append(const GroupedTable& source, Arguments&... arguments) {
        try {
            if (source.index_) index_ = std::make_unique<Index>(source.slotCount());
            Node* leader = nullptr;
            for (const Node* node = source.first_; node != nullptr; node = node->next) {
                Node* copy = new Node(node->entry.first, arguments..., node->entry.second);
                if (leads(node)) {
                    leader = copy;
                    if (index_) index_->add(copy);
                }
                append_to_group(leader, copy);
            }
        } catch (...) {
            clear();
            throw;
        }
    }

    Node* first_ = nullptr;
    Node* last_ = nullptr;
    std::size_t size_ = 0;
    std::unique_ptr<Index> index_;
};

} // namespace qx::detail
