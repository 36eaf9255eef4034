// SPDX-License-Identifier: MIT
#include "json/List.h"

#include "json/Path.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace json {

// ----- Construction ------------------------------------------------------------------------------

List::List() = default;

// Intended: the elements of a copy aren't linked to it, unlike those of an assigned list.
// Held by List.CopiesItsElementsWithoutLinkingThem.
List::List(const List& source) : qx::IntrusiveObject(source), elements_(source.elements_) {}

List::List(Variant::Cloning& cloning, const List& source) {
    elements_.reserve(source.size());
    for (const Variant& element : source.elements_) {
        elements_.emplace_back(cloning, element);
    }
}

List& List::operator=(const List& source) {
    if (this != &source) {
        std::vector<Variant> copies(source.elements_); // the source may lie in an element
        elements_.swap(copies);
    }
    update_parents(begin(), end());
    return *this;
}

List::~List() = default;

// ----- Reading -----------------------------------------------------------------------------------

const Variant& List::at(std::size_t index) const {
    return index < size() ? elements_[index] : auto_value_for(index);
}

const Variant& List::at(std::size_t index, const Variant& fallback) const {
    return index < size() ? elements_[index] : fallback;
}

const Variant& List::front() const { return at(0); }
const Variant& List::back() const { return empty() ? auto_value_for(0) : elements_.back(); }

List::const_iterator List::position(std::size_t index) const {
    return index < size() ? begin() + static_cast<std::ptrdiff_t>(index) : end();
}

List::iterator List::position(std::size_t index) {
    return index < size() ? begin() + static_cast<std::ptrdiff_t>(index) : end();
}

int List::indexOf(const Variant& value, std::size_t from) const {
    for (std::size_t i = from; i < size(); ++i) {
        if (elements_[i] == value) return static_cast<int>(i);
    }
    return -1;
}

int List::indexOf(const Variant* value, std::size_t from) const {
    for (std::size_t i = from; i < size(); ++i) {
        if (&elements_[i] == value) return static_cast<int>(i);
    }
    return -1;
}

// Intended: the elements play no part.
// Held by List.ListsOfEqualLengthAreEqualWhateverTheyHold and
// Variant.FindsAListOfTheSameSizeEqualInAnAssignment.
bool List::operator==(const List& rhs) const noexcept { return size() == rhs.size(); }

bool List::dirty() const noexcept {
    const Variant* own = owner();
    return own != nullptr && own->dirty();
}

const Variant& List::select(const Path& path) const { return path.evaluate(*this); }
Variant& List::select(const Path& path) { return path.evaluate(*this); }

// ----- Changing ----------------------------------------------------------------------------------

// Intended: the element isn't linked, unlike after operator<<.
// Held by List.PushBackLeavesTheElementWithoutAParent.
// Intended: an array that grows copies its older elements, whose links end.
// Held by VariantSharing.LosesParentsStickinessAndOwnersWhenAListGrows.
void List::push_back(const Variant& value) {
    const bool holdsThisList = value.isList() && value.value_.list == this;
    if (holdsThisList || size() == elements_.capacity()) {
        Variant copy(holdsThisList ? value.withClonedContainer() : value); // it may be an element
        if (size() == elements_.capacity()) grow(std::max<std::size_t>(1, 2 * size()));
        elements_.emplace_back(Variant::Relocation(), copy);
    } else {
        elements_.push_back(value);
    }
    setDirty(true);
    update_schemas(size() - 1);
}

/// By the steps of the standard vector, which can be told by the links: each element is as after a
/// copy and the end of the old one.
void List::grow(std::size_t capacity) {
    std::vector<Variant> larger;
    larger.reserve(capacity);
    for (Variant& element : elements_) {
        larger.emplace_back(Variant::Relocation(), element);
    }
    elements_.swap(larger);
}

void List::appendLinked(const Variant& value) {
    push_back(value);
    update_parent(end() - 1);
}

/// The same with the value's content: what is left of it may only be destroyed.
void List::takeLinked(Variant& value) {
    if (size() == elements_.capacity()) grow(std::max<std::size_t>(1, 2 * size()));
    elements_.emplace_back(Variant::Relocation(), value);
    setDirty(true);
    update_schemas(size() - 1);
    update_parent(end() - 1);
}

List& List::operator<<(const Variant& value) {
    appendLinked(value);
    return *this;
}

List& List::operator+=(const List& rhs) {
    const std::size_t count = rhs.size(); // rhs may be this list
    for (std::size_t i = 0; i < count; ++i) {
        appendLinked(Variant(rhs.elements_[i]));
    }
    return *this;
}

Variant& List::at(std::size_t index) {
    makeRoom(index);
    while (size() <= index) {
        appendLinked(entry_from_default(auto_value_for(size())));
    }
    return elements_[index];
}

