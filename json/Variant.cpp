// SPDX-License-Identifier: MIT
#include "json/Variant.h"

#include "core/detail/CNumbers.h"
#include "json/Path.h"
#include "json/detail/TextOrder.h"

#include <limits>
#include <utility>
#include <vector>

namespace json {

namespace {

using String = qx::IntrusiveString;
using StringPtr = boost::intrusive_ptr<String>;

/// Neither less nor greater.
// Intended: a NaN equals anything, also in an assignment.
// Held by Variant.FindsANanEqualToAnyReal.
bool equal_reals(double left, double right) { return !(left < right) && !(left > right); }

int compare_reals(double left, double right) {
    if (equal_reals(left, right)) return 0;
    return left > right ? 1 : -1;
}

int compare_with_null(const Variant& rhs) {
    if (rhs.isString() || rhs.isComposite()) return rhs.empty() ? 0 : 1;
    // Intended: null equals 0.5, which reads as the integer 0.
    // Held by Variant.NullComparesByTheIntegerOnTheRight.
    const std::int64_t number = rhs.integerValue();
    if (number == 0) return 0;
    return number < 0 ? 1 : -1;
}

int compare_boolean(bool left, const Variant& rhs) {
    const double right = rhs.realValue();
    if (!(right >= 0.0)) return 1; // negative or NaN
    return compare_reals(left ? 1.0 : 0.0, right);
}

std::int64_t real_to_integer(double real) {
    constexpr double bound = 9223372036854775808.0; // 2^63
    if (real != real) return 0;
    if (real >= bound) return std::numeric_limits<std::int64_t>::max();
    if (real < -bound) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(real);
}

std::int64_t wrapping_sum(std::int64_t left, std::int64_t right) {
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(left) +
                                     static_cast<std::uint64_t>(right));
}

void append_utf8(std::string& out, std::uint32_t unit) {
    if (unit < 0x80) {
        out += static_cast<char>(unit);
        return;
    }
    if (unit < 0x800) {
        out += static_cast<char>(0xC0 | (unit >> 6));
    } else {
        out += static_cast<char>(0xE0 | (unit >> 12));
        out += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
    }
    out += static_cast<char>(0x80 | (unit & 0x3F));
}

/// Intended: surrogates aren't combined; each 16-bit unit is encoded on its own.
/// Held by Variant.WideTextEncodesEachSurrogateOnItsOwn.
StringPtr to_utf8(const wchar_t* text) {
    std::string utf8;
    for (; text != nullptr && *text != L'\0'; ++text) {
        const auto point = static_cast<std::uint32_t>(*text);
        if (point > 0xFFFF) {
            const std::uint32_t rest = (point - 0x10000) & 0xFFFFF;
            append_utf8(utf8, 0xD800 + (rest >> 10));
            append_utf8(utf8, 0xDC00 + (rest & 0x3FF));
        } else {
            append_utf8(utf8, point);
        }
    }
    return StringPtr(new String(utf8.data(), utf8.size()));
}

StringPtr new_string(const char* text, int length = -1) {
    if (text == nullptr) return StringPtr(new String);
    if (length < 0) return StringPtr(new String(text));
    return StringPtr(new String(text, static_cast<std::size_t>(length)));
}

StringPtr new_string(std::string_view text) {
    return StringPtr(new String(text.data(), text.size()));
}

} // namespace

// ----- Construction ------------------------------------------------------------------------------

Variant::Variant(const char* text, int length) { assign(new_string(text, length).get(), true); }
Variant::Variant(const wchar_t* text) { assign(to_utf8(text).get(), true); }
Variant::Variant(const std::string& text) : Variant(std::string_view(text)) {}
Variant::Variant(std::string_view text)
    : string_(new String(text.data(), text.size())), flags_(static_cast<Flags>(Type::String)) {}
Variant::Variant(const qx::IntrusiveString& text) {
    assign(StringPtr(new String(text)).get(), true);
}
Variant::Variant(boost::intrusive_ptr<qx::IntrusiveString> text) { assign(text.get(), true); }
Variant::Variant(const json::Object& object) { assign(new json::Object(object), true); }
Variant::Variant(const json::List& list) { assign(new json::List(list), true); }
Variant::Variant(boost::intrusive_ptr<json::Object> object) { assign(object.get(), true); }
Variant::Variant(boost::intrusive_ptr<json::List> list) { assign(list.get(), true); }
Variant::Variant(qx::IntrusiveString* text) { assign(text, true); }
Variant::Variant(json::Object* object) { assign(object, true); }
Variant::Variant(json::List* list) { assign(list, true); }

