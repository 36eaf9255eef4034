// SPDX-License-Identifier: MIT
#pragma once

#include "core/Export.h"
#include "core/IntrusiveObject.h"
#include "core/IntrusiveString.h"

#include <boost/intrusive_ptr.hpp>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace qx {
class Url;
}

namespace json {

class JsonParser;
class JsonPrinter;
class List;
class Object;
class Path;
class Schema;
class TreeIterator;
class Variant;

/// Count a schema that is only named here; defined where the schema is known.
GATECAST_EXPORT void intrusive_ptr_add_ref(Schema* schema);
GATECAST_EXPORT void intrusive_ptr_release(Schema* schema);

/// The kinds of value, as the lowest three bits of a value's flag word hold them.
enum class Type : std::uint8_t { Null, Boolean, Integer, Real, String, Object, List };

namespace detail {

/// The types of a character. `signed char` and `unsigned char` are small numbers.
template <typename T>
inline constexpr bool is_character = std::is_same_v<T, char> || std::is_same_v<T, wchar_t> ||
#ifdef __cpp_char8_t
                                     std::is_same_v<T, char8_t> ||
#endif
                                     std::is_same_v<T, char16_t> || std::is_same_v<T, char32_t>;
/// The types that stand for a number in an expression: arithmetic ones and plain enumerations.
template <typename T>
inline constexpr bool is_arithmetic = std::is_arithmetic_v<T> && !is_character<T>;
template <typename T>
inline constexpr bool is_number = is_arithmetic<T> ||
                                  (std::is_enum_v<T> && std::is_convertible_v<T, std::int64_t>);
/// The pointers that stand for a text.
template <typename T>
inline constexpr bool
    is_text_pointer = std::is_pointer_v<T> &&
                      (std::is_same_v<std::remove_cv_t<std::remove_pointer_t<T>>, char> ||
                       std::is_same_v<std::remove_cv_t<std::remove_pointer_t<T>>, wchar_t>);
template <typename T>
using RequireNumber = std::enable_if_t<is_number<T>, int>;
template <typename T>
using RequireArithmetic = std::enable_if_t<is_arithmetic<T>, int>;
/// What C++ would turn into a Boolean or a number on its own though it is none: a character, a
/// pointer that is no text.
template <typename T>
inline constexpr bool is_no_value = is_character<T> || std::is_member_pointer_v<T> ||
                                    (std::is_pointer_v<T> && !is_text_pointer<T>);
template <typename T>
using RequireNoValue = std::enable_if_t<is_no_value<T>, int>;
template <typename T>
using AnswerToNoValue = std::enable_if_t<is_no_value<T>, bool>;
template <typename T>
using NoSum = std::enable_if_t<is_number<T> || is_character<T> || std::is_pointer_v<T> ||
                               std::is_same_v<T, Variant>>;

/// A list in braces with elements of one type. Functions that take it are deleted: C++ would make a
/// text of the numbers in `v = {1, 2}`.
struct Braces {
    template <typename T>
    Braces(std::initializer_list<T> elements);
};

} // namespace detail

/// A JSON value: null, a Boolean, a 64-bit integer, a double, a string, an object or a list.
///
/// Five machine words that can be copied freely. Scalars live inside; strings, objects and lists
/// are counted payloads that copies share until one of them writes (copy on write). Const reads
/// never fail: a wrong type, a missing key or a bad index gives a conversion or a default. The
/// non-const container forms convert the value to what is asked for and create what is missing:
/// \code
/// json::Variant v;
/// v["door"]["open"] = true; // {"door":{"open":true}}
/// const json::Variant& c = v;
/// c["window"].isNull(); // true, and nothing was added
/// \endcode
/// Warning: a non-const `list[i]` or `object["key"]` creates what it doesn't find, and passing a
/// non-const value where a `json::List&` or `json::Object&` fits turns it into one. Read through
/// a const reference where that isn't wanted.
///
/// What C++ would silently take for something else doesn't compile: a character or a pointer is
/// neither a number nor a Boolean, and braces are neither a list nor an object. Write `int(c)` or
/// `std::string(1, c)`, and see `json/Build.h`. A value has no `std::hash`: equality isn't
/// symmetric, so that no hash could agree with it.
///
/// A value may hold a schema; it then marks and binds what lies below it. Values know the
/// container that holds them (`hasParent`), and a container knows the schema-bound value that
/// stands for it, its owner. Both links are raw and vanish with their ends.
///
/// Threads: one at a time, const members included.
/// Reading the text of a number, a list or an object fills a cache. Copies on different threads may
/// share payloads; the counts are atomic.
class GATECAST_EXPORT Variant {
public:
    /// @name Constants
    /// What reads answer when nothing is there. They can be used from static objects of an
    /// application, before and after `main`, and are never changed.
    /// @{
    static const Variant& Empty;          ///< null: nothing is there
    static const Variant& Null;           ///< null
    static const Variant& EmptyAutoValue; ///< null, marked as an auto value
    static const Variant& True;           ///< true
    static const Variant& False;          ///< false
    static const Variant& EmptyString;    ///< ""
    static const Variant& EmptyList;      ///< []
    static const Variant& EmptyObject;    ///< {}
    /// @}

