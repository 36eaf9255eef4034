// SPDX-License-Identifier: MIT
// Internal: may change at any time. Installed because core/PooledStringMap.h needs it.
#pragma once

#include "core/IntrusiveString.h"
#include "core/StringPool.h"
#include "core/detail/SeededHash.h"

#include <boost/intrusive_ptr.hpp>

#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>
#include <type_traits>
#include <utility>

namespace qx::detail {

/// A hash multimap from counted strings to values: the entries of one key stand together in order
/// of insertion, also after growth and in copies, and never move in memory.
///
/// All nodes form one list, group behind group. The first node of a group, its leader, knows the
/// last one and hangs in the chain of its bucket, the latest in front. A key is placed by identity
/// and found by text. A table of a few entries has one chain and no hashes, which is quicker and
/// smaller; most objects are such.
template <typename T>
class GroupedTable {
public:
    using Key = boost::intrusive_ptr<IntrusiveString>;
    using value_type = std::pair<const Key, T>;

private:
    struct Node {
        Node(const Key& key, const T& value) : entry(key, value) {}

        Node* previous = nullptr;
        Node* next = nullptr;
        Node* chained = nullptr; // leaders only: the next leader in the bucket
        Node* last = nullptr;    // leaders only: the last node of the group
        std::size_t hash = 0;    // once there are buckets
        value_type entry;
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
    GroupedTable(const GroupedTable& source) { append(source); }
    GroupedTable& operator=(const GroupedTable& source) {
        GroupedTable copy(source);
        swap(copy);
        return *this;
    }
    ~GroupedTable() { clear(); }

    bool empty() const noexcept { return size_ == 0; }
    std::size_t size() const noexcept { return size_; }
    /// 0 for up to 8 entries, then as many as keep the entries from outnumbering them.
    std::size_t bucketCount() const noexcept { return bucketCount_; }
    iterator begin() noexcept { return iterator(first_); }
    iterator end() noexcept { return iterator(); }
    const_iterator begin() const noexcept { return const_iterator(first_); }
    const_iterator end() const noexcept { return const_iterator(); }

    /// First entry of the group whose key has that text.
    /// @{
    iterator find(const char* text) { return iterator(leader_by_text(text)); }
    const_iterator find(const char* text) const { return const_iterator(leader_by_text(text)); }
    /// @}