Variant::Variant(const Variant& source) : schema_(source.schema_) {
    // What `copyFrom` makes of a new value, without a branch for each kind.
    const Type type = source.type();
    if (type == Type::Null) return;
    setFlags(static_cast<int>(type) | kDirty | kPrintDirty);
    value_ = source.value_;
    if (type == Type::String) {
        string_ = source.string_;
        if (!string_) string_ = new String;
    } else if (type == Type::Object) {
        if (value_.object == nullptr) value_.object = new json::Object;
        value_.object->intrusive_add_ref();
    } else if (type == Type::List) {
        if (value_.list == nullptr) value_.list = new json::List;
        value_.list->intrusive_add_ref();
    }
}

Variant::Variant(Relocation, Variant& source) noexcept {
    const Type type = source.type();
    if (source.holdsContainer()) source.detach_owner();
    if (type == Type::String) string_.swap(source.string_);
    schema_.swap(source.schema_);
    value_ = std::exchange(source.value_, Storage{});
    source.setFlags(0);
    if (type != Type::Null) setFlags(static_cast<int>(type) | kDirty | kPrintDirty);
}

Variant::Variant(const Variant& source, bool autoValue) : Variant(source) {
    setAutoValue(autoValue);
    if (!string_) constStringRef();
}

// Intended: the second argument is no length, unlike that of the narrow form.
// Held by Variant.TheFlagOfTheWideFromStringMarksAnAutoValueAndIsNoLength.
Variant Variant::fromString(const wchar_t* text, int flag) {
    return Variant(Variant(text), flag != 0);
}

Variant Variant::fromString(boost::intrusive_ptr<qx::IntrusiveString> text) {
    return Variant(std::move(text));
}

Variant Variant::fromObject(const json::Object& object) { return Variant(object); }

Variant Variant::fromObject(boost::intrusive_ptr<json::Object> object) {
    return Variant(std::move(object));
}

Variant Variant::fromList(const json::List& list) { return Variant(list); }

Variant Variant::fromList(boost::intrusive_ptr<json::List> list) {
    return Variant(std::move(list));
}

Variant Variant::newObject() { return Variant(boost::intrusive_ptr<json::Object>()); }
Variant Variant::newList() { return Variant(boost::intrusive_ptr<json::List>()); }

// ----- Assignment --------------------------------------------------------------------------------

Variant& Variant::operator=(const Variant& source) {
    if (this == &source) return *this;
    if (source.holdsContainer()) {
        // The source may lie in what is released here, or hold the very container that this lies
        // in.
        const Variant copy = source.copyToHoldIn(*this);
        release();
        copyFrom(copy);
    } else {
        const Variant lifeline = holdsContainer() ? *this : Variant(); // the source may lie in it
        release();
        copyFrom(source);
    }
    return *this;
}

Variant& Variant::operator=(std::nullptr_t) {
    assignNull(false);
    return *this;
}

Variant& Variant::operator=(const char* text) {
    assign(new_string(text).get(), false);
    return *this;
}

Variant& Variant::operator=(const wchar_t* text) {
    assign(to_utf8(text).get(), false);
    return *this;
}

Variant& Variant::operator=(const std::string& text) { return *this = std::string_view(text); }

Variant& Variant::operator=(std::string_view text) {
    assign(new_string(text).get(), false);
    return *this;
}

Variant& Variant::operator=(const qx::IntrusiveString& text) {
    assign(StringPtr(new String(text)).get(), false);
    return *this;
}

Variant& Variant::operator=(boost::intrusive_ptr<qx::IntrusiveString> text) {
    assign(text.get(), false);
    return *this;
}

Variant& Variant::operator=(const json::Object& object) {
    assign(boost::intrusive_ptr<json::Object>(new json::Object(object)).get(), false);
    return *this;
}

Variant& Variant::operator=(const json::List& list) {
    assign(boost::intrusive_ptr<json::List>(new json::List(list)).get(), false);
    return *this;
}

Variant& Variant::operator=(boost::intrusive_ptr<json::Object> object) {
    assign(object.get(), false);
    return *this;
}

Variant& Variant::operator=(boost::intrusive_ptr<json::List> list) {
    assign(list.get(), false);
    return *this;
}

void Variant::markAssigned(bool equal) noexcept {
    if (equal) {
        // Intended: an equal value marks this one clean, even if it was dirty before.
        // Held by Variant.AssigningAnEqualValueMarksItClean.
        setFlag(kDirty, false);
    } else {
        setDirty(true);
    }
}

