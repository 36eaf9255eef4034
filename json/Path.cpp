// SPDX-License-Identifier: MIT
#include "json/Path.h"

#include "core/detail/CNumbers.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <ostream>
#include <string>
#include <utility>

namespace json {

namespace {

constexpr std::size_t kSpareBytes = 32;  // let a position push and pop keys with few reallocations
constexpr std::size_t kLongBytes = 4096; // a path that a peer has made that long grows by halves
constexpr std::size_t kIndexBytes = 17;  // what the text of an index is given room for

bool is_separator(char c) { return c == '.' || c == '[' || c == ']' || c == '\0'; }

bool is_digit(char c) { return c >= '0' && c <= '9'; }

/// The answer to a miss. It is a constant: callers of the writing forms check its address.
Variant& missed() { return const_cast<Variant&>(Variant::Empty); }

} // namespace

// ----- Construction ------------------------------------------------------------------------------

Path::Path(const char* text) { parse(text != nullptr ? text : "", -1); }

Path::Path(const std::string& text) {
    reserve(text.size() + 1);
    std::memcpy(buffer.get(), text.c_str(), text.size() + 1);
    split(text.size());
}

Path::Path(const Path& source)
    : buffer(new char[source.capacity]), capacity(source.capacity), offsets(source.offsets) {
    std::memcpy(buffer.get(), source.buffer.get(), capacity);
}

Path& Path::operator=(const Path& source) {
    if (this == &source) return *this;
    std::vector<std::size_t> copies(source.offsets);
    reserve(source.capacity);
    offsets.swap(copies);
    std::memcpy(buffer.get(), source.buffer.get(), source.capacity);
    return *this;
}

Path::~Path() = default;

void Path::parse(const char* text, int length) {
    const std::size_t size = length < 0 ? std::strlen(text) : static_cast<std::size_t>(length);
    reserve(size + 1);
    std::memcpy(buffer.get(), text, size);
    buffer[size] = '\0';
    split(size);
}

void Path::split(std::size_t length) {
    std::vector<std::size_t> starts;
    for (std::size_t i = 0; i < length; ++i) {
        if (is_separator(buffer[i])) {
            buffer[i] = '\0';
        } else if (i == 0 || buffer[i - 1] == '\0') {
            starts.push_back(i);
        }
    }
    // Intended: the end mark lies on the last NUL, so that a first append runs on into the last
    // segment. Held by Path.TheFirstAppendToAParsedPathRunsOnIntoItsLastSegment.
    starts.push_back(length);
    offsets.swap(starts);
}

void Path::reserve(std::size_t bytes) {
    if (bytes <= capacity) return;
    std::size_t room = bytes + kSpareBytes;
    if (capacity >= kLongBytes) room = std::max(room, capacity + capacity / 2);
    std::unique_ptr<char[]> larger(new char[room]());
    if (buffer) std::memcpy(larger.get(), buffer.get(), capacity);
    buffer = std::move(larger);
    capacity = room;
}

// ----- Segments ----------------------------------------------------------------------------------

Path& Path::operator<<(const char* segment) {
    const std::string copy(segment != nullptr ? segment : ""); // may lie in this path
    const std::size_t end = offsets.back();
    reserve(end + copy.size() + 1);
    offsets.push_back(end + copy.size() + 1);
    std::memcpy(buffer.get() + end, copy.c_str(), copy.size() + 1);
    return *this;
}

Path& Path::operator<<(const qx::IntrusiveString& segment) { return *this << segment.c_str(); }

// Intended: the index is cut to 32 bits.
// Held by Path.AnIndexIsCutTo32Bits.
Path& Path::operator<<(std::size_t index) {
    reserve(offsets.back() + kIndexBytes);
    return *this << std::to_string(static_cast<std::uint32_t>(index)).c_str();
}

Path& Path::pop() {
    if (offsets.size() > 1) offsets.pop_back();
    return *this;
}

void Path::print(std::ostream& out) const {
    for (std::size_t i = 0; i < size(); ++i) {
        const char* text = segment(i);
        if (is_digit(*text)) {
            out << '[' << text << ']';
        } else {
            out << (i == 0 ? "" : ".") << text;
        }
    }
}

std::ostream& operator<<(std::ostream& out, const Path& path) {
    path.print(out);
    return out;
}

// ----- Steps -------------------------------------------------------------------------------------

// Intended: a segment that isn't a number reads as 0 on a list.
// Held by Path.ASegmentThatIsNoNumberReadsAsZeroOnAList.
Variant* Path::eval1(char* segment, List& list, bool create) const {
    const std::int64_t index = qx::detail::text_to_integer(segment);
    if (index < 0 || index > std::numeric_limits<int>::max()) return nullptr;
    if (index >= static_cast<int>(list.size()) && !create) return nullptr;
    return &list[static_cast<std::size_t>(index)];
}

Variant* Path::eval1(char* segment, Object& object, bool create) const {
    const auto found = object.find(segment);
    if (found != object.end()) return &found->second;
    if (!create) return nullptr;
    object.insert_new(object.key_pool().intern(segment), Variant::Empty);
    return &object.find(segment)->second;
}

Variant* Path::eval1(char* segment, Variant& value, bool create) const {
    // A reading step goes through the const access, which never clones.
    const Variant& constValue = value;
    if (value.isList()) {
        return eval1(segment,
                     create ? value.listValue() : const_cast<List&>(constValue.listValue()),
                     create);
    }
    if (value.isObject()) {
        return eval1(segment,
                     create ? value.objectValue() : const_cast<Object&>(constValue.objectValue()),
                     create);
    }
    return nullptr;
}

// ----- Walks -------------------------------------------------------------------------------------

Variant* Path::walk(std::size_t first, Variant* value, bool create) const {
    for (std::size_t i = first; i < size() && value != nullptr; ++i) {
        value = eval1(segment(i), *value, create);
    }
    return value;
}

const Variant& Path::evaluate(Variant& root, bool create) const {
    const Variant* value = walk(0, &root, create);
    return value != nullptr ? *value : missed();
}

// Intended: a path of no segments answers Empty on a list and on an object, unlike on a value.
// Held by Path.AnEmptyPathGivesTheValueItselfButEmptyOnAListOrAnObject.
const Variant& Path::evaluate(List& root, bool create) const {
    if (size() == 0) return missed();
    const Variant* value = walk(1, eval1(segment(0), root, create), create);
    return value != nullptr ? *value : missed();
}

const Variant& Path::evaluate(Object& root, bool create) const {
    if (size() == 0) return missed();
    const Variant* value = walk(1, eval1(segment(0), root, create), create);
    return value != nullptr ? *value : missed();
}

const Variant& Path::evaluate(const Variant& root) const {
    return evaluate(const_cast<Variant&>(root), false);
}

const Variant& Path::evaluate(const List& root) const {
    return evaluate(const_cast<List&>(root), false);
}

const Variant& Path::evaluate(const Object& root) const {
    return evaluate(const_cast<Object&>(root), false);
}

Variant& Path::evaluate(Variant& root) const { return const_cast<Variant&>(evaluate(root, true)); }

Variant& Path::evaluate(List& root) const { return const_cast<Variant&>(evaluate(root, true)); }

Variant& Path::evaluate(Object& root) const { return const_cast<Variant&>(evaluate(root, true)); }

} // namespace json