    /// Adds an entry behind the last one of its key.
    iterator insert(const Key& key, const T& value) {
        std::unique_ptr<Node> node(new Node(key, value));
        if (size_ >= kChained && size_ >= bucketCount_) grow();
        node->hash = placing(key);
        return iterator(place(node.release()));
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

    void clear() noexcept {
        // Detached first: what a value does as it goes must not find half a table.
        Node* node = std::exchange(first_, nullptr);
        last_ = nullptr;
        size_ = 0;
        chain_ = nullptr;
        bucketCount_ = 0;
        buckets_.reset();
        while (node != nullptr) {
            delete std::exchange(node, node->next);
        }
    }

    void swap(GroupedTable& other) noexcept {
        std::swap(first_, other.first_);
        std::swap(last_, other.last_);
        std::swap(chain_, other.chain_);
        std::swap(size_, other.size_);
        std::swap(bucketCount_, other.bucketCount_);
        buckets_.swap(other.buckets_);
    }

private:
    static constexpr std::size_t kChained = 8; // entries that one chain holds
    static constexpr std::size_t kFirstBuckets = 16;

    static const char* text_of(const Key& key) { return key ? key->c_str() : ""; }
    static bool has_text(const Node* node, const char* text) {
        const char* own = text_of(node->entry.first);
        return *own == *text && std::strcmp(own, text) == 0; // the first byte tells most apart
    }
    /// Where a key goes, once there are buckets.
    std::size_t placing(const Key& key) const {
        return bucketCount_ == 0 ? 0 : seeded_hash(text_of(key));
    }

    /// Their number is a power of two.
    Node*& bucket(std::size_t hash) {
        return bucketCount_ == 0 ? chain_ : buckets_[hash & (bucketCount_ - 1)];
    }
    Node* bucket(std::size_t hash) const { return const_cast<GroupedTable*>(this)->bucket(hash); }

    Node* leader_by_text(const char* text) const {
        if (size_ == 0) return nullptr;
        const std::size_t hash = bucketCount_ == 0 ? 0 : seeded_hash(text);
        Node* leader = bucket(hash);
        while (leader != nullptr && !(leader->hash == hash && has_text(leader, text))) {
            leader = leader->chained;
        }
        return leader;
    }

    Node* leader_by_identity(const Key& key, std::size_t hash) const {
        Node* leader = bucket(hash);
        const PooledStringEquals<IntrusiveString> same;
        while (leader != nullptr && !same(leader->entry.first, key)) {
            leader = leader->chained;
        }
        return leader;
    }

    Node* place(Node* node) {
        Node* leader = leader_by_identity(node->entry.first, node->hash);
        append_to_group(leader != nullptr ? leader : node, node);
        return node;
    }

    /// Puts the node at the end of the leader's group; a node that leads itself begins one.
    void append_to_group(Node* leader, Node* node) {
        if (leader == node) {
            link_behind(last_, node);
            lead(node, node);
        } else {
            link_behind(leader->last, node);
            leader->last = node;
        }
        ++size_;
    }

    /// Makes the node the leader of a group that ends with `groupLast`.
    void lead(Node* node, Node* groupLast) {
        Node*& front = bucket(node->hash);
        node->last = groupLast;
        node->chained = front;
        front = node;
    }

    void link_behind(Node* previous, Node* node) {
        node->previous = previous;
        node->next = previous != nullptr ? previous->next : first_;
        (previous != nullptr ? previous->next : first_) = node;
        (node->next != nullptr ? node->next->previous : last_) = node;
    }

    void unlink(Node* node) {
        (node->previous != nullptr ? node->previous->next : first_) = node->next;
        (node->next != nullptr ? node->next->previous : last_) = node->previous;
        --size_;
    }

    void leave_group(Node* node) {
        if (node->last == nullptr) { // no leader
            Node* leader = leader_by_identity(node->entry.first, node->hash);
            if (leader->last == node) leader->last = node->previous;
            return;
        }
        Node** link = &bucket(node->hash);
        while (*link != node) {
            link = &(*link)->chained;
        }
        if (node->last == node) {
            *link = node->chained;
            return;
        }
        Node* heir = node->next;
        heir->last = node->last;
        heir->chained = node->chained;
        *link = heir;
    }

    void grow() {
        const bool chained = bucketCount_ == 0;
        makeBuckets(chained ? kFirstBuckets : bucketCount_ * 2);
        for (Node* leader = first_; leader != nullptr; leader = leader->last->next) {
            if (chained) hashGroup(leader);
            lead(leader, leader->last);
        }
    }

    void hashGroup(Node* leader) {
        const std::size_t hash = placing(leader->entry.first);
        for (Node* node = leader; node != leader->last->next; node = node->next) {
            node->hash = hash;
        }
    }

    void makeBuckets(std::size_t count) {
        if (count == 0) return;
        buckets_.reset(new Node*[count]());
        bucketCount_ = count;
        chain_ = nullptr;
    }

    /// Copies the entries in their order with their stored hashes.
    void append(const GroupedTable& source) {
        if (source.size_ == 0) return;
        makeBuckets(source.bucketCount_);
        Node* leader = nullptr;
        try {
            for (const Node* node = source.first_; node != nullptr; node = node->next) {
                Node* copy = new Node(node->entry.first, node->entry.second);
                copy->hash = node->hash;
                if (node->last != nullptr) leader = copy;
                append_to_group(leader, copy);
            }
        } catch (...) {
            clear();
            throw;
        }
    }

    Node* first_ = nullptr;
    Node* last_ = nullptr;
    Node* chain_ = nullptr; // of all leaders, while there are no buckets
    std::size_t size_ = 0;
    std::size_t bucketCount_ = 0;
    std::unique_ptr<Node*[]> buckets_;
};

} // namespace qx::detail
