// SPDX-License-Identifier: MIT
#include "json/TreeIterator.h"

#include "core/detail/CNumbers.h"
#include "core/detail/NeverDestroyed.h"

#include <algorithm>
#include <limits>

namespace json {

namespace {

bool is_container(const VariantIterator& entry) { return entry.isList() || entry.isObject(); }

int to_int(std::int64_t number) {
    using Limits = std::numeric_limits<int>;
    return static_cast<int>(std::clamp<std::int64_t>(number, Limits::min(), Limits::max()));
}

} // namespace

// ----- Construction ------------------------------------------------------------------------------

TreeIterator::TreeIterator() = default;
TreeIterator::TreeIterator(const Variant& value) { stack_.emplace_back(value); }
TreeIterator::TreeIterator(const TreeIterator& source) = default;
TreeIterator& TreeIterator::operator=(const TreeIterator& source) = default;
TreeIterator::~TreeIterator() = default;

TreeIterator& TreeIterator::operator=(const Variant& value) { return *this = TreeIterator(value); }

const TreeIterator& TreeIterator::end() {
    static const qx::detail::NeverDestroyed<TreeIterator> none;
    return *none;
}

// ----- Reading -----------------------------------------------------------------------------------

const Variant& TreeIterator::operator[](int level) const {
    if (level < 0 || level >= depth()) return Variant::Empty;
    return stack_[static_cast<std::size_t>(level)].owner();
}

const qx::IntrusiveString& TreeIterator::key() const {
    if (depth() < 2) return Variant::EmptyString.stringValue();
    return stack_[stack_.size() - 2].key();
}

int TreeIterator::index() const { return depth() < 2 ? -1 : stack_[stack_.size() - 2].index(); }

// ----- Moving ------------------------------------------------------------------------------------

// Intended: a segment goes with each level, also with one that has added none.
// Held by TreeIterator.DropsASegmentAlsoWithALevelThatHasAddedNone.
TreeIterator& TreeIterator::up() {
    if (stack_.empty()) return *this;
    stack_.pop_back();
    path_.pop();
    return *this;
}

// Intended: the level that is added is a copy of the entry, not a position in the child.
// Held by TreeIterator.StaysOnTheRootWhileItGoesDown.
TreeIterator& TreeIterator::push(const VariantIterator& entry) {
    const qx::IntrusiveString& key = entry.key();
    if (!key.empty()) {
        path_ << key;
    } else if (entry.index() >= 0) {
        path_ << static_cast<std::size_t>(entry.index());
    }
    stack_.push_back(VariantIterator(entry));
    return *this;
}

TreeIterator& TreeIterator::operator++() {
    if (stack_.empty()) return *this;
    if (is_container(stack_.back()) && !stack_.back().atEnd()) return push(stack_.back());
    for (up(); !stack_.empty(); up()) {
        if (!is_container(stack_.back())) continue;
        ++stack_.back();
        if (!stack_.back().atEnd()) return push(stack_.back());
    }
    return *this;
}

TreeIterator TreeIterator::operator++(int) {
    TreeIterator old(*this);
    ++*this;
    return old;
}

TreeIterator& TreeIterator::operator--() {
    up();
    if (stack_.empty() || !is_container(stack_.back()) || stack_.back().atBegin()) return *this;
    --stack_.back();
    return push(stack_.back());
}

TreeIterator TreeIterator::operator--(int) {
    TreeIterator old(*this);
    --*this;
    return old;
}

TreeIterator& TreeIterator::steps(std::int64_t count) {
    for (; count > 0 && !stack_.empty(); --count) {
        ++*this;
    }
    for (; count < 0 && !stack_.empty(); ++count) {
        --*this;
    }
    return *this;
}

TreeIterator& TreeIterator::operator+=(int count) { return steps(count); }
TreeIterator& TreeIterator::operator-=(int count) {
    return steps(-static_cast<std::int64_t>(count));
}

TreeIterator TreeIterator::operator+(int count) const {
    TreeIterator moved(*this);
    return moved += count;
}

TreeIterator TreeIterator::operator-(int count) const {
    TreeIterator moved(*this);
    return moved -= count;
}

TreeIterator& TreeIterator::position(std::size_t index) {
    constexpr auto most = static_cast<std::size_t>(std::numeric_limits<int>::max());
    return position_at("", index <= most ? static_cast<int>(index) : -1);
}

/// Looks for the child at the topmost level and adds a level for it.
bool TreeIterator::pushChild(const char* name, int index) {
    VariantIterator& top = stack_.back();
    if (top.isObject() && *name != '\0') {
        const qx::IntrusiveString wanted(name);
        for (top.reset(); !top.atEnd(); ++top) {
            if (top.key() == wanted) {
                push(top);
                return true;
            }
        }
    }
    if (index < 0) return false;
    top.reset();
    top += index;
    if (top.atEnd()) return false;
    push(top);
    return true;
}

// Intended: a search that fails climbs, and empties the stack when no level has such a child.
// Held by TreeIterator.ClimbsWhereAChildIsMissingAndEmptiesItsStackInTheEnd.
TreeIterator& TreeIterator::position_at(const char* name, int index) {
    while (!stack_.empty() && !pushChild(name, index)) {
        up();
    }
    return *this;
}

// Intended: each segment is looked up in the root, and a key that misses takes the first entry.
// Held by TreeIterator.LooksEachSegmentUpInTheRoot.
TreeIterator& TreeIterator::operator+=(const Path& relative) {
    const Path segments(relative); // may be our own
    for (std::size_t i = 0; i < segments.size() && !stack_.empty(); ++i) {
        position_at(segments[i], to_int(qx::detail::text_to_integer(segments[i])));
    }
    return *this;
}

TreeIterator& TreeIterator::operator/=(const Path& absolute) {
    const Path segments(absolute); // may be our own
    while (depth() >= 2) {
        up();
    }
    return *this += segments;
}

// ----- Comparison --------------------------------------------------------------------------------

bool TreeIterator::operator==(const TreeIterator& other) const {
    if (depth() != other.depth()) return false;
    for (int level = depth(); level-- > 0;) {
        if ((*this)[level] != other[level]) return false;
    }
    return true;
}

bool TreeIterator::comparable(const TreeIterator& other) const {
    if (empty() || other.empty()) return empty() && other.empty();
    return stack_.front().owner() == other.stack_.front().owner();
}

int TreeIterator::compare(const TreeIterator& other) const {
    const std::size_t common = std::min(stack_.size(), other.stack_.size());
    for (std::size_t level = 0; level < common; ++level) {
        const int order = stack_[level].compare(other.stack_[level]);
        if (order != 0) return order;
    }
    return depth() - other.depth();
}

bool TreeIterator::operator<(const TreeIterator& other) const {
    return comparable(other) && compare(other) < 0;
}

bool TreeIterator::operator<=(const TreeIterator& other) const {
    return comparable(other) && compare(other) <= 0;
}

bool TreeIterator::operator>(const TreeIterator& other) const {
    return comparable(other) && compare(other) > 0;
}

bool TreeIterator::operator>=(const TreeIterator& other) const {
    return comparable(other) && compare(other) >= 0;
}

TreeIterator Variant::iterator() const { return TreeIterator(*this); }

} // namespace json
