// SPDX-License-Identifier: MIT
// Internal: may change at any time. Installed because core/PooledStringMap.h needs it.
#pragma once

#include "core/IntrusiveString.h"
#include "core/StringPool.h"

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
/// last one and hangs in the chain of its bucket. A key is placed by identity and found by text.
/// An empty table holds no memory.
template <typename T>
class GroupedTable {
public:
    using Key = boost::intrusive_ptr<IntrusiveString>;
    using value_type = std::pair<const Key, T>;

private:
    struct Node {
        Node(const Key& key, const T& value, std::size_t keyHash)
            : hash(keyHash), entry(key, value) {}

        Node* previous = nullptr;
        Node* next = nullptr;
        Node* chained = nullptr; // leaders only: the next leader in the bucket
        Node* last = nullptr;    // leaders only: the last node of the group
        std::size_t hash;
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
    /// Places for groups: 0 at first, then 11, then as many as keep the entries from outnumbering
    /// them.
    std::size_t bucketCount() const noexcept { return bucketCount_; }
    iterator begin() noexcept { return iterator(first_); }
    iterator end() noexcept { return iterator(); }
    const_iterator begin() const noexcept { return const_iterator(first_); }
    const_iterator end() const noexcept { return const_iterator(); }

    /// First entry of the group whose key has that text.
    /// @{
    iterator find(const char* text, std::size_t hash) {
        return iterator(leader_by_text(text, hash));
    }
    const_iterator find(const char* text, std::size_t hash) const {
        return const_iterator(leader_by_text(text, hash));
    }
    /// @}

    /// Adds an entry behind the last one of its key.
    iterator insert(const Key& key, const T& value, std::size_t hash) {
        std::unique_ptr<Node> node(new Node(key, value, hash));
        if (size_ + 1 > bucketCount_) grow();
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
        bucketCount_ = 0;
        buckets_.reset();
        while (node != nullptr) {
            delete std::exchange(node, node->next);
        }
    }

    void swap(GroupedTable& other) noexcept {
        std::swap(first_, other.first_);
        std::swap(last_, other.last_);
        std::swap(size_, other.size_);
        std::swap(bucketCount_, other.bucketCount_);
        buckets_.swap(other.buckets_);
    }

private:
    static constexpr std::size_t kFirstBuckets = 11;

    Node*& bucket(std::size_t hash) const { return buckets_[hash % bucketCount_]; }

    static bool has_text(const Node* node, const char* text) {
        const char* own = node->entry.first ? node->entry.first->c_str() : "";
        return std::strcmp(own, text) == 0;
    }

    Node* leader_by_text(const char* text, std::size_t hash) const {
        if (size_ == 0) return nullptr;
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

    void grow() { rehash(bucketCount_ == 0 ? kFirstBuckets : bucketCount_ * 2 + 1); }

    void rehash(std::size_t count) {
        buckets_.reset(new Node*[count]());
        bucketCount_ = count;
        for (Node* leader = first_; leader != nullptr; leader = leader->last->next) {
            lead(leader, leader->last);
        }
    }

    /// Copies the entries in their order with their stored hashes.
    void append(const GroupedTable& source) {
        if (source.size_ == 0) return;
        rehash(source.bucketCount_);
        Node* leader = nullptr;
        try {
            for (const Node* node = source.first_; node != nullptr; node = node->next) {
                Node* copy = new Node(node->entry.first, node->entry.second, node->hash);
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
    std::size_t size_ = 0;
    std::size_t bucketCount_ = 0;
    std::unique_ptr<Node*[]> buckets_;
};

} // namespace qx::detail