    // ----- Construction: no schema, no parent, and not dirty unless it copies ----- Variant.cpp

    /// Null.
    Variant() noexcept {}
    /// Null.
    Variant(std::nullptr_t) noexcept {}

    /// Boolean from `bool`, Real from a floating point number, Integer from every other number and
    /// from a plain enumeration. Characters are no numbers, `signed char` and `unsigned char` are.
    /// Bad input: an unsigned number above the signed 64-bit range is cut to its low 64 bits.
    template <typename T, detail::RequireNumber<T> = 0>
    Variant(T number) {
        initNumber(number);
    }

    /// String: `length` bytes of `text`, or up to its NUL when `length` is negative.
    /// Bad input: a null pointer gives the empty text.
    Variant(const char* text, int length = -1);
    /// A 0 would count as a null pointer in `Variant{0, 5}`, and a character or a fraction as a
    /// length.
    /// @{
    template <typename T, detail::RequireNumber<T> = 0>
    Variant(T number, int length) = delete;
    template <typename T, std::enable_if_t<detail::is_character<T> || std::is_same_v<T, bool> ||
                                               std::is_floating_point_v<T>,
                                           int> = 0>
    Variant(const char* text, T length) = delete;
    /// @}
    /// In `Variant v = {{1, 2}}` C++ would make a text of the numbers.
    Variant(detail::Braces) = delete;
    /// String in UTF-8. Each 16-bit unit is encoded on its own, surrogates aren't combined; a
    /// code point above 0xFFFF is split into its two surrogates first.
    /// Bad input: a null pointer gives the empty text.
    Variant(const wchar_t* text);
    /// String with a copy of all bytes of the text.
    /// @{
    Variant(const std::string& text);
    Variant(std::string_view text);
    Variant(const qx::IntrusiveString& text);
    /// @}
    /// String that shares the given text; a null pointer gives a new empty one.
    Variant(boost::intrusive_ptr<qx::IntrusiveString> text);
    /// Object or List with a shallow copy of the argument.
    /// @{
    Variant(const json::Object& object);
    Variant(const json::List& list);
    /// @}
    /// Object or List that shares the argument; a null pointer gives a new empty one.
    /// @{
    Variant(boost::intrusive_ptr<json::Object> object);
    Variant(boost::intrusive_ptr<json::List> list);
    /// @}

    /// A shallow copy: shares the payload and the schema. It has no parent, is neither sticky
    /// nor an auto value, and is dirty unless it is null.
    Variant(const Variant& source);
    ~Variant() {
        if (holdsContainer()) dropOwnContainer();
    }

    /// The value that the constructor for that type makes.
    /// @{
    static Variant fromBoolean(bool value) { return Variant(value); }
    /// A pointer is no Boolean: `fromBoolean("false")` would be true.
    template <typename T>
    static Variant fromBoolean(const T* pointer) = delete;
    static Variant fromInteger(std::int64_t value) { return Variant(value); }
    static Variant fromReal(double value) { return Variant(value); }
    static Variant fromString(const char* text, int length = -1) { return Variant(text, length); }
    /// @}
    /// The text always runs to its NUL. `flag` is no length: a non-zero one marks the result as
    /// an auto value.
    static Variant fromString(const wchar_t* text, int flag = 0);
    /// The value that the constructor for that type makes.
    /// @{
    static Variant fromString(boost::intrusive_ptr<qx::IntrusiveString> text);
    static Variant fromObject(const json::Object& object);
    static Variant fromObject(boost::intrusive_ptr<json::Object> object);
    static Variant fromList(const json::List& list);
    static Variant fromList(boost::intrusive_ptr<json::List> list);
    /// @}
    /// A new empty container of its own.
    /// @{
    static Variant newObject();
    static Variant newList();
    /// @}
    /// Null.
    static Variant nullVariant() { return Variant(); }

    // ----- Assignment ------------------------------------------------------------ Variant.cpp