Variant& List::at(std::size_t index, const Variant& fallback) {
    if (index < size()) return elements_[index];
    const Variant copy(fallback); // may be an element, which moves as the list grows
    makeRoom(index);
    while (size() <= index) {
        appendLinked(copy);
    }
    return elements_[index];
}

/// Before a growth by several elements: none of the new ones is to lose its links by it.
void List::makeRoom(std::size_t index) {
    if (index < elements_.capacity()) return;
    if (index >= elements_.max_size()) throw std::length_error("vector<T> too long");
    const std::size_t twice = std::min(elements_.capacity() * 2, elements_.max_size());
    grow(std::max(index + 1, twice));
}

void List::assign(std::size_t index, const Variant& value) {
    const Variant copy(value); // may be an element, which moves as the list grows
    at(index) = copy;
    setDirty(true);
}

// Intended: an insertion without effect marks the owner clean.
// Held by List.AnInsertionWithoutEffectMarksTheOwnerClean.
List::iterator List::insert(iterator where, const Variant& value) {
    const bool changes = where == end() || *where != value;
    const iterator inserted = elements_.insert(where, value);
    setDirty(changes);
    update_schemas(inserted);
    update_parent(inserted);
    return inserted;
}

void List::insert(iterator where, std::size_t count, const Variant& value) {
    if (count > elements_.max_size() - size()) throw std::length_error("vector<T> too long");
    const auto reach = std::min(count, static_cast<std::size_t>(end() - where));
    const bool changes =
        reach < count || std::any_of(where, where + static_cast<std::ptrdiff_t>(reach),
                                     [&](const Variant& element) { return element != value; });
    const iterator first = elements_.insert(where, count, value);
    if (changes) setDirty(true);
    update_schemas(first);
    update_parents(first, first + static_cast<std::ptrdiff_t>(count));
}

// Intended: the loop's test reads the reverse of what its name suggests; where it holds at the
// start, the list grows until memory runs out.
// Held by List.InsertByIndexWorksAtTheLastPlaceAndBehindIt.
void List::insert(const Variant& value, std::size_t index) {
    const Variant copy(value); // may be an element, which moves as the list grows
    const std::size_t place = std::min(index, size());
    while (place + 1 < size()) {
        appendLinked(entry_from_default(auto_value_for(size())));
    }
    update_parent(elements_.insert(begin() + static_cast<std::ptrdiff_t>(place), copy));
}

List::iterator List::erase(iterator where) {
    const bool changes = where != end();
    const iterator next = changes ? elements_.erase(where) : where;
    setDirty(changes);
    update_schemas(next);
    return next;
}

// Intended: an empty range marks the owner clean.
// Held by List.ErasingAnEmptyRangeMarksTheOwnerClean.
List::iterator List::erase(iterator first, iterator last) {
    const bool changes = first != last;
    const iterator next = elements_.erase(first, last);
    setDirty(changes);
    update_schemas(next);
    return next;
}

// Intended: the owner isn't marked.
// Held by List.PopBackLeavesTheOwnersMarkAsItWas.
void List::pop_back() {
    if (!empty()) elements_.pop_back();
}

void List::removeAt(std::size_t index) {
    setDirty(true);
    elements_.erase(begin() + static_cast<std::ptrdiff_t>(index));
    update_schemas(index);
}

Variant List::remove(std::size_t index) {
    if (index >= size()) return Variant::Empty;
    Variant removed(elements_[index]);
    removeAt(index);
    return removed;
}

bool List::removeAll(const Variant& value) {
    const Variant copy(value); // may be an element
    const std::size_t before = size();
    for (std::size_t i = 0; i < size();) {
        if (elements_[i] == copy) {
            removeAt(i);
        } else {
            ++i;
        }
    }
    return size() < before;
}

void List::resize(std::size_t size, Variant filler) {
    if (size > elements_.max_size()) throw std::length_error("vector<T> too long");
    elements_.resize(size, filler);
    setDirty(true);
    update_schemas(0);
}

// Intended: the other list's owner is neither marked nor are its elements bound anew.
// Held by List.SwapLeavesTheOtherOwnerUnmarked.
void List::swap(List& other) {
    elements_.swap(other.elements_);
    setDirty(true);
    update_schemas(0);
    update_parents(begin(), end());
    other.update_parents(other.begin(), other.end());
}

List& List::deepCopy(const List* source) {
    if (source != nullptr && source != this) *this = *source;
    for (Variant& element : elements_) {
        element.deepCopy(nullptr);
    }
    return *this;
}

void List::update_parent(iterator where) { where->setParent(this); }

void List::update_parents(iterator first, iterator last) {
    for (; first != last; ++first) {
        update_parent(first);
    }
}

void List::update_schemas(iterator from) {
    update_schemas(static_cast<std::size_t>(from - begin()));
}

void List::setDirty(bool dirty) const noexcept {
    if (const Variant* own = owner()) own->setDirty(dirty);
}

} // namespace json