void Variant::leaveType(Type next) {
    if (type() == next) return;
    detach_owner();
    if (next != Type::String) string_.reset();
    dropContainer();
    storeType(next);
    value_ = Storage{};
}

void Variant::assignNull(bool init) {
    if (!init) markAssigned(isNull());
    leaveType(Type::Null);
}

void Variant::assign(bool value, bool init) {
    if (!init) markAssigned(isBoolean() && value_.boolean == value);
    leaveType(Type::Boolean);
    value_.boolean = value;
}

void Variant::assign(std::int64_t value, bool init) {
    if (!init) markAssigned(isInteger() && value_.integer == value);
    leaveType(Type::Integer);
    value_.integer = value;
}

void Variant::assign(double value, bool init) {
    if (!init) markAssigned(isReal() && equal_reals(value_.real, value));
    leaveType(Type::Real);
    value_.real = value;
}

void Variant::assign(qx::IntrusiveString* text, bool init) {
    const StringPtr next(text != nullptr ? text : new String);
    if (!init) markAssigned(isString() && (string_ ? *string_ == *next : next->empty()));
    leaveType(Type::String);
    string_ = next;
}

void Variant::assign(json::Object* object, bool init) {
    const boost::intrusive_ptr<json::Object> next(object != nullptr ? object : new json::Object);
    if (!init) markAssigned(isObject() && holds(object));
    leaveType(Type::Object);
    storeContainer(next);
    if (next->owner() == nullptr) attach_owner();
}

void Variant::assign(json::List* list, bool init) {
    const boost::intrusive_ptr<json::List> next(list != nullptr ? list : new json::List);
    if (!init) markAssigned(isList() && holds(list));
    leaveType(Type::List);
    storeContainer(next);
    if (next->owner() == nullptr) attach_owner();
}

bool Variant::holds(const json::Object* object) const {
    if (object == nullptr || value_.object == nullptr) return object == value_.object;
    return *value_.object == *object;
}

bool Variant::holds(const json::List* list) const {
    if (list == nullptr || value_.list == nullptr) return list == value_.list;
    return *value_.list == *list;
}

void Variant::setType(Type type, bool init) {
    if (init) setFlags(0);
    leaveType(type);
    if (isString() && !string_) string_ = new String;
}

// ----- Typed reads -------------------------------------------------------------------------------

const char* Variant::typeName(Type type) {
    static constexpr const char* names[] = {"Null",   "Boolean", "Integer", "Real",
                                            "String", "Object",  "List"};
    return names[static_cast<std::size_t>(type)];
}

std::int64_t Variant::integerValue() const {
    switch (type()) {
    case Type::Boolean:
        return value_.boolean ? 1 : 0;
    case Type::Integer:
        return value_.integer;
    case Type::Real:
        return real_to_integer(value_.real);
    case Type::String:
        return qx::detail::text_to_integer(charsValue());
    default:
        return 0;
    }
}

double Variant::realValue() const {
    switch (type()) {
    case Type::Boolean:
        return value_.boolean ? 1.0 : 0.0;
    case Type::Integer:
        return static_cast<double>(value_.integer);
    case Type::Real:
        return value_.real;
    case Type::String:
        return qx::detail::text_to_real(charsValue());
    default:
        return 0.0;
    }
}

bool Variant::booleanValue() const {
    switch (type()) {
    case Type::Boolean:
        return value_.boolean;
    case Type::Integer:
        return value_.integer != 0;
    case Type::Real:
        return value_.real < 0.0 || value_.real > 0.0; // a NaN is false
    default:
        return size() != 0;
    }
}

const json::Object& Variant::objectValue() const {
    return *(isObject() ? *this : EmptyObject).constObjectRef();
}

boost::intrusive_ptr<json::Object> Variant::objectPtr() const {
    return boost::intrusive_ptr<json::Object>((isObject() ? *this : EmptyObject).constObjectRef());
}

const json::List& Variant::listValue() const {
    return *(isList() ? *this : EmptyList).constListRef();
}

boost::intrusive_ptr<json::List> Variant::listPtr() const {
    return boost::intrusive_ptr<json::List>((isList() ? *this : EmptyList).constListRef());
}

json::Object& Variant::objectValue() { return *convertToObject().objectRef(); }

boost::intrusive_ptr<json::Object> Variant::objectPtr() {
    return boost::intrusive_ptr<json::Object>(convertToObject().objectRef());
}

json::List& Variant::listValue() { return *convertToList().listRef(); }