    /// A shallow copy of `source`. The result is as if `source` had been copied before, also
    /// when it lies inside this value. A container that holds this value is cloned first, so that
    /// `v["self"] = v` makes no cycle.
    ///
    /// In each form a value that differs from the old one marks this value dirty; an equal one
    /// marks it clean, even if it was dirty before. Schema, parent and auto mark stay. Lists count
    /// as equal when their lengths are; see `json::List::operator==`. Warning: a value assigned
    /// deeper into itself (`v["a"]["b"] = v`) holds itself and is never freed; assign a copy of it.
    Variant& operator=(const Variant& source);
    /// As if assigned from the value that the constructor for that type makes.
    /// @{
    template <typename T, detail::RequireNumber<T> = 0>
    Variant& operator=(T number) {
        if constexpr (std::is_same_v<T, bool>) {
            assign(number, false);
        } else if constexpr (std::is_floating_point_v<T>) {
            assign(static_cast<double>(number), false);
        } else {
            assign(static_cast<std::int64_t>(number), false);
        }
        return *this;
    }
    /// Braces make neither a list nor an object.
    template <typename T, std::enable_if_t<!std::is_same_v<T, Variant>, int> = 0>
    Variant& operator=(std::initializer_list<T> elements) = delete;
    Variant& operator=(std::nullptr_t);
    Variant& operator=(const char* text);
    Variant& operator=(const wchar_t* text);
    Variant& operator=(const std::string& text);
    Variant& operator=(std::string_view text);
    Variant& operator=(const qx::IntrusiveString& text);
    Variant& operator=(boost::intrusive_ptr<qx::IntrusiveString> text);
    Variant& operator=(const json::Object& object);
    Variant& operator=(const json::List& list);
    Variant& operator=(boost::intrusive_ptr<json::Object> object);
    Variant& operator=(boost::intrusive_ptr<json::List> list);
    /// @}

    // ----- Tests -----------------------------------------------------------------------------

    /// Its type.
    Type type() const noexcept { return static_cast<Type>(flags() & kTypeMask); }
    /// Whether it is of that type.
    /// @{
    bool isNull() const noexcept { return type() == Type::Null; }
    bool isBoolean() const noexcept { return type() == Type::Boolean; }
    bool isInteger() const noexcept { return type() == Type::Integer; }
    bool isReal() const noexcept { return type() == Type::Real; }
    bool isString() const noexcept { return type() == Type::String; }
    bool isObject() const noexcept { return type() == Type::Object; }
    bool isList() const noexcept { return type() == Type::List; }
    /// @}
    // Intended: a Boolean counts. Held by Variant.CountsABooleanAsNumerical.
    /// True for Boolean, Integer and Real alike.
    bool isNumerical() const noexcept { return isBoolean() || isInteger() || isReal(); }
    /// True for Object and List.
    bool isComposite() const noexcept { return isObject() || isList(); }
    /// "Null", "Boolean", "Integer", "Real", "String", "Object" or "List".
    /// Bad input: a value outside the enumeration is the caller's fault.
    static const char* typeName(Type type);

    // ----- Typed reads: convert on the fly, never fail, never change the type ---- Variant.cpp

    /// Null 0, Boolean 0 or 1, Real truncated toward zero, String its leading digits, containers
    /// 0. Bad input: a Real or a text outside the 64-bit range gives the nearest bound, a NaN 0.
    std::int64_t integerValue() const;
    /// Null 0, Boolean 0 or 1, String its leading number with a decimal point whatever the
    /// locale, containers 0.
    double realValue() const;
    /// Not zero, not NaN, not empty.
    bool booleanValue() const;
    /// `bool` reads as `booleanValue`, a floating point type as `realValue`, every other
    /// arithmetic type as `integerValue` cut to its width. No value reads as a character.
    template <typename T, detail::RequireArithmetic<T> = 0>
    operator T() const {
        if constexpr (std::is_same_v<T, bool>) {
            return booleanValue();
        } else if constexpr (std::is_floating_point_v<T>) {
            return static_cast<T>(realValue());
        } else {
            return static_cast<T>(integerValue());
        }
    }
    /// The opposite of `booleanValue`.
    /// @{
    bool empty() const { return !booleanValue(); }
    bool operator!() const { return !booleanValue(); }
    /// @}

    /// The text of a String, the compact JSON text of every other type, "" for null. The
    /// reference lives until the value is changed. The text of a container is kept, and printed
    /// anew only after a change that marked this very value: in a tree without schemas it may be
    /// older than an element. `print` always prints afresh.
    /// @{
    const qx::IntrusiveString& stringValue() const { return *constStringRef(); }
    operator const qx::IntrusiveString&() const { return stringValue(); }
    const char* charsValue() const { return stringValue().c_str(); }
    operator const char*() const { return charsValue(); }
    operator std::string() const { return stringValue(); }
    boost::intrusive_ptr<qx::IntrusiveString> stringPtr() const { return constStringRef(); }
    operator boost::intrusive_ptr<qx::IntrusiveString>() const { return stringPtr(); }
    /// @}
    /// The same text, made this value's own for writing. It neither changes the type nor marks
    /// the value: on anything but a String a write edits the kept text only.
    /// @{
    qx::IntrusiveString& stringValue() { return *stringRef(); }
    operator qx::IntrusiveString&() { return stringValue(); }
    boost::intrusive_ptr<qx::IntrusiveString> stringPtr() { return stringRef(); }
    operator boost::intrusive_ptr<qx::IntrusiveString>() { return stringPtr(); }
    /// @}

