// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveObject.h"
#include "json/Variant.h"

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

namespace json {

/// The payload of a JSON array: values in one array, counted, with links to their owner.
///
/// No index is an error: reads past the end answer a default, writes grow the list. Growth copies
/// the elements: references, iterators and parent links of elements end there.
/// A list that a value holds is reached through that value; a reference kept from an earlier
/// access doesn't know of copy on write. Arguments may lie inside the list that is changed.
/// Threads: one at a time.
class GATECAST_EXPORT List : public qx::IntrusiveObject {
public:
    /// A place in the array.
    using iterator = std::vector<Variant>::iterator;
    /// A place for reading.
    using const_iterator = std::vector<Variant>::const_iterator;
    /// An element.
    using value_type = Variant;

    // ----- Construction --------------------------------------------------------------- List.cpp

    /// Empty, without an owner.
    List();
    /// A shallow copy of the elements. Unlike `operator=` it doesn't link them: they have no
    /// parent. The copy has no owner.
    List(const List& source);
    /// Copies the elements and links them to this list; the owner isn't marked.
    List& operator=(const List& source);

    // The order of the virtual operations is ABI.
    virtual ~List();
    /// JSON text, indented by a tab per level when `pretty`.
    virtual qx::IntrusiveString print(bool pretty = false);
    /// Always true; the stream's own state tells of failures.
    virtual bool write(std::ostream& out, bool pretty = false) const;
    /// Replaces the elements by those of the JSON list in the stream; any other value gives an
    /// empty list. False when the shared parser has an error, which isn't reset before.
    virtual bool read(std::istream& in);

protected:
    /// What a read past the end answers: the default of the owner's schema, else
    /// `Variant::EmptyAutoValue`.
    virtual const Variant& auto_value_for(std::uint64_t index) const;

public:
    // ----- Reading -------------------------------------------------------------------- List.cpp

    /// Elements held.
    std::size_t size() const noexcept { return elements_.size(); }
    /// Whether there is no element.
    bool empty() const noexcept { return elements_.empty(); }
    /// From the first element to behind the last one.
    /// @{
    iterator begin() noexcept { return elements_.begin(); }
    iterator end() noexcept { return elements_.end(); }
    const_iterator begin() const noexcept { return elements_.begin(); }
    const_iterator end() const noexcept { return elements_.end(); }
    /// @}

    /// The element, or the default of the place.
    /// @{
    const Variant& at(std::size_t index) const;
    const Variant& operator[](std::size_t index) const { return at(index); }
    /// @}
    /// The element, or the fallback.
    const Variant& at(std::size_t index, const Variant& fallback) const;
    /// First and last element; the default of place 0 on an empty list.
    /// @{
    const Variant& front() const;
    const Variant& back() const;
    /// @}
    /// Iterator to the element, `end()` when there is none.
    /// @{
    const_iterator position(std::size_t index) const;
    iterator position(std::size_t index);
    /// @}
    /// First index at or after `from` (at most `size()`) whose element equals the value, with the
    /// element on the left; -1 if none.
    int indexOf(const Variant& value, std::size_t from = 0) const;
    /// Index of that very object, -1 if none.
    int indexOf(const Variant* value, std::size_t from = 0) const;
    /// Whether an element equals the value, with the element on the left.
    bool contains(const Variant& value) const { return indexOf(value, 0) >= 0; }
    /// Whether the lengths are equal. Warning: the elements play no part; compare them one by one
    /// where they matter.
    bool operator==(const List& rhs) const noexcept;
    /// Whether the lengths differ.
    bool operator!=(const List& rhs) const noexcept { return !(*this == rhs); }
    /// Whether the owner is marked; false without an owner.
    bool dirty() const noexcept;
    /// The owner's schema, `json::Schema::Empty` without an owner.
    const Schema& schema() const;
    /// The value that the path leads to, `Variant::Empty` on a miss.
    const Variant& select(const Path& path) const;
    /// The same for writing; see `Variant::select`.
    Variant& select(const Path& path);

    // ----- Changing ------------------------------------------------------------------- List.cpp

    /// Appends a copy without linking it: the element has no parent.
    void push_back(const Variant& value);
    /// Appends a copy and links it.
    List& operator<<(const Variant& value);
    /// Appends a copy of each element and links it.
    List& operator+=(const List& rhs);
    /// The element; a list that is too short grows by defaults, or by copies of `fallback`.
    /// @{
    Variant& at(std::size_t index);
    Variant& operator[](std::size_t index) { return at(index); }
    Variant& at(std::size_t index, const Variant& fallback);
    Variant& front() { return at(0); }
    Variant& back() { return at(empty() ? 0 : size() - 1); }
    /// @}
    /// Sets one element, growing the list to hold it.
    void assign(std::size_t index, const Variant& value);
    /// Insert before `where`. A call without effect on the contents (the element there equals
    /// `value`) marks the owner clean in the first form.
    /// @{
    iterator insert(iterator where, const Variant& value);
    void insert(iterator where, std::size_t count, const Variant& value);
    /// @}
    /// Inserts before place `index`, which must be `size() - 1` or `size()`.
    /// Warning: with a smaller index it grows the list until memory runs out. Use the iterator
    /// forms.
    void insert(const Variant& value, std::size_t index);
    /// Returns the iterator behind the removed elements. An empty range marks the owner clean.
    /// @{
    iterator erase(iterator where);
    iterator erase(iterator first, iterator last);
    /// @}
    /// Drops the last element, if any; the owner isn't marked.
    void pop_back();
    /// Removes and returns the element; null when there is none.
    Variant remove(std::size_t index);
    /// Removes every element that equals the value; true when there was one.
    bool removeAll(const Variant& value);
    /// Cuts, or fills with copies of `filler`.
    void resize(std::size_t size, Variant filler = Variant());
    /// Exchanges the elements; only this list's owner is marked and bound anew.
    void swap(List& other);
    /// Makes every payload below this list's own, after copying `source` if it is another list.
    List& deepCopy(const List* source = nullptr);

protected:
    friend class Variant;
    friend class Object;
    friend class JsonParser;
    friend class JsonPrinter;

    /// Links elements to this list.
    /// @{
    void update_parent(iterator where);
    void update_parents(iterator first, iterator last);
    /// @}
    /// Binds the elements from `from` on to what the owner's schema says of their places.
    /// @{
    void update_schemas(iterator from);
    void update_schemas(std::size_t from);
    /// @}
    /// Marks the owner, if there is one.
    void setDirty(bool dirty) const noexcept;

private:
    List(Variant::Cloning& cloning, const List& source);
    void appendLinked(const Variant& value);
    void takeLinked(Variant& value);
    void makeRoom(std::size_t index);
    void grow(std::size_t capacity);
    void removeAt(std::size_t index);
    void dropLast() noexcept { elements_.pop_back(); }

    std::vector<Variant> elements_;
    // Values in several threads may share the payload: each asks at its end whether it is the
    // owner.
    const Variant* owner() const noexcept { return __atomic_load_n(&owner_, __ATOMIC_RELAXED); }
    void setOwner(const Variant* owner) noexcept {
        __atomic_store_n(&owner_, owner, __ATOMIC_RELAXED);
    }

    union {
        const Variant* owner_ = nullptr;
        std::uintptr_t nextDisposed_; // the next to be destroyed, once no pointer counts this one
    };
};

} // namespace json
