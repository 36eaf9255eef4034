// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveObject.h"
#include "core/IntrusiveString.h"
#include "core/PooledStringMap.h"
#include "core/StringPool.h"
#include "json/Variant.h"

#include <boost/intrusive_ptr.hpp>

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <utility>
#include <vector>

namespace json {

/// The payload of a JSON object: a multimap from interned keys to values, counted.
///
/// A key may stand several times, as JSON text may repeat it: the parser keeps each occurrence,
/// lookups answer the first, iteration and printing see them all. Entries never move: references
/// and parent links hold until the entry is erased. The order of iteration is no contract, but
/// entries of one key stand together in order of arrival. Arguments may lie inside the object that
/// is changed.
/// Threads: one at a time. A const lookup of a missing key interns it, and the pool of keys is
/// shared by all objects.
class GATECAST_EXPORT Object : public qx::PooledStringMap<Variant>, public qx::IntrusiveObject {
public:
    /// What keeps the entries.
    using Map = qx::PooledStringMap<Variant>;
    /// A key: a text of the pool, shared.
    using Key = boost::intrusive_ptr<qx::IntrusiveString>;
    /// What keeps the keys of all objects.
    using KeyPool = qx::StringPool<qx::IntrusiveString, boost::intrusive_ptr<qx::IntrusiveString>>;

    // ----- Construction ------------------------------------------------------------- Object.cpp

    /// Empty, without an owner.
    Object();
    /// A shallow copy of the entries. Unlike `operator=` it doesn't link them: the values have no
    /// parent. The copy has no owner.
    Object(const Object& source);
    /// Copies the entries and links them to this object; the owner isn't marked.
    Object& operator=(const Object& source);

    // The order of the virtual operations is ABI.
    ~Object() override;

protected:
    /// What a lookup of a missing key answers: the default of the owner's schema, else
    /// null.
    const Variant& auto_value_for(const Key& key) const override;
    /// Both mark the owner, bind the value and link it.
    /// @{
    void on_insert(const iterator& entry) override;
    void on_update(const iterator& entry) override;
    /// @}

public:
    /// JSON text, indented by a tab per level when `pretty`.
    virtual qx::IntrusiveString print(bool pretty = false);
    /// Always true; the stream's own state tells of failures.
    virtual bool write(std::ostream& out, bool pretty = false) const;
    /// Replaces the entries by those of the JSON object in the stream; any other value gives an
    /// empty object. False when the shared parser has an error, which isn't reset before.
    virtual bool read(std::istream& in);

    // ----- Reading ------------------------------------------------------------------ Object.cpp

    using Map::operator[];
    /// A number is no key: a 0 would count as a null pointer, which is the empty key.
    /// @{
    template <typename T, detail::RequireNumber<T> = 0>
    const Variant& operator[](T number) const = delete;
    template <typename T, detail::RequireNumber<T> = 0>
    Variant& operator[](T number) = delete;
    /// @}

    /// Whether both hold the same groups: keys matched by identity, the values of a key equal in
    /// order. Cost: linear.
    bool operator==(const Object& rhs) const;
    /// The opposite.
    bool operator!=(const Object& rhs) const { return !(*this == rhs); }
    /// Whether the owner is marked; false without an owner.
    bool dirty() const noexcept;
    /// The owner's schema, `json::Schema::Empty` without an owner.
    const Schema& schema() const;
    /// The value that the path leads to, `Variant::Empty` on a miss.
    const Variant& select(const Path& path) const;
    /// The same for writing; see `Variant::select`.
    Variant& select(const Path& path);
    /// Key of the first entry, in iteration order, that equals the value, or is that very object;
    /// null if none. Cost: linear.
    /// @{
    Key keyOf(const Variant& value) const;
    Key keyOf(const Variant* value) const;
    /// @}
    /// Appends one key per entry, repeated keys repeated; returns the new size of `out`.
    std::size_t keys(std::vector<Key>& out) const;
    /// The same, then sorts all of `out` by text, as signed bytes.
    std::size_t sorted_keys(std::vector<Key>& out) const;
    /// Appends a copy of each value; returns the new size of `out`.
    std::size_t values(List& out) const;
    /// Appends a pair of key and copied value per entry; returns the new size of `out`.
    std::size_t entries(std::vector<std::pair<Key, Variant>>& out) const;
    /// The pool that all keys of all objects are interned in.
    static KeyPool& key_pool();

    // ----- Changing ----------------------------------------------------------------- Object.cpp

    /// Sets every entry of `rhs` here: of a repeated key the last one wins.
    Object& operator+=(const Object& rhs);
    /// Makes every payload below this object's own, after copying `source` if it is another one.
    Object& deepCopy(const Object* source = nullptr);
    /// Assigns to the place that the path leads to and returns it. Only the last segment is
    /// created. Bad input: a path that misses assigns nothing and answers `Variant::Empty`.
    Variant& insertAt(const Path& path, const Variant& value);
    /// Marks the owner, if there is one.
    void setDirty(bool dirty) const noexcept;

protected:
    friend class Variant;
    friend class List;
    friend class Path;
    friend class JsonParser;
    friend class JsonPrinter;
    friend class Schema;

    /// Adds an entry without a lookup; a key that is present gets a further one. The key must be
    /// interned.
    void insert_new(const Key& key, const Variant& value);
    /// The same for an object of this very class, with the value's content: what is left of that
    /// may only be destroyed.
    void take_new(const Key& key, Variant& value);
    /// Links values to this object.
    /// @{
    void update_parent(const iterator& entry);
    void update_parents(iterator first, iterator last);
    /// @}
    /// Bind values to what the owner's schema says of their keys; nothing without an owner.
    /// @{
    void update_schema(const iterator& entry);
    void update_schemas(iterator first, iterator last);
    /// @}

private:
    Object(Variant::Cloning& cloning, const Object& source);
    void dropLast() noexcept { drop_last(); }

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

/// Writes JSON indented by tabs. A `Variant` writes compact text.
GATECAST_EXPORT std::ostream& operator<<(std::ostream& out, const Object& object);

} // namespace json