    /// The container of a value of that type, the empty one of `EmptyObject` or `EmptyList` for
    /// every other type.
    /// @{
    const json::Object& objectValue() const;
    operator const json::Object&() const { return objectValue(); }
    boost::intrusive_ptr<json::Object> objectPtr() const;
    operator boost::intrusive_ptr<json::Object>() const;
    const json::List& listValue() const;
    operator const json::List&() const { return listValue(); }
    boost::intrusive_ptr<json::List> listPtr() const;
    operator boost::intrusive_ptr<json::List>() const;
    /// @}
    /// The container, made this value's own for writing. A value of another type is converted
    /// first and loses its content.
    /// @{
    json::Object& objectValue();
    operator json::Object&() { return objectValue(); }
    boost::intrusive_ptr<json::Object> objectPtr();
    operator boost::intrusive_ptr<json::Object>();
    json::List& listValue();
    operator json::List&() { return listValue(); }
    boost::intrusive_ptr<json::List> listPtr();
    operator boost::intrusive_ptr<json::List>();
    /// @}

    /// Bytes of a String, entries of an Object or a List, 0 for the other types.
    std::size_t size() const;
    /// Whether an Object has the key; false for every other type.
    /// @{
    bool contains(const char* key) const;
    template <typename T, std::enable_if_t<std::is_same_v<T, std::string> ||
                                               std::is_same_v<T, qx::IntrusiveString>,
                                           int> = 0>
    bool contains(const T& key) const {
        return contains(key.c_str());
    }
    template <typename T, std::enable_if_t<std::is_same_v<T, std::string_view>, int> = 0>
    bool contains(T key) const {
        return contains(std::string(key).c_str());
    }
    /// A 0 would count as a null pointer.
    template <typename T, detail::RequireNumber<T> = 0>
    bool contains(T number) const = delete;
    /// @}

    // ----- Indexing --------------------------------------------------------------- Variant.cpp

    /// Element of a List. `Empty` for a negative index and on every other type; what
    /// `json::List::at` answers for an index past the end.
    template <typename T, detail::RequireNumber<T> = 0>
    const Variant& operator[](T index) const {
        if constexpr (std::is_floating_point_v<T>) {
            return (*this)[Variant(index)];
        } else {
            return isBelowZero(index) ? Empty : elementAt(static_cast<std::uint64_t>(index));
        }
    }
    /// First entry of the key in an Object, its default when the key is missing (nothing is
    /// added), `Empty` on every other type. Keys end at their first NUL.
    /// @{
    const Variant& operator[](const char* key) const;
    const Variant& operator[](const std::string& key) const { return (*this)[key.c_str()]; }
    const Variant& operator[](std::string_view key) const;
    const Variant& operator[](const qx::IntrusiveString& key) const;
    /// @}
    /// On a List the element at the key's `integerValue`, on an Object the entry under the key's
    /// text.
    const Variant& operator[](const Variant& key) const;

    /// Element for writing: converts to a List and grows it to hold the index. A negative index
    /// counts as 0.
    template <typename T, detail::RequireNumber<T> = 0>
    Variant& operator[](T index) {
        if constexpr (std::is_floating_point_v<T>) {
            return (*this)[Variant(index)];
        } else {
            return elementForWriting(isBelowZero(index) ? 0 : static_cast<std::uint64_t>(index));
        }
    }
    /// Entry for writing: converts to an Object and adds a copy of the key's default when the key
    /// is missing.
    /// @{
    Variant& operator[](const char* key);
    Variant& operator[](const std::string& key) { return (*this)[key.c_str()]; }
    Variant& operator[](std::string_view key);
    Variant& operator[](const qx::IntrusiveString& key);
    /// @}
    /// Neither index nor key: C++ would index the text of the value by `v['a']`.
    /// @{
    template <typename T, detail::RequireNoValue<T> = 0>
    const Variant& operator[](T key) const = delete;
    template <typename T, detail::RequireNoValue<T> = 0>
    Variant& operator[](T key) = delete;
    /// @}
    /// Works on the present container; any other value becomes a List for a Boolean, Integer or
    /// Real key and an Object for every other key.
    Variant& operator[](const Variant& key);

    // ----- Conversions: change the type, return this value ------------------------ Variant.cpp

    /// Becomes what `booleanValue`, `integerValue` or `realValue` reads.
    /// @{
    Variant& convertToBoolean();
    Variant& convertToInteger();
    Variant& convertToReal();
    /// @}
    /// A container becomes its compact JSON text, null the empty text.
    Variant& convertToString();
    /// Marks the value dirty, unlike the two forms for containers.
    Variant& convertToEmptyString();
    /// Anything but an Object loses its content.
    Variant& convertToObject();
    /// Anything but a List loses its content.
    Variant& convertToList();
    /// Empties the container in place when nothing else holds it (or copy on write is off),
    /// otherwise takes a new one. Marks the value clean.
    /// @{
    Variant& convertToEmptyObject();
    Variant& convertToEmptyList();
    /// @}
    /// Bad input: a value outside the enumeration does nothing.
    Variant& convertTo(Type type);

    // ----- Comparison -------------------------------------------------------------- Variant.cpp

