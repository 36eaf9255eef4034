// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveString.h"
#include "json/Path.h"
#include "json/Variant.h"
#include "json/VariantIterator.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace json {

/// A stack of positions in one value, with the path of the present one.
///
/// Warning: this walks no tree. Each step down adds a copy of the topmost position, over the same
/// value, so that `*it` stays the root while key, index and path name a child of it. A step forward
/// on a list or an object that isn't empty only adds levels: a loop to the end runs until memory
/// runs out, and ends in `std::bad_alloc`. To walk a tree use `json::VariantIterator` recursively,
/// or with a stack of your own.
///
/// An iterator without levels is at its end. It points into its value and ends with it, and with
/// any change of its container.
/// Threads: one at a time.
class GATECAST_EXPORT TreeIterator {
public:
    // ----- Construction ----------------------------------------------------------------------

    /// At its end.
    TreeIterator();
    /// One level, over the value, which must outlive the iterator.
    TreeIterator(const Variant& value);
    /// The levels and the path of the source, over the same value.
    /// @{
    TreeIterator(const TreeIterator& source);
    TreeIterator& operator=(const TreeIterator& source);
    /// @}
    /// One level, over the value, as from the constructor.
    TreeIterator& operator=(const Variant& value);
    ~TreeIterator();

    /// A shared iterator at its end.
    static const TreeIterator& end();

    // ----- Reading ---------------------------------------------------------------------------

    /// Whether it is at its end.
    bool empty() const { return stack_.empty(); }
    /// Number of levels.
    int depth() const { return static_cast<int>(stack_.size()); }
    /// The value of the topmost level, `Variant::Empty` at the end.
    /// @{
    const Variant& operator*() const { return (*this)[depth() - 1]; }
    const Variant* operator->() const { return &**this; }
    /// @}
    /// The value of a level, counted from the bottom. Bad input: `Variant::Empty`.
    const Variant& operator[](int level) const;
    /// The value of the level below the topmost one, `Variant::Empty` if there is none.
    const Variant& parent() const { return (*this)[depth() - 2]; }
    /// Key and index at the level below the topmost one; the empty text and -1 if there is none.
    /// @{
    const qx::IntrusiveString& key() const;
    int index() const;
    /// @}
    /// Key or index of each level but the lowest; lives as long as the iterator, and changes with
    /// it.
    const Path& path() const { return path_; }

    // ----- Moving ----------------------------------------------------------------------------

    /// Drops the topmost level, if there is one, and the last segment of the path. An empty key has
    /// added none: its level takes that of the level below along.
    TreeIterator& up();
    /// Adds a level where there is a child, else goes on at the levels below.
    /// Warning: over a list or an object that isn't empty it only ever adds levels. A loop of steps
    /// to the end doesn't end: it uses up all memory.
    TreeIterator& operator++();
    /// The same; answers a copy made before.
    TreeIterator operator++(int);
    /// Drops the topmost level and steps the one below it back, if it can.
    TreeIterator& operator--();
    /// The same; answers a copy made before.
    TreeIterator operator--(int);
    /// Several steps, until the end at most. Each step forward may add a level; see `++`.
    /// @{
    TreeIterator& operator+=(int count);
    TreeIterator& operator-=(int count);
    TreeIterator operator+(int count) const;
    TreeIterator operator-(int count) const;
    /// @}
    /// Adds a level at the child with that index, of a list or, in its own order, of an object.
    /// Where there is none it looks at the levels below, one after the other, down to the end.
    /// Bad input: an index beyond the `int` range is the index of no child.
    TreeIterator& position(std::size_t index);
    /// Adds a level for each segment, by key or else by index, each looked up as in `position`.
    /// A segment that is no number has the index 0, so that a key that misses takes the first
    /// entry. `/=` drops all levels but the lowest first.
    /// @{
    TreeIterator& operator+=(const Path& relative);
    TreeIterator& operator/=(const Path& absolute);
    /// @}

    // ----- Comparison ------------------------------------------------------------------------

    /// Whether all levels have equal values; positions and paths play no part.
    bool operator==(const TreeIterator& other) const;
    /// Whether a level has another value, or one has more levels.
    bool operator!=(const TreeIterator& other) const { return !(*this == other); }
    /// By position, level by level from the bottom. All four are false for iterators over values
    /// that differ.
    /// @{
    bool operator<(const TreeIterator& other) const;
    bool operator<=(const TreeIterator& other) const;
    bool operator>(const TreeIterator& other) const;
    bool operator>=(const TreeIterator& other) const;
    /// @}

protected:
    /// Adds a level with a copy of the entry, and its key or index to the path.
    TreeIterator& push(const VariantIterator& entry);
    /// Finds a child by key, or by index unless that is negative.
    TreeIterator& position_at(const char* name, int index);
    /// Whether both walk equal values.
    bool comparable(const TreeIterator& other) const;
    /// Below, at or above 0, as this one stands before, with or behind the other one.
    int compare(const TreeIterator& other) const;

private:
    TreeIterator& steps(std::int64_t count);
    bool pushChild(const char* name, int index);

    std::vector<VariantIterator> stack_; // bottom first
    Path path_;
};

} // namespace json