boost::intrusive_ptr<json::List> Variant::listPtr() {
    return boost::intrusive_ptr<json::List>(convertToList().listRef());
}

Variant::operator boost::intrusive_ptr<json::Object>() const { return objectPtr(); }
Variant::operator boost::intrusive_ptr<json::Object>() { return objectPtr(); }
Variant::operator boost::intrusive_ptr<json::List>() const { return listPtr(); }
Variant::operator boost::intrusive_ptr<json::List>() { return listPtr(); }

std::size_t Variant::size() const {
    switch (type()) {
    case Type::String:
        return string_ ? string_->length() : 0;
    case Type::Object:
        return value_.object != nullptr ? value_.object->size() : 0;
    case Type::List:
        return value_.list != nullptr ? value_.list->size() : 0;
    default:
        return 0;
    }
}

bool Variant::contains(const char* key) const { return isObject() && objectValue().contains(key); }

// ----- Indexing ----------------------------------------------------------------------------------

const Variant& Variant::elementAt(std::uint64_t index) const {
    return isList() ? std::as_const(*constListRef()).at(index) : Empty;
}

const Variant& Variant::operator[](const char* key) const {
    return isObject() ? std::as_const(*constObjectRef())[key] : Empty;
}

const Variant& Variant::operator[](std::string_view key) const {
    return (*this)[std::string(key).c_str()];
}

const Variant& Variant::operator[](const qx::IntrusiveString& key) const {
    return isObject() ? std::as_const(*constObjectRef())[key] : Empty;
}

const Variant& Variant::operator[](const Variant& key) const {
    if (isList()) return (*this)[key.integerValue()];
    if (isObject()) return std::as_const(*constObjectRef())[key.stringPtr()];
    return Empty;
}

Variant& Variant::elementForWriting(std::uint64_t index) { return listValue().at(index); }

Variant& Variant::operator[](const char* key) {
    if (isObject()) return objectValue()[key];
    const std::string copy(key != nullptr ? key : ""); // may be the text that the conversion drops
    return objectValue()[copy.c_str()];
}

Variant& Variant::operator[](std::string_view key) { return (*this)[std::string(key).c_str()]; }

Variant& Variant::operator[](const qx::IntrusiveString& key) {
    if (isObject()) return objectValue()[key];
    const StringPtr copy(new String(key)); // may be the text that the conversion drops
    return objectValue()[copy];
}

Variant& Variant::operator[](const Variant& key) {
    const bool asList = isList() || (!isObject() && key.isNumerical());
    if (asList) return (*this)[key.integerValue()];
    const StringPtr text = key.stringPtr();
    return objectValue()[text];
}

// ----- Conversions -------------------------------------------------------------------------------

Variant& Variant::convertToBoolean() {
    if (!isBoolean()) assign(booleanValue(), false);
    return *this;
}

Variant& Variant::convertToInteger() {
    if (!isInteger()) assign(integerValue(), false);
    return *this;
}

Variant& Variant::convertToReal() {
    if (!isReal()) assign(realValue(), false);
    return *this;
}

void Variant::becomeString() {
    detach_owner();
    dropContainer();
    storeType(Type::String);
    value_ = Storage{};
}

Variant& Variant::convertToString() {
    if (isString()) return *this;
    setDirty(true);
    string_ = isNull() ? new String : print(false);
    becomeString();
    return *this;
}

Variant& Variant::convertToEmptyString() {
    becomeString();
    if (string_ && (isSticky() || string_->use_count() == 1)) {
        string_->clear();
    } else {
        string_ = new String;
    }
    setDirty(true);
    return *this;
}

Variant& Variant::convertToObject() {
    if (isObject()) return *this;
    setDirty(true);
    leaveType(Type::Object);
    constObjectRef();
    return *this;
}

Variant& Variant::convertToList() {
    if (isList()) return *this;
    setDirty(true);
    leaveType(Type::List);
    constListRef();
    return *this;
}

// Intended: the two forms for containers mark the value clean, unlike the one for strings.
// Held by Variant.EmptyingAStringMarksItDirtyAndEmptyingAContainerMarksItClean.
Variant& Variant::convertToEmptyObject() {
    leaveType(Type::Object);
    if (value_.object != nullptr && !copyForWrite(value_.object)) {
        value_.object->clear();
    } else {
        storeContainer(boost::intrusive_ptr<json::Object>(new json::Object));
    }
    setDirty(false);
    return *this;
}

Variant& Variant::convertToEmptyList() {
    leaveType(Type::List);
    if (value_.list != nullptr && !copyForWrite(value_.list)) {
        value_.list->elements_.clear();
    } else {
        storeContainer(boost::intrusive_ptr<json::List>(new json::List));
    }
    setDirty(false);
    return *this;
}