    /// The left operand's type selects the rule, and the rules aren't symmetric: Integer 5 equals
    /// the String "5" when it stands on the left, and differs from it when it stands on the right.
    /// Two Objects that differ are each less than the other. Lists of equal length are equal.
    /// @{
    bool operator==(const Variant& rhs) const { return compareTo(rhs) == 0; }
    bool operator!=(const Variant& rhs) const { return compareTo(rhs) != 0; }
    bool operator<(const Variant& rhs) const { return compareTo(rhs) < 0; }
    bool operator<=(const Variant& rhs) const { return compareTo(rhs) <= 0; }
    bool operator>(const Variant& rhs) const { return compareTo(rhs) > 0; }
    bool operator>=(const Variant& rhs) const { return compareTo(rhs) >= 0; }
    /// @}

    /// With a `bool`: compares `booleanValue`.
    /// @{
    bool operator==(bool rhs) const { return booleanValue() == rhs; }
    bool operator!=(bool rhs) const { return booleanValue() != rhs; }
    /// @}
    /// With a null pointer: whether the value is null, or isn't.
    /// @{
    bool operator==(std::nullptr_t) const { return isNull(); }
    bool operator!=(std::nullptr_t) const { return !isNull(); }
    /// @}

    /// With a text: all six are false when the value isn't a String, `!=` too. Texts are compared
    /// up to their first NUL, as signed bytes.
    /// @{
    bool operator==(const char* rhs) const { return isString() && compareText(rhs) == 0; }
    // Intended: a value that is no String isn't unequal to a text either.
    // Held by Variant.AnswersFalseToEveryComparisonOfANonStringWithAPlainText.
    bool operator!=(const char* rhs) const { return isString() && compareText(rhs) != 0; }
    bool operator<(const char* rhs) const { return isString() && compareText(rhs) < 0; }
    bool operator<=(const char* rhs) const { return isString() && compareText(rhs) <= 0; }
    bool operator>(const char* rhs) const { return isString() && compareText(rhs) > 0; }
    bool operator>=(const char* rhs) const { return isString() && compareText(rhs) >= 0; }
    /// @}

    /// With a container: anything but a container of that kind counts as an empty one.
    /// @{
    bool operator==(const json::Object& rhs) const;
    bool operator!=(const json::Object& rhs) const;
    bool operator==(const json::List& rhs) const;
    bool operator!=(const json::List& rhs) const;
    friend bool operator==(const json::Object& lhs, const Variant& rhs) { return rhs == lhs; }
    friend bool operator!=(const json::Object& lhs, const Variant& rhs) { return rhs != lhs; }
    friend bool operator==(const json::List& lhs, const Variant& rhs) { return rhs == lhs; }
    friend bool operator!=(const json::List& lhs, const Variant& rhs) { return rhs != lhs; }
    /// @}

#define GATECAST_VARIANT_COMPARISONS(op, mirrored)                                                 \
    template <typename T, detail::RequireNumber<T> = 0,                                            \
              std::enable_if_t<!std::is_same_v<T, bool>, int> = 0>                                 \
    friend bool operator op(const Variant& lhs, T rhs) {                                           \
        return lhs op Variant(rhs);                                                                \
    }                                                                                              \
    bool operator op(const std::string& rhs) const { return *this op rhs.c_str(); }                \
    bool operator op(std::string_view rhs) const { return *this op std::string(rhs).c_str(); }     \
    bool operator op(const qx::IntrusiveString& rhs) const { return *this op rhs.c_str(); }        \
    bool operator op(const wchar_t* rhs) const { return *this op Variant(rhs).charsValue(); }      \
    template <typename T, detail::RequireNumber<T> = 0,                                            \
              std::enable_if_t<!std::is_same_v<T, bool>, int> = 0>                                 \
    friend bool operator op(T lhs, const Variant& rhs) {                                           \
        return Variant(lhs) op rhs;                                                                \
    }                                                                                              \
    friend bool operator op(const char* lhs, const Variant& rhs) { return rhs mirrored lhs; }      \
    friend bool operator op(const std::string& lhs, const Variant& rhs) {                          \
        return rhs mirrored lhs;                                                                   \
    }                                                                                              \
    friend bool operator op(std::string_view lhs, const Variant& rhs) { return rhs mirrored lhs; } \
    friend bool operator op(const qx::IntrusiveString& lhs, const Variant& rhs) {                  \
        return rhs mirrored lhs;                                                                   \
    }                                                                                              \
    friend bool operator op(const wchar_t* lhs, const Variant& rhs) { return rhs mirrored lhs; }   \
    template <typename T>                                                                          \
    friend detail::AnswerToNoValue<T> operator op(const Variant& lhs, T rhs) = delete;             \
    template <typename T>                                                                          \
    friend detail::AnswerToNoValue<T> operator op(T lhs, const Variant& rhs) = delete;

