// SPDX-License-Identifier: MIT
#include "json/Object.h"

#include "json/Path.h"
#include "json/detail/TextOrder.h"

#include <algorithm>

namespace json {

// ----- Construction ------------------------------------------------------------------------------

Object::Object() = default;

// Intended: the entries of a copy aren't linked to it, unlike those of an assigned object.
// Held by Object.CopiesItsEntriesWithoutLinkingThem.
Object::Object(const Object& source) : Map(source), qx::IntrusiveObject(source) {
    for (auto& entry : *this) {
        entry.second.setFlag(Variant::kUnlinkedEntry, true);
    }
}

Object::Object(Variant::Cloning& cloning, const Object& source) : Map(source, cloning) {}

Object& Object::operator=(const Object& source) {
    if (this != &source) {
        const Object copy(source); // the source may lie in one of the values
        Map::operator=(copy);
    }
    update_parents(begin(), end());
    return *this;
}

Object::~Object() = default;

void Object::on_insert(const iterator& entry) {
    if (owner() != nullptr) {
        setDirty(true);
        update_schema(entry);
    }
    update_parent(entry);
}

void Object::on_update(const iterator& entry) { on_insert(entry); }

// ----- Reading -----------------------------------------------------------------------------------

bool Object::operator==(const Object& rhs) const {
    if (size() != rhs.size()) return false;
    for (auto left = begin(); left != end();) {
        const Key& key = left->first;
        auto right = rhs.find(key);
        for (; left != end() && left->first == key; ++left, ++right) {
            if (right == rhs.end() || right->first != key) return false;
            if (left->second != right->second) return false;
        }
        if (right != rhs.end() && right->first == key) return false;
    }
    return true;
}

bool Object::dirty() const noexcept {
    const Variant* own = owner();
    return own != nullptr && own->dirty();
}

const Variant& Object::select(const Path& path) const { return path.evaluate(*this); }
Variant& Object::select(const Path& path) { return path.evaluate(*this); }

Object::Key Object::keyOf(const Variant& value) const {
    const auto found = findValue(value);
    return found != end() ? found->first : Key();
}

Object::Key Object::keyOf(const Variant* value) const {
    const auto found = findValue(value);
    return found != end() ? found->first : Key();
}

std::size_t Object::keys(std::vector<Key>& out) const {
    out.reserve(out.size() + size());
    for (const auto& entry : *this) {
        out.push_back(entry.first);
    }
    return out.size();
}

std::size_t Object::sorted_keys(std::vector<Key>& out) const {
    const auto text = [](const Key& key) { return key ? key->c_str() : ""; };
    const std::size_t count = keys(out);
    std::sort(out.begin(), out.end(), [&](const Key& left, const Key& right) {
        return detail::compare_texts(text(left), text(right)) < 0;
    });
    return count;
}

std::size_t Object::values(List& out) const {
    // The list may lie in one of the values and move its own elements as it grows.
    const Object copy(*this);
    for (const auto& entry : copy) {
        out.push_back(entry.second);
    }
    return out.size();
}

std::size_t Object::entries(std::vector<std::pair<Key, Variant>>& out) const {
    out.reserve(out.size() + size());
    for (const auto& entry : *this) {
        out.emplace_back(entry.first, entry.second);
    }
    return out.size();
}

Object::KeyPool& Object::key_pool() { return qx::global_string_pool(); }

// ----- Changing ----------------------------------------------------------------------------------

// Intended: each entry of a repeated key overwrites the one before.
// Held by Object.TakesTheLastEntryOfARepeatedKeyFromAnotherObject.
Object& Object::operator+=(const Object& rhs) {
    const Object copy(rhs); // may be this object, or lie in one of its values
    for (const auto& entry : copy) {
        setValue(entry.first, entry.second);
    }
    update_schemas(begin(), end());
    return *this;
}

Object& Object::deepCopy(const Object* source) {
    if (source != nullptr && source != this) *this = *source;
    for (auto& entry : *this) {
        entry.second.deepCopy(nullptr);
    }
    return *this;
}

Variant& Object::insertAt(const Path& path, const Variant& value) {
    const Variant copy(value); // may lie in this object
    Variant& place = select(path);
    // Constants never change: a path that misses leads to one.
    if (&place != &Variant::Empty) place = copy;
    return place;
}

void Object::setDirty(bool dirty) const noexcept {
    if (const Variant* own = owner()) own->setDirty(dirty);
}

void Object::insert_new(const Key& key, const Variant& value) { Map::insert_new(key, value); }

void Object::take_new(const Key& key, Variant& value) {
    Object::on_insert(emplace_new(key, Variant::Relocation(), value));
}

void Object::update_parent(const iterator& entry) { entry->second.setParent(this); }

void Object::update_parents(iterator first, iterator last) {
    for (; first != last; ++first) {
        update_parent(first);
    }
}

} // namespace json