Variant& Variant::convertTo(Type type) {
    switch (type) {
    case Type::Null:
        assignNull(false);
        return *this;
    case Type::Boolean:
        return convertToBoolean();
    case Type::Integer:
        return convertToInteger();
    case Type::Real:
        return convertToReal();
    case Type::String:
        return convertToString();
    case Type::Object:
        return convertToObject();
    case Type::List:
        return convertToList();
    }
    return *this;
}

// ----- Comparison --------------------------------------------------------------------------------

namespace {

using ObjectPair = std::pair<const Object*, const Object*>;

/// Compares the entries of two objects; nested pairs of objects are left to the caller.
bool equal_entries(const Object& left, const Object& right, std::vector<ObjectPair>& nested) {
    if (left.size() != right.size()) return false;
    for (const auto& entry : left) {
        // Intended: each entry of a repeated key meets the first such entry on the right.
        // Held by Variant.ARepeatedKeyIsComparedWithTheFirstOneOnTheRight.
        const auto match = right.find(entry.first);
        if (match == right.end()) return false;
        const Variant& value = entry.second;
        if (&value == &match->second) continue;
        if (value.isObject()) {
            nested.emplace_back(&value.objectValue(), &match->second.objectValue());
        } else if (value != match->second) {
            return false;
        }
    }
    return true;
}

/// Keeps the pairs that are still to be compared in a list: the depth is a peer's choice.
bool equal_objects(const Object& left, const Object& right) {
    std::vector<ObjectPair> waiting{{&left, &right}};
    while (!waiting.empty()) {
        const ObjectPair next = waiting.back();
        waiting.pop_back();
        if (!equal_entries(*next.first, *next.second, waiting)) return false;
    }
    return true;
}

} // namespace

// Intended: the type on the left selects the rule, so that the sides can't be exchanged.
// Held by Variant.EqualsByTheRuleOfTheLeftSide.
int Variant::compareTo(const Variant& rhs) const {
    if (this == &rhs) return 0;
    switch (type()) {
    case Type::Null:
        return compare_with_null(rhs);
    case Type::Boolean:
        return compare_boolean(value_.boolean, rhs);
    case Type::Integer:
    case Type::Real:
        return compare_reals(realValue(), rhs.realValue());
    case Type::String:
        // Intended: a String is less than whatever is no String.
        // Held by Variant.FindsAStringLessThanAnythingThatIsNoString.
        return rhs.isString() ? compareText(rhs.charsValue()) : -1;
    case Type::Object:
        return equal_objects(objectValue(), rhs.objectValue()) ? 0 : -1;
    case Type::List:
        return listValue() == rhs.listValue() ? 0 : -1;
    }
    return -1;
}

int Variant::compareText(const char* text) const {
    return detail::compare_texts(charsValue(), text != nullptr ? text : "");
}

bool Variant::operator==(const json::Object& rhs) const { return objectValue() == rhs; }
bool Variant::operator!=(const json::Object& rhs) const { return objectValue() != rhs; }
bool Variant::operator==(const json::List& rhs) const { return listValue() == rhs; }
bool Variant::operator!=(const json::List& rhs) const { return listValue() != rhs; }

// ----- Appending ---------------------------------------------------------------------------------

Variant& Variant::operator<<(const Variant& element) {
    const Variant copy = element.copyToHoldIn(*this); // may be this very value, or lie in it
    listValue() << copy;
    return *this;
}

// Intended: the cases run on into each other, so that only a Real is added once.
// Held by Variant.AddingRunsOnThroughTheCases and Variant.AddsATextAsTwiceItsNumber.
Variant& Variant::operator+=(const Variant& rhs) {
    const Variant addend(rhs);
    switch (addend.type()) {
    case Type::String:
        convertToString();
        string_ = new String; // the join of the two texts, which is empty
        [[fallthrough]];
    case Type::Boolean:
    case Type::Integer:
        convertToInteger();
        value_.integer = wrapping_sum(value_.integer, addend.integerValue());
        [[fallthrough]];
    case Type::Real:
        convertToReal();
        // Intended: the sum isn't marked. Held by Variant.AddsWithoutMarkingItselfDirty.
        value_.real += addend.realValue();
        break;
    default:
        break;
    }
    return *this;
}

const Variant& Variant::select(const Path& path) const { return path.evaluate(*this); }
Variant& Variant::select(const Path& path) { return path.evaluate(*this); }

} // namespace json