    /// With numbers and texts on either side: a number acts as the value made from it; a text on
    /// the left acts as the mirrored form with the text on the right. Characters, and pointers that
    /// are no text, don't compare: they would as Booleans.
    /// @{
    GATECAST_VARIANT_COMPARISONS(==, ==)
    GATECAST_VARIANT_COMPARISONS(!=, !=)
    GATECAST_VARIANT_COMPARISONS(<, >)
    GATECAST_VARIANT_COMPARISONS(<=, >=)
    GATECAST_VARIANT_COMPARISONS(>, <)
    GATECAST_VARIANT_COMPARISONS(>=, <=)
    bool operator<(bool rhs) const { return *this < Variant(rhs); }
    bool operator<=(bool rhs) const { return *this <= Variant(rhs); }
    bool operator>(bool rhs) const { return *this > Variant(rhs); }
    bool operator>=(bool rhs) const { return *this >= Variant(rhs); }
    friend bool operator==(bool lhs, const Variant& rhs) { return rhs == lhs; }
    friend bool operator!=(bool lhs, const Variant& rhs) { return rhs != lhs; }
    friend bool operator<(bool lhs, const Variant& rhs) { return Variant(lhs) < rhs; }
    friend bool operator<=(bool lhs, const Variant& rhs) { return Variant(lhs) <= rhs; }
    friend bool operator>(bool lhs, const Variant& rhs) { return Variant(lhs) > rhs; }
    friend bool operator>=(bool lhs, const Variant& rhs) { return Variant(lhs) >= rhs; }
    friend bool operator==(std::nullptr_t, const Variant& rhs) { return rhs.isNull(); }
    friend bool operator!=(std::nullptr_t, const Variant& rhs) { return !rhs.isNull(); }
    /// @}
#undef GATECAST_VARIANT_COMPARISONS

    /// There is no arithmetic: C++ would add to the address of the text in `v + 1` and `"Door " +
    /// v`. Write `v.integerValue() + 1`, or `std::string(v)`.
    /// @{
    template <typename T>
    friend detail::NoSum<T> operator+(const Variant& lhs, T rhs) = delete;
    template <typename T>
    friend detail::NoSum<T> operator+(T lhs, const Variant& rhs) = delete;
    template <typename T>
    friend detail::NoSum<T> operator-(const Variant& lhs, T rhs) = delete;
    template <typename T>
    friend detail::NoSum<T> operator-(T lhs, const Variant& rhs) = delete;
    /// @}

    // ----- Appending --------------------------------------------------------------- Variant.cpp

    /// Appends a copy, converting this value to a List if needed. Returns this value.
    Variant& operator<<(const Variant& element);
    /// Appends a number.
    template <typename T, detail::RequireNumber<T> = 0>
    Variant& operator<<(T number) {
        return *this << Variant(number);
    }
    /// Adds a number. Warning: only a Real is added once. A Boolean or an Integer is added twice
    /// and makes this value a Real; a String first empties this value's text, then adds its number
    /// twice. Null and containers change nothing. The sum leaves the dirty marks alone. Write
    /// `v = v.integerValue() + n` instead.
    Variant& operator+=(const Variant& rhs);

    /// The value that the path leads to, `Empty` on a miss.
    const Variant& select(const Path& path) const;
    /// The same for writing: adds the last key or grows the last list, but never converts a value
    /// on the way. Bad input: a miss gives `Empty`; check the address before you assign.
    Variant& select(const Path& path);
    /// A stack of positions over this value, which must outlive it. Include `json/TreeIterator.h`
    /// where you call this.
    /// Warning: it walks no tree. A loop of steps over a container that isn't empty uses up all
    /// memory; to walk use `json::VariantIterator`.
    TreeIterator iterator() const;

    // ----- Sharing and bookkeeping ------------------------------------------ VariantSharing.cpp

    /// Whether the value was changed since it was marked clean.
    bool dirty() const noexcept { return (flags() & kDirty) != 0; }
    /// `true` also marks the kept text as out of date; `false` leaves that mark alone.
    void setDirty(bool dirty) const noexcept;
    /// Whether the value came from a schema's default and wasn't set by the application.
    bool autoValue() const noexcept { return (flags() & kAutoValue) != 0; }
    /// Takes the auto mark away.
    void clearAutoValue() const noexcept { setAutoValue(false); }

    /// Makes every payload of the tree this value's own, at any depth. With a `source` that is
    /// neither null nor this value it is copied first. Returns this value.
    Variant& deepCopy(const Variant* source = nullptr);

    /// Whether a list or an object links this value as its element.
    bool hasParent() const noexcept { return (flags() & (kListParent | kObjectParent)) != 0; }
    /// Whether a list links it, whether an object does.
    /// @{
    bool hasListParent() const noexcept { return (flags() & kListParent) != 0; }
    bool hasObjectParent() const noexcept { return (flags() & kObjectParent) != 0; }
    /// @}
    /// The container that holds this value; null if the parent isn't of that kind or no counted
    /// pointer holds it.
    /// @{
    boost::intrusive_ptr<json::List> listParent();
    boost::intrusive_ptr<json::Object> objectParent();
    /// @}
    /// The schema-bound value that stands for the parent container, or null.
    const Variant* parent() const;
    /// Position of this very value in its list, -1 without a list.
    int indexInParent() const;
    /// Key of this very value in its object, null without an object.
    boost::intrusive_ptr<qx::IntrusiveString> keyInParent();

    /// For containers: like a copy of the source followed by its end, without a new count.
    class Relocation {
        friend class List;
        friend class Object;
        Relocation() = default;
    };
    /// Takes the source's content over; what is left of it may only be destroyed.
    Variant(Relocation, Variant& source) noexcept;

    class Cloning;
    /// For containers that are copied deeply: like a copy with a text of its own and, for now,
    /// without its container.
    Variant(Cloning& cloning, const Variant& source);

    // ----- Text ------------------------------------------------------------------- ValueText.cpp

    /// JSON text, indented by a tab per level when `pretty`. The result has count 0: hand it to a
    /// `boost::intrusive_ptr` at once.
    qx::IntrusiveString* print(bool pretty = false) const;
    /// The same text, into `out`.
    void print(qx::IntrusiveString& out, bool pretty = false) const;
    /// Always true; the stream's own state tells of failures.
    bool write(std::ostream& out, bool pretty = false) const;
    /// Replaces the value by the JSON text of the whole stream. False on a syntax fault; the value
    /// may then hold what the parser left, the error text for instance.
    bool read(std::istream& in);

    // ----- Schema --------------------------------------------------------------- ValueSchema.cpp

    /// The schema bound to this value, `json::Schema::Empty` when there is none.
    const Schema& schema() const;
    /// Binds the schema (null unbinds) and, through it, what lies below. The value becomes sticky:
    /// copy on write is off.
    void attachSchema(boost::intrusive_ptr<Schema> schema) const;
    /// Binds the registered schema of that URL. False, and nothing changes, when there is none.
    bool attachSchema(const qx::Url& url, const qx::Url& context) const;
    /// Binds the schema that the value carries itself in its member `key`: the URL of a registered
    /// one, a document, or an object that has the document in its member "schema". Answers the
    /// schema then bound. A document is checked first if its meta-schema is registered.
    /// Bad input: without the member, or with a document that fails its check (which is told on
    /// `std::cerr`), nothing changes and the answer is `json::Schema::Empty`; an unknown URL and a
    /// member of another type unbind the value.
    const Schema& createPrivateSchema(const qx::IntrusiveString& key) const;
    /// Whether the value satisfies its schema; true when it has none.
    bool validate() const;

protected:
    friend class List;
    friend class Object;
    friend class Schema;
    friend class JsonParser;
    friend class JsonPrinter;
    friend struct VariantConstants;

    /// Adopt the pointer as a new reference; null gives a new empty payload.
    /// @{
    Variant(qx::IntrusiveString* text);
    Variant(json::Object* object);
    Variant(json::List* list);
    /// @}
    /// A copy with the auto mark set as told and its text printed at once.
    Variant(const Variant& source, bool autoValue);

    /// Store a value. With `init` the call is a constructor. A null pointer gives a new payload.
    /// @{
    void assignNull(bool init);
    void assign(bool value, bool init);
    void assign(std::int64_t value, bool init);
    void assign(double value, bool init);
    void assign(qx::IntrusiveString* text, bool init);
    void assign(json::Object* object, bool init);
    void assign(json::List* list, bool init);
    /// @}
    /// Changes the type without setting a value.
    void setType(Type type, bool init);

    /// Negative, zero or positive; see the comparison chapter.
    int compareTo(const Variant& rhs) const;

    /// Sets the auto mark.
    void setAutoValue(bool autoValue) const noexcept { setFlag(kAutoValue, autoValue); }
    /// Whether copy on write is off.
    bool isSticky() const noexcept { return (flags() & kSticky) != 0; }
    /// Switches copy on write off, or on again.
    void setSticky(bool sticky) const noexcept { setFlag(kSticky, sticky); }
    /// Marks the kept text as out of date.
    void setPrintDirty() const noexcept { setFlag(kPrintDirty, true); }
    /// Clears the mark and returns its old state.
    bool resetPrintDirty() const noexcept;
    /// Switches copy on write on, or off.
    void enableCopyOnWrite(bool enable) { setSticky(!enable); }
    /// Whether a write must clone the payload first.
    bool copyForWrite(qx::IntrusiveObject* payload) const;
    /// Takes over type, payload and schema.
    void copyFrom(const Variant& source);
    /// Drops text and container.
    void release();
    /// Makes this value the owner of its container.
    void attach_owner() const;
    /// Undoes it; nothing when another value is the owner.
    void detach_owner() const;
    /// Links the value to the container, null unlinks it.
    /// @{
    void setParent(json::List* list) noexcept;
    void setParent(json::Object* object) noexcept;
    /// @}
    /// The payload, made when there is none; the forms that aren't const clone a shared one first.
    /// @{
    const boost::intrusive_ptr<qx::IntrusiveString>& constStringRef() const;
    const boost::intrusive_ptr<qx::IntrusiveString>& stringRef();
    json::Object* constObjectRef() const;
    json::List* constListRef() const;
    json::Object* objectRef();
    json::List* listRef();
    /// @}

    /// One parser and two printers for all values of a thread.
    /// @{
    static JsonParser& shared_parser();
    static JsonPrinter& shared_string_printer();
    static JsonPrinter& shared_stream_printer();
    /// @}

private:
    class Binding;

    // The flag word:
    //   bit   0-2   3     4            5      6           7       8            9              10
    //         type  free  print dirty  dirty  auto value  sticky  list parent  object parent  entry
    // "entry": lies in an object that was cloned, without a parent link.
    using Flags = std::uint16_t;
    static constexpr Flags kTypeMask = 0x0007;
    static constexpr Flags kPrintDirty = 0x0010;
    static constexpr Flags kDirty = 0x0020;
    static constexpr Flags kAutoValue = 0x0040;
    static constexpr Flags kSticky = 0x0080;
    static constexpr Flags kListParent = 0x0100;
    static constexpr Flags kObjectParent = 0x0200;
    static constexpr Flags kUnlinkedEntry = 0x0400;
    static constexpr Flags kPlace = kListParent | kObjectParent | kUnlinkedEntry;

    union Storage {
        std::int64_t integer;
        bool boolean;
        double real;
        json::Object* object;
        json::List* list;
    };

    template <typename T>
    static constexpr bool isBelowZero(T number) {
        if constexpr (std::is_enum_v<T>) {
            return isBelowZero(static_cast<std::underlying_type_t<T>>(number));
        } else if constexpr (std::is_signed_v<T>) {
            return number < 0;
        } else {
            return false;
        }
    }
    template <typename T>
    void initNumber(T number) {
        if constexpr (std::is_same_v<T, bool>) {
            value_.boolean = number;
            flags_ = static_cast<Flags>(Type::Boolean);
        } else if constexpr (std::is_floating_point_v<T>) {
            value_.real = static_cast<double>(number);
            flags_ = static_cast<Flags>(Type::Real);
        } else {
            value_.integer = static_cast<std::int64_t>(number);
            flags_ = static_cast<Flags>(Type::Integer);
        }
    }

    // A text that is made on demand clears a mark, also of a value that another thread reads.
    Flags flags() const noexcept { return __atomic_load_n(&flags_, __ATOMIC_RELAXED); }
    void setFlags(int flags) const noexcept {
        __atomic_store_n(&flags_, static_cast<Flags>(flags), __ATOMIC_RELAXED);
    }
    void setFlag(Flags flag, bool on) const noexcept {
        setFlags(on ? flags() | flag : flags() & ~flag);
    }
    void storeType(Type type) const noexcept {
        setFlags((flags() & ~kTypeMask) | static_cast<int>(type));
    }
    void markAssigned(bool equal) noexcept;
    void leaveType(Type next);
    bool holdsContainer() const noexcept { return isComposite() && value_.object != nullptr; }
    void dropOwnContainer() noexcept;
    bool holds(const json::Object* object) const;
    bool holds(const json::List* list) const;
    void storeContainer(const boost::intrusive_ptr<json::Object>& object);
    void storeContainer(const boost::intrusive_ptr<json::List>& list);
    void dropContainer() noexcept;
    static void dispose(json::Object* object) noexcept;
    static void dispose(json::List* list) noexcept;
    template <typename Container>
    static void disposeOf(Container& container, std::uintptr_t kind) noexcept;
    static void destroyWaiting(std::uintptr_t& top) noexcept;
    template <typename Container>
    static void destroyTop(Container& container, std::uintptr_t& top) noexcept;
    bool liesDirectlyIn(const Variant& container) const;
    Variant copyToHoldIn(const Variant& holder) const;
    Variant withClonedContainer() const;
    Variant withoutSchema() const;
    void becomeString();
    int compareText(const char* text) const;
    static const Variant& markedDefault(const Schema& schema);
    static const Variant& markedTwin(const Variant& constant);
    const Variant& elementAt(std::uint64_t index) const;
    Variant& elementForWriting(std::uint64_t index);

    mutable Storage value_{};
    mutable boost::intrusive_ptr<qx::IntrusiveString> string_;
    mutable boost::intrusive_ptr<Schema> schema_;
    void* parent_ = nullptr;
    mutable Flags flags_ = 0;
};

/// Writes compact JSON.
GATECAST_EXPORT std::ostream& operator<<(std::ostream& out, const Variant& value);

/// What a missing element gets from its default: a copy that shares no payload with it, so that
/// writing to the element reaches neither a schema's document nor a constant.
GATECAST_EXPORT Variant entry_from_default(const Variant& value);

static_assert(sizeof(Variant) == 5 * sizeof(void*), "a value is five machine words");

} // namespace json

#include "json/List.h"
#include "json/Object.h"
